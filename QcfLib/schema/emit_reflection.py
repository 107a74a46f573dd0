"""Writes the records of reflection of the types that the schema knows beside node classes."""

from emit_attributes import CACHED, MODIFIABLE, contentOrder
from text import sourceFile

SUFFIXES = ("Input", "InputModifiable")


def field(owner, name, cpp):
    return f'fieldOf<{owner}, &{owner}::{name}>("{name}", "{cpp}")'


def guarded(owner, name, cpp, shown):
    """A field that shows what `shown` yields of the object `o`."""
    return f'fieldOf<{owner}, [](auto const & o) {{ return {shown}; }}>("{name}", "{cpp}")'


def contentField(owner, s):
    if s.kind.isSet:
        return guarded(owner, s.stem, s.kind.cpp, f"valueText::of(o.{s.stem}.ptr())")
    # The path may be that of an earlier route, which is gone.
    return guarded(owner, s.stem, s.kind.cpp, f"o.{s.stem} != nullptr") if s.kindName == "asPath" else field(owner, s.stem, s.kind.cpp)


def cacheFields(owner, s):
    """A cached input and its flag; what is not populated may speak of a route that is gone."""
    cpp = f"Ptr<{s.kind.container}>" if s.kind.isSet else "Routing::Bgp::AspathContainerFromExisting"
    for suffix in SUFFIXES:
        name = s.stem + suffix
        yield guarded(owner, name, cpp, f"o.{name}Populated() ? valueText::of(o.{name}) : String()")
        yield field(owner, f"{name}Populated", "bool")


def record(owner, base, fields):
    """One class with its fields, and the virtual operation that hands the record out."""
    plain = owner.rpartition("::")[2]
    space = "Qcf::Eval" if owner.startswith("Eval::") else "Qcf"
    out = f"TypeData const & TypeDataOf<Qcf::{owner}>::get() {{\n    using namespace Qcf;\n    static constexpr FieldInfo fields[] = {{\n"
    out += "".join(f"        {row},\n" for row in fields) + "    };\n"
    out += f'    static TypeData const data{{TypeData::Kind::entity, "{plain}", "{space}", "{base}", fields, {{}}}};\n    return data;\n}}\n'
    out += f"TypeData const & Qcf::{owner}::typeData() const {{ return TypeDataOf<{plain}>::get(); }}\n\n"
    return out


def enumeration(owner, names):
    plain = owner.rpartition("::")[2]
    out = f"TypeData const & TypeDataOf<Qcf::{owner}>::get() {{\n    static constexpr EnumeratorInfo enumerators[] = {{\n"
    out += "".join(f'        {{"{name}", {number}}},\n' for number, name in enumerate(names)) + "    };\n"
    out += f'    static TypeData const data{{TypeData::Kind::enumeration, "{plain}", "Qcf::{owner.rpartition("::")[0]}", "", {{}}, enumerators}};\n    return data;\n}}\n\n'
    return out


def emit(collections):
    """`collections` is (number, collection of the store) of every node class."""
    content = "Eval::AttributeContent"
    cache = "Eval::QcfEvalContextCacheGenerated"
    context = "Eval::GeneratedEvalContext"
    out = "namespace {\n\n/// A collection shows the number of its members.\ntemplate <U16 classNumber> String collectionText(void const * store) {\n"
    out += "    return valueText::of(static_cast<Qcf::AllAetEntities const *>(store)->size(classNumber));\n}\n\n} // namespace\n\n"
    out += record(content, "Entity", [contentField(content, s) for s in contentOrder()])
    out += record(cache, "Entity", [row for s in CACHED for row in cacheFields(cache, s)])
    held = [("attributeContent", "Ptr<AttributeContent>"), ("cache", "Ptr<QcfEvalContextCacheGenerated>"), ("functionCallDepth", "U32")]
    out += record(context, "EvalContextBase", [f'fieldOf<{context}, &{context}::{name}_>("{name}", "{cpp}")' for name, cpp in held] + [field(context, f"{s.stem}Modified", "bool") for s in MODIFIABLE])
    rows = [f'{{.name = "{c.name}", .type = "{c.node.cls}", .wants = "{c.node.cls}", .text = &collectionText<{number}>}}' for number, c in collections]
    out += record("AllAetEntities", "AetCollections", rows)
    out += enumeration("Eval::ModifiableAttribute", [s.stem for s in MODIFIABLE])
    out += enumeration("Eval::QcfEvalContextCacheGenerated::Input", [s.stem + suffix for s in CACHED for suffix in SUFFIXES])
    text = sourceFile(['"Platform/Framework/ValueText.h"', '"QcfLib/QcfAllAetEntities.h"', '"QcfLib/Reflection.h"'], "Qcf", out)
    yield "QcfLib/Store/ReflectionGenerated.cpp", text.replace("namespace Qcf {\n\n", "", 1).replace("\n} // namespace Qcf\n", "", 1)
