"""Writes the table of all node classes, from which reading, writing and listing them follow."""

import json

from emit_attributes import MODIFIABLE, READABLE
from emit_nodes import MODULES, effects, getters
from model import ARGUMENTS, BASES, lowerFirst
from text import file


def getter(node, f):
    """A field's own reader, told apart from a value accessor of the same name."""
    overloaded = any(f" {f.name}(" in signature for signature, _ in getters(node))
    plain = f"&{node.cls}::{f.name}"
    return f"static_cast<{f.cpp} const & ({node.cls}::*)() const>({plain})" if overloaded else plain


def fieldRow(node, f):
    optional = "true" if f.optional else "false"
    roles = " | ".join(f"bitOf(FieldRole::{role})" for role in f.roles) or "0"
    return f'{{"{f.name}", "{f.published}", "{f.type}", {optional}, {accepts(f)}, &fieldText<{node.cls}, {getter(node, f)}>, {roles}, {wanted(f)}}},\n'


def accepts(f):
    """What tells whether a node may stand in the field."""
    if not f.isNode:
        return "nullptr"
    return f"&isOfKind<{kind(f.type)}>" if f.type in BASES else f"&isOfClass<{f.type}::classNumber>"


def wanted(f):
    if not f.isNode:
        return "0"
    return f"wanting({kind(f.type)})" if f.type in BASES else f"wantingClass({f.type}::classNumber)"


def kind(base):
    return "NodeKind::" + {"Int": "int_"}.get(base, lowerFirst(base))


def attributeBits(names, order):
    """A set of attributes as the word of its bits."""
    positions = [s.language for s in order]
    return sum(1 << positions.index(name) for name in names)


def facts(node):
    """The class's ClassFacts, what is usual left out."""
    reads, writes = node.reads, node.writes
    if attribute := node.attribute:
        reads = (attribute.source.language,) if attribute.source.inSets else ()
        writes = (attribute.source.language,) if attribute.modifiable else ()
    arguments = [ARGUMENTS[k] for k in node.kinds if k in ARGUMENTS]
    rows = [("kinds", " | ".join(f"bitOf({kind(k)})" for k in node.kinds)),
            ("argument", f"ArgumentKind::{(arguments or ['node'])[0]}" if node.isValue else ""),
            ("list", f"SlotKind::{node.list}" if node.list else ""),
            ("isLink", node.isChain), ("isShared", node.isValue or node.shared), ("isConstant", node.constant), ("returns", node.returns),
            ("assigns", node.assigns), ("compares", f"ComparisonOrder::{node.compares}" if node.compares else ""), ("words", f'"{node.words}"' if node.words else ""), ("reads", f"{attributeBits(reads, READABLE)}U" if reads else ""),
            ("writes", f"{attributeBits(writes, MODIFIABLE)}U" if writes else ""), ("integerArguments", str(node.integers) if node.integers else ""),
            ("readsNodeArguments", node.nodeArguments), ("keepConstant", f"&keepConstant<{node.cls}>" if node.keepsConstant else "")]
    return "{" + ", ".join(f".{name} = {str(value).lower() if value is True else value}" for name, value in rows if value) + "}"


def ofValues(source):
    """What an attribute says of its values beyond their range, left out where it is nothing."""
    names = f", names{source.cls}" if source.names else ""
    return f"{names or ', {}'}, SlotKind::{source.lists}" if source.lists else names


def attributeInfo(a):
    s = a.source
    limits = (s.min, s.max, s.default) if a.modifiable else (None,) * 3
    numbers = ["std::nullopt" if n is None else f"{n}ULL" for n in limits]
    read = READABLE.index(s) if s.inSets else -1
    write = MODIFIABLE.index(s) if a.modifiable else -1
    # What is computed from an attribute has values of its own.
    values = ofValues(s) if a.language.removeprefix("input.") == s.language else ""
    return f'{{"{a.language}", {str(a.modifiable).lower()}, {", ".join(numbers)}, {read}, {write}{values}}}'


def tables(node):
    """The constant records that the class's row points to."""
    if node.attribute:
        # A twin has the names of its attribute, whose class is the first to be written.
        if node.attribute.source.cls == node.cls and node.attribute.source.names:
            texts = ", ".join(f'"{name}"' for name in node.attribute.source.names)
            yield f"constexpr std::string_view names{node.cls}[] = {{{texts}}};\n"
        yield f"constexpr AttributeInfo attribute{node.cls}{attributeInfo(node.attribute)};\n"
    if node.fields:
        yield f"constexpr FieldInfo fields{node.cls}[] = {{\n" + "".join(fieldRow(node, f) for f in node.fields) + "};\n"


def description(node):
    """The sentence about the class as a literal; that of an attribute without its name in front."""
    sentence = node.doc.removeprefix(f'"{node.attribute.language}": ') if node.attribute else node.doc
    return json.dumps(sentence)


def classRow(node):
    base = f"Qcf::Eval::{node.base}" if node.attribute else node.base
    fields = f"fields{node.cls}" if node.fields else "{}"
    attribute = f"&attribute{node.cls}" if node.attribute else "nullptr"
    return f'row<{node.spelled}>("{node.cls}", "{node.namespace}", "{base}", "{node.collection}", {fields}, {attribute}, {effects(node)}, {facts(node)}, {description(node)}),\n'


def emit(numbered):
    nodes = [node for _, node in numbered]
    content = "namespace {\n\n" + "".join(table for node in nodes for table in tables(node)) + "\n} // namespace\n\n"
    content += "// NOLINTNEXTLINE(readability-function-size): one row a class\nstd::span<NodeClass const> nodeClasses() {\n"
    content += "static NodeClass const table[] = {\n" + "".join(classRow(node) for node in nodes) + "};\nreturn table;\n}\n"
    yield "QcfLib/Nodes/NodeRegistryGenerated.cpp", file([m.header for m in MODULES.values()] + ["QcfLib/Nodes/NodeCreation.h", "QcfLib/QcfEval.h"], "Qcf::Eval", content)
