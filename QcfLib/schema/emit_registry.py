"""Writes the table of all node classes, from which reading, writing and listing them follow."""

from emit_attributes import MODIFIABLE, READABLE, AttributeClass
from emit_nodes import MODULES, effects, getters
from text import sourceFile, wrap


def getter(node, f):
    """A field's own reader, told apart from a value accessor of the same name."""
    plain = f"&{node.cls}::{f.name}"
    overloaded = any(f" {f.name}(" in signature for signature in getters(node))
    return f"static_cast<{f.cpp} const & ({node.cls}::*)() const>({plain})" if overloaded else plain


def fieldRow(node, f):
    optional = "true" if f.optional else "false"
    accepts = f"&isNode<{f.type}>" if f.isNode else "nullptr"
    return f'{{"{f.name}", "{f.published}", "{f.type}", {optional}, {accepts}, &fieldText<{node.cls}, {getter(node, f)}>}}'


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
    includes += ['"QcfLib/ClientPlugin/QcfEvalAttributeTypesGenerated.h"', '"QcfLib/Nodes/NodeCreation.h"']
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
                              f"&createNode<{', '.join(types)}>", f"&writeNode<{cpp}>", f"&visitChildren<{cpp}>", f"&{cpp}::memAllocationTracker", effects(node)], "),", 4)
    content = "namespace {\n\n" + tables + "\n} // namespace\n\n"
    content += "// NOLINTNEXTLINE(readability-function-size): one row a class\nstd::span<NodeClass const> nodeClasses() {\n    static NodeClass const table[] = {\n"
    content += "".join("    " + line + "\n" for line in rows.splitlines()) + "    };\n    return table;\n}\n"
    yield "QcfLib/Nodes/NodeRegistryGenerated.cpp", sourceFile(includes, "Qcf::Eval", content)
