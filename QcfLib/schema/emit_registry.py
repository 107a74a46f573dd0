"""Writes the table of all node classes, from which reading, writing and listing them follow."""

from emit_attributes import MODIFIABLE, READABLE, AttributeClass
from emit_nodes import MODULES, effects, getters
from model import ARGUMENTS, BASES, lowerFirst
from text import sourceFile, wrap


def getter(node, f):
    """A field's own reader, told apart from a value accessor of the same name."""
    plain = f"&{node.cls}::{f.name}"
    overloaded = any(f" {f.name}(" in signature for signature in getters(node))
    return f"static_cast<{f.cpp} const & ({node.cls}::*)() const>({plain})" if overloaded else plain


def fieldRow(node, f):
    optional = "true" if f.optional else "false"
    roles = " | ".join(f"bitOf(FieldRole::{role})" for role in f.roles) or "0"
    return f'{{"{f.name}", "{f.published}", "{f.type}", {optional}, {accepts(f)}, &fieldText<{node.cls}, {getter(node, f)}>, {roles}, {wanted(f)}}}'


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


def facts(row, node):
    """The class's ClassFacts, what is usual left out."""
    attribute = row.source if isinstance(row, AttributeClass) else None
    reads, writes = node.reads, node.writes
    if attribute:
        reads = (attribute.language,) if attribute.inSets else ()
        writes = (attribute.language,) if row.modifiable else ()
    arguments = [ARGUMENTS[k] for k in node.kinds if k in ARGUMENTS]
    rows = [("kinds", " | ".join(f"bitOf({kind(k)})" for k in node.kinds)),
            ("argument", f"ArgumentKind::{(arguments or ['node'])[0]}" if node.isValue else ""),
            ("list", f"SlotKind::{node.list}" if node.list else ""),
            ("isLink", node.isChain), ("isShared", node.isValue or node.shared), ("isConstant", node.constant), ("returns", node.returns),
            ("assigns", node.assigns), ("compares", f"ComparisonOrder::{node.compares}" if node.compares else ""), ("reads", f"{attributeBits(reads, READABLE)}U" if reads else ""),
            ("writes", f"{attributeBits(writes, MODIFIABLE)}U" if writes else ""), ("integerArguments", str(node.integers) if node.integers else ""),
            ("readsNodeArguments", node.nodeArguments), ("keepConstant", f"&keepConstant<{node.cls}>" if node.keepsConstant else "")]
    return "{" + ", ".join(f".{name} = {str(value).lower() if value is True else value}" for name, value in rows if value) + "}"


def attributeRow(a):
    if not isinstance(a, AttributeClass):
        return "nullptr", ""
    s = a.source
    ranged = a.modifiable and s.max is not None
    number = lambda v: "std::nullopt" if not ranged or v is None else f"{v}ULL"
    read = READABLE.index(s) if s.inSets else -1
    write = MODIFIABLE.index(s) if a.modifiable else -1
    bits = [f'"{a.language}"', "true" if a.modifiable else "false", number(s.min), number(s.max), number(s.default), str(read), str(write)]
    return f"&attribute{a.cls}", wrap(f"constexpr AttributeInfo attribute{a.cls}{{", bits, "};")


def emit(numbered):
    includes = [f'"QcfLib/{m}Generated.h"' for m in MODULES]
    includes += ['"QcfLib/ClientPlugin/QcfEvalAttributeTypesGenerated.h"', '"QcfLib/Nodes/NodeCreation.h"', '"QcfLib/QcfEval.h"']
    tables, rows = "", ""
    for number, row in numbered:
        node = row.node if isinstance(row, AttributeClass) else row
        isAttribute = isinstance(row, AttributeClass)
        cpp = f"Attribute::{node.cls}" if isAttribute else node.cls
        info, attribute = attributeRow(row)
        tables += attribute
        if node.fields:
            tables += f"constexpr FieldInfo fields{node.cls}[] = {{\n" + "".join(f"    {fieldRow(node, f)},\n" for f in node.fields) + "};\n"
        base = f"Qcf::Eval::{row.behavesAs}" if isAttribute else node.base
        fields = f"fields{node.cls}" if node.fields else "{}"
        types = [cpp] + [f.cpp for f in node.fields]
        rows += wrap("row(", [f'"{node.cls}"', f'"{node.namespace}"', f'"{base}"', f'"{node.collection}"', fields, info,
                              f"&createNode<{', '.join(types)}>", f"&writeNode<{cpp}>", f"&visitChildren<{cpp}>", f"&{cpp}::memAllocationTracker", effects(node), facts(row, node)], "),", 4)
    content = "namespace {\n\n" + tables + "\n} // namespace\n\n"
    content += "// NOLINTNEXTLINE(readability-function-size): one row a class\nstd::span<NodeClass const> nodeClasses() {\n    static NodeClass const table[] = {\n"
    content += "".join("    " + line + "\n" for line in rows.splitlines()) + "    };\n    return table;\n}\n"
    yield "QcfLib/Nodes/NodeRegistryGenerated.cpp", sourceFile(includes, "Qcf::Eval", content)
