"""Writes the typed view of the store: four operations a node class over one untyped keyed map."""

from emit_attributes import AttributeClass
from emit_nodes import MODULES, forwarded
from text import body, define, header, sourceFile, wrap

# Scalars that are at home in the namespace of the nodes; the others are global or in Qcf.
OF_EVAL = {"TriStateBoolValue", "AccessibleAttributes"}


def qualified(f):
    """A field's type as it is spelled in the store's namespace."""
    if f.isNode:
        return f"{'Ptr' if f.mutable else 'PtrConst'}<Eval::{f.type}>"
    return f"Eval::{f.cpp}" if f.type in OF_EVAL else f.cpp


class Collection:
    def __init__(self, row):
        self.isAttribute = isinstance(row, AttributeClass)
        self.node = row.node if self.isAttribute else row
        self.cls = f"Eval::{'Attribute::' if self.isAttribute else ''}{self.node.cls}"
        self.name = self.node.collection

    def operations(self):
        """(result, name, arguments, constness, body) of each operation."""
        key = ["U64 aetNodeKey"]
        fields = [f"{qualified(f)} {f.name}" for f in self.node.fields]
        # A field moved into the lambda's call is moved once: the node is made at most once.
        make = f"return memberIs<{self.cls}>(aetNodeKey, [&] {{ return {self.cls}::{self.node.cls}Is({', '.join(forwarded(self.node))}); }});"
        yield f"Ptr<{self.cls}>", f"{self.name}Is", key + fields, "", make
        yield f"Ptr<{self.cls}>", f"{self.name}Del", key, "", f"return memberDel<{self.cls}>(aetNodeKey);"
        yield "void", f"{self.name}DelAll", [], "", f"nodeDelAll({self.cls}::classNumber);"
        yield f"Ptr<{self.cls}>", self.name, key, " const", f"return member<{self.cls}>(aetNodeKey);"


def forwards(collections):
    """Forward declarations of all node classes and of the bases that stand in signatures."""
    plain = {c.node.cls for c in collections if not c.isAttribute}
    plain |= {f.type for c in collections for f in c.node.fields if f.isNode}
    attributes = {c.node.cls for c in collections if c.isAttribute}
    for namespace, names in (("Qcf::Eval", plain), ("Qcf::Eval::Attribute", attributes)):
        declared = "".join(f"class {name};\n" for name in sorted(names))
        yield f"namespace {namespace} {{\n\n{declared}\n}} // namespace {namespace}\n\n"


def collectionsOf(numbered):
    return [(number, Collection(row)) for number, row in numbered]


def emit(numbered):
    collections = [c for _, c in collectionsOf(numbered)]
    declared, defined = "", ""
    for c in collections:
        for result, name, arguments, const, statement in c.operations():
            declared += wrap(f"{result} {name}(", arguments, f"){const};", 4)
            defined += define(f"{result} AllAetEntities::{name}(", arguments, f"){const}", statement)
        declared, defined = declared + "\n", defined + "\n"
    content = "/// Every node of every published function; see QcfAllAetEntities.h.\n"
    content += "class AllAetEntities final : public AetCollections {\npublic:\n    static Ptr<AllAetEntities> AllAetEntitiesIs();\n    TypeData const & typeData() const override;\n\n"
    content += declared.rstrip("\n") + "\n};\n"
    text = header("The typed view of the store of all nodes.", ['"QcfLib/QcfAetCollections.h"', '"QcfLib/QcfEvalAttributeSet.h"', '"QcfLib/RoutingTypes.h"'],
                  "Qcf", content)
    yield "QcfLib/QcfAllAetEntitiesGenerated.h", text.replace("namespace Qcf {\n", "".join(forwards(collections)) + "namespace Qcf {\n", 1)

    includes = ['"QcfLib/QcfAllAetEntities.h"', '"QcfLib/ClientPlugin/QcfEvalAttributeTypesGenerated.h"'] + [f'"QcfLib/{m}Generated.h"' for m in MODULES]
    made = body("Ptr<AllAetEntities> AllAetEntities::AllAetEntitiesIs()", "return makePtr<AllAetEntities>();")
    made += body("Ptr<AllAetEntities> allAetEntitiesFactory()", "return makePtr<AllAetEntities>();")
    yield "QcfLib/Store/QcfAllAetEntitiesGenerated.cpp", sourceFile(includes, "Qcf", made + "\n" + defined)
