"""Writes the typed view of the store: four operations a node class over one untyped keyed map."""

from emit_nodes import MODULES, forwarded
from text import define, file

# Scalars that are at home in the namespace of the nodes; the others are global or in Qcf.
OF_EVAL = {"TriStateBoolValue", "AccessibleAttributes"}


def qualified(f):
    """A field's type as it is spelled in the store's namespace."""
    if f.isNode:
        return f"{'Ptr' if f.mutable else 'PtrConst'}<Eval::{f.type}>"
    return f"Eval::{f.cpp}" if f.type in OF_EVAL else f.cpp


def operations(node):
    """Signature and body of each operation."""
    cls, name, key = f"Eval::{node.spelled}", node.collection, "U64 aetNodeKey"
    fields = ", ".join([key] + [f"{qualified(f)} {f.name}" for f in node.fields])
    # A field moved into the lambda's call is moved once: the node is made at most once.
    yield f"Ptr<{cls}> {name}Is({fields})", f"return memberIs<{cls}>(aetNodeKey, [&] {{ return {cls}::{node.cls}Is({forwarded(node)}); }});"
    yield f"Ptr<{cls}> {name}Del({key})", f"return memberDel<{cls}>(aetNodeKey);"
    yield f"void {name}DelAll()", f"nodeDelAll({cls}::classNumber);"
    yield f"Ptr<{cls}> {name}({key}) const", f"return member<{cls}>(aetNodeKey);"


def forwards(nodes):
    """Forward declarations of all node classes and of the bases that stand in signatures."""
    plain = {n.cls for n in nodes if not n.attribute} | {f.type for n in nodes for f in n.fields if f.isNode}
    for namespace, names in (("Eval", plain), ("Eval::Attribute", {n.cls for n in nodes if n.attribute})):
        yield f"namespace {namespace} {{\n" + "".join(f"class {name};\n" for name in sorted(names)) + f"}} // namespace {namespace}\n\n"


def emit(numbered):
    nodes = [node for _, node in numbered]
    declared = "".join("".join(f"{signature};\n" for signature, _ in operations(n)) + "\n" for n in nodes)
    content = "".join(forwards(nodes)) + f"inline constexpr std::size_t nodeClassCount = {len(nodes)};\n\n"
    content += f"/// The operations of every collection; see QcfAllAetEntities.h.\nclass NodeCollections : public AetCollections {{\npublic:\n{declared}}};\n"
    yield "QcfLib/QcfAllAetEntitiesGenerated.h", file(
        ["QcfLib/QcfAetCollections.h", "QcfLib/QcfEvalAttributeSet.h", "QcfLib/RoutingTypes.h"], "Qcf", content, "The collections of the store, an operation a line.")
    yield "QcfLib/Store/QcfAllAetEntitiesGenerated.cpp", file(
        ["QcfLib/QcfAllAetEntitiesGenerated.h"] + [m.header for m in MODULES.values()], "Qcf",
        "\n".join("".join(define("NodeCollections", *operation) for operation in operations(n)) for n in nodes))
