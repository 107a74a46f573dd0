"""Makes the node rows of the route attributes, and writes what the context's attribute layer stands on."""

from dataclasses import dataclass

from attributes import DERIVED, SOURCES
from emit_nodes import CONST_CONTEXT, CONTEXT
from model import Node, SchemaError, Source
from text import define, doc, file

BY_CLASS = {s.cls: s for s in SOURCES}
IN_ORDER = sorted(SOURCES, key=lambda s: s.language)
MODIFIABLE = [s for s in IN_ORDER if s.modifiable]
READABLE = [s for s in IN_ORDER if s.inSets]
CACHED = [s for s in IN_ORDER if s.cached]
SETS = [s for s in CACHED if s.kind.isSet]
PATH = "Routing::Bgp::AspathContainerFromExisting"
SUFFIXES = {"Input": ("copyOnWrite", "as the route came, fetched once a route."), "InputModifiable": ("reuseOnWrite", "the copy that operators change.")}


# --- the attribute classes ----------------------------------------------------------------------

@dataclass(frozen=True)
class Attribute:
    """What an attribute class adds to a node: a source attribute, a value derived from one, or the Input twin of either."""

    source: Source
    language: str
    modifiable: bool


def fetch(s, suffix):
    """The context's operation that reads the attribute as the route has it."""
    return f"GeneratedEvalContext::{s.stem}{suffix}{'RawPtr' if s.kind.isSet else ''}"


def current(s, suffix):
    """The stored value where there is one, the route's otherwise."""
    return f"current<ModifiableAttribute::{s.stem}, &AttributeContent::{s.stem}, &{fetch(s, suffix)}>(context)"


def read(s, isInput, d):
    """The expression that yields the value."""
    if d:
        source = current(s, "Input") if s.modifiable and not isInput else f"input<&{fetch(s, 'Input')}>(context)"
        return f"{d.compute}({source}, context)"
    if isInput or not s.modifiable:
        return f"input<&{fetch(s, 'Input')}>(context)"
    value = current(s, "InputModifiable" if s.cached else "Input")
    return f"checkedVal({value})" if s.max is not None else value


def checked(s):
    outside = s.default is not None and not s.min <= s.default <= s.max
    return f"{'valueOrDefault' if outside else 'valueInRange'}(*this, value)"


def planSource(s, modifiable):
    """How a plan reads the attribute without asking its node."""
    if s.kindName == "prefix":
        yield "PrefixSource source() const", f"return &{fetch(s, 'Input')};"
    if s.kindName == "int" or s.kind.isSet:
        stored = f"flagOf(ModifiableAttribute::{s.stem}), &AttributeContent::{s.stem}, " if modifiable else ".input = "
        bounds = f", {s.min}, {s.max}ULL" if modifiable and s.max is not None else ""
        suffix = "InputModifiable" if modifiable and s.kind.isSet else "Input"
        kind = f"SetSource<{s.kind.container}>" if s.kind.isSet else "IntSource"
        yield f"{kind} source() const", f"return {{{stored}&{fetch(s, suffix)}{bounds}}};"


def derivedSource(s, isInput, d):
    """The same of a derived value, by a function without an object."""
    yield "IntSource source() const", f"return {{.derived = []({CONST_CONTEXT}) {{ return {read(s, isInput, d)}; }}}};"


def modifiers(s):
    """What a modifiable attribute overrides beyond every value node."""
    stored = f"evalContext(context).modify(ModifiableAttribute::{s.stem}).{s.stem}"
    value = checked(s) if s.max is not None else "std::move(value)" if s.kind.isSet else "value"
    yield f"void setVal({s.kind.cpp} value, {CONTEXT}) const", f"{stored} = {value};"
    if s.kind.isSet:
        yield f"void lentValIs({s.kind.container} const * value, {CONTEXT}) const", f"{stored}.borrow(value);"
    if s.max is not None:
        yield "U64 checkedVal(U64 value) const", f"return {checked(s)};"
        for name, bound in (("min", s.min), ("max", s.max), ("defaultValue", s.default)):
            if bound is not None:
                yield f"U64 {name}() const", f"return {bound}ULL;"
    if s.kindName == "asPath":
        yield f"{PATH} * getValModifiable({CONST_CONTEXT}) const", f"return {read(s, False, None)};"


def attributeNode(s, isInput=False, d=None):
    row, modifiable = d or s, s.modifiable and not isInput and not d
    language = ("input." if isInput else "") + s.language + (f".{d.suffix}" if d else "")
    sentence = row.doc.rstrip(".") + ", as the route came." if isInput else row.doc
    base = ("Int" if d else s.kind.base) + ("Modifiable" if modifiable else "")
    sources = derivedSource(s, isInput, d) if d else planSource(s, modifiable)
    overridden = list(sources) + (list(modifiers(s)) if modifiable else [])
    return Node(row.cls + ("Input" if isInput else ""), base, [], f'"{language}": {sentence}', "attributes", text=f'"{language}"', namespace="Qcf::Eval::Attribute",
                getter=f"return {read(s, isInput, d)};", overridden=tuple(overridden), attribute=Attribute(s, language, modifiable))


def catalogue():
    """All attribute classes in the order of their collections."""
    for d in DERIVED:
        if d.source not in BY_CLASS:
            raise SchemaError(f"attribute {d.cls}: no source {d.source!r}")
    rows = [(s, None) for s in SOURCES] + [(BY_CLASS[d.source], d) for d in DERIVED]
    nodes = [attributeNode(s, isInput, d) for s, d in rows for isInput in ((False, True) if s.modifiable else (False,))]
    return sorted(nodes, key=lambda n: n.cls)


# --- the context layer -------------------------------------------------------------------------

def accessors():
    """(signature, kind, source) of every virtual accessor, in order."""
    for s in IN_ORDER:
        byValue = s.kindName in ("int", "address", "asPath")
        if s.cached:
            yield f"void {s.stem}InputPopulate({f'Ptr<{s.kind.container}> const & set' if s.kind.isSet else f'{PATH} * path'}) const", "populate", s
        else:
            yield f"{s.kind.cpp} {s.stem}Input() const", "input", s
        if s.modifiable:
            yield f"void {s.stem}Is({s.kind.cpp}{'' if byValue else ' const &'} value)", "writeBack", s


def sentence(kind, s):
    if kind == "writeBack":
        return ""
    return doc(s.doc.rstrip(".") + ": fill the emptied container, ascending, or lend it values (see ValueVector)." if kind == "populate" and s.kind.isSet else s.doc)


def operationsHeader():
    declared = "".join(f"{sentence(kind, s)}virtual {signature} = 0;\n" for signature, kind, s in accessors())
    out = doc("The attributes of a route as its agent has them. An agent overrides the operations that it supports: Input and InputPopulate operations fetch, "
              "Is operations write back. What they answer otherwise is GeneratedEvalContext's.")
    return out + f"class AttributeOperations : public EvaluationOperations {{\npublic:\n{declared}}};\n"


def enumeration(head, names):
    return f"enum class {head} : U8 {{\n" + "".join(f"{name},\n" for name in names) + "};\n"


def contentHeader():
    out = doc("The modifiable attributes, in the order of their flags, of the flush and of the write-back operations.")
    out += enumeration("ModifiableAttribute", [s.stem for s in MODIFIABLE])
    out += f"inline constexpr U32 modifiableAttributeCount = {len(MODIFIABLE)};\n\n"
    out += doc("A field for the new value of each modifiable attribute; see AttributeContent.") + "class StoredAttributes : public Entity {\npublic:\n"
    for s in sorted(MODIFIABLE, key=lambda s: s.kindName != "address"):
        cpp = f"StoredSet<{s.kind.container}>" if s.kind.isSet else s.kind.cpp
        out += f"{cpp} {s.stem}{f' = {s.kind.initial}' if s.kind.initial != '{}' else ''};\n"
    pairs = ", ".join(f"std::pair{{ModifiableAttribute::{s.stem}, &StoredAttributes::{s.stem}}}" for s in SETS)
    out += "\n" + doc("Calls `use` with the fields that hold sets, each with its attribute.")
    return out + f"template <typename Use> static constexpr decltype(auto) withSets(Use && use) {{ return use({pairs}); }}\n}};\n"


def cacheHeader():
    names = [(s, s.stem + suffix) for s in CACHED for suffix in SUFFIXES]
    out = doc("Inputs that are fetched once a route into containers kept from route to route, each with a flag that says whether it was.")
    out += "class QcfEvalContextCacheGenerated final : public PopulatedInputs {\npublic:\n" + enumeration("Input", [name for _, name in names]) + "\n"
    out += "TypeData const & typeData() const override;\n\n"
    out += "".join(f"bool {name}Populated() const {{ return isPopulated(Input::{name}); }}\n" for _, name in names) + "\n"
    return out + "".join(f"{f'Ptr<{s.kind.container}>' if s.kind.isSet else PATH} {name};\n" for s, name in names) + "};\n"


def cachedAccessors(s, name, meaning):
    yield doc(f"{s.doc.rstrip('.')}: {meaning}")
    if s.kind.isSet:
        yield f"{s.kind.container} * {name}RawPtr() const {{ return cache().{name}Populated() ? cache().{name}.get() : {name}Fetch(); }}\n"
        yield f"Ptr<{s.kind.container}> {name}() const {{ return Ptr<{s.kind.container}>({name}RawPtr()); }}\n"
    else:
        yield f"{PATH} * {name}() const;\n"


def contextHeader():
    out = doc("The attributes of the route that is evaluated, by name: what an agent's operations answer unless it overrides them, the cached inputs, and what the function "
              "has modified. Derived from by EvalContext; what is done with them is AttributeLayer's.")
    out += "class GeneratedEvalContext : public AttributeLayer {\npublic:\n"
    out += "GeneratedEvalContext(PtrConst<ExternalMatchersBase> externalMatchers, Routing::Policy::Result_ * result);\nTypeData const & typeData() const override;\n\n"
    out += "// What a context answers that overrides nothing: a route of which nothing is known.\n"
    out += "".join(f"{signature} override;\n" for signature, _, _ in accessors()) + "\n"
    for s in CACHED:
        for suffix, (_, meaning) in SUFFIXES.items():
            out += "".join(cachedAccessors(s, s.stem + suffix, meaning))
    out += "\n" + "".join(f"bool {s.stem}Modified() const {{ return isModified(ModifiableAttribute::{s.stem}); }}\n" for s in MODIFIABLE)
    return out + "\nprivate:\n" + "".join(f"{s.kind.container} * {s.stem}{suffix}Fetch() const;\n" for s in SETS for suffix in SUFFIXES) + "};\n"


def unknown(kind, s):
    """What is answered of a route of which nothing is known."""
    if kind == "populate":
        return "set->clear();" if s.kind.isSet else "path->existingPathIs(nullptr);"
    return f"return {s.initial};" if kind == "input" else ""


def fetchedInput(s, suffix, flag):
    name = s.stem + suffix
    if not s.kind.isSet:
        return define("GeneratedEvalContext", f"{PATH} * {name}() const", f"return fetchedPath(Input::{name}, &Cache::{name});")
    statement = f"return fetchSet(Input::{name}, &Cache::{name}, ModifyFlag::{flag}, &AttributeOperations::{s.stem}InputPopulate);"
    return define("GeneratedEvalContext", f"{s.kind.container} * {name}Fetch() const", statement)


def contextSource():
    out = "GeneratedEvalContext::GeneratedEvalContext(PtrConst<ExternalMatchersBase> externalMatchers, Routing::Policy::Result_ * result)\n"
    out += ": AttributeLayer(std::move(externalMatchers), result) { defaultOperationsAre(virtualSlotsOf(*this)); }\n\n"
    out += "".join(define("GeneratedEvalContext", signature, unknown(kind, s)) for signature, kind, s in accessors()) + "\n"
    out += "".join(fetchedInput(s, suffix, flag) for s in CACHED for suffix, (flag, _) in SUFFIXES.items()) + "\n"
    calls = "".join(f"&writeBackBy<&AttributeContent::{s.stem}, &AttributeOperations::{s.stem}Is>,\n" for s in MODIFIABLE)
    tests = "".join(f"&isOverridden<&AttributeOperations::{s.stem}Is>,\n" for s in MODIFIABLE)
    return out + (f"constinit WriteBack const writeBacks[modifiableAttributeCount] = {{\n{calls}}};\n"
                  f"constinit WriteBackTest const writeBackTests[modifiableAttributeCount] = {{\n{tests}}};\n")


def setsContent():
    out = f"inline constexpr std::size_t attributeSetWidth = {len(READABLE)};\ninline constexpr std::size_t modifiableAttributeSetWidth = {len(MODIFIABLE)};\n\n"
    rows = [f'{{"{s.flagName}", "{s.language}", {MODIFIABLE.index(s) if s.modifiable else -1}}},\n' for s in READABLE]
    return out + "inline constexpr std::array<AttributeFlag, attributeSetWidth> attributeFlags{{\n" + "".join(rows) + "}};\n"


# --- their fields, for reflection ---------------------------------------------------------------

def cacheFields(s):
    cpp = f"Ptr<{s.kind.container}>" if s.kind.isSet else PATH
    for name in (s.stem + suffix for suffix in SUFFIXES):
        yield f'cachedField<Cache::Input::{name}, &Cache::{name}>("{name}", "{cpp}"),\npopulatedField<Cache::Input::{name}>("{name}Populated"),\n'


def fieldsContent():
    tables = {
        "FieldInfo storedFields": [f'storedField<&AttributeContent::{s.stem}>("{s.stem}", "{s.kind.cpp}"),\n' for s in sorted(MODIFIABLE, key=lambda s: s.kindName != "address")],
        "FieldInfo cacheFields": [row for s in CACHED for row in cacheFields(s)],
        "FieldInfo modifiedFields": [f'modifiedField<ModifiableAttribute::{s.stem}>("{s.stem}Modified"),\n' for s in MODIFIABLE],
        "EnumeratorInfo modifiableAttributes": [f'{{"{s.stem}", {i}}},\n' for i, s in enumerate(MODIFIABLE)],
        "EnumeratorInfo cachedInputs": [f'{{"{name}", {i}}},\n' for i, name in enumerate(s.stem + suffix for s in CACHED for suffix in SUFFIXES)],
    }
    return "\n".join(f"inline constexpr {name}[] = {{\n{''.join(rows)}}};\n" for name, rows in tables.items())


def emit():
    yield "QcfLib/AttributeOperationsGenerated.h", file(["QcfLib/EvaluationOperations.h", "QcfLib/QcfEvalCollections.h", "QcfLib/RoutingTypes.h"], "Qcf::Eval", operationsHeader(),
                                                        "The operations of an agent that read and write a route's attributes, in the order of the context's table.")
    yield "QcfLib/AttributeContentGenerated.h", file(["Platform/Framework/Entity.h", "QcfLib/RoutingTypes.h", "QcfLib/StoredSet.h", "QcfLib/QcfEvalCollections.h", "<utility>"],
                                                     "Qcf::Eval", contentHeader(), "The attributes that a function can change, and where their new values stand.")
    yield "QcfLib/AttributeCacheGenerated.h", file(["QcfLib/PopulatedInputs.h", "QcfLib/QcfEvalCollections.h", "QcfLib/RoutingTypes.h"], "Qcf::Eval", cacheHeader(),
                                                   "The sets and paths of a route as a context keeps them.")
    yield "QcfLib/QcfEvalContextGenerated.h", file(["QcfLib/AttributeLayer.h"], "Qcf::Eval", contextHeader(), "The attributes of an evaluation context, an accessor each.")
    yield "QcfLib/Context/QcfEvalContextGenerated.cpp", file(["QcfLib/QcfEvalContextGenerated.h", "QcfLib/Context/InputFetch.h", "QcfLib/Context/WriteBacks.h"], "Qcf::Eval", contextSource())
    yield "QcfLib/QcfEvalAttributeSetGenerated.h", file(["QcfLib/AttributeFlag.h", "<array>", "<cstddef>"], "Qcf::Eval", setsContent(), "The flags of the attribute sets, in bit order.")
    yield "QcfLib/Context/AttributeFieldsGenerated.h", file(["QcfLib/Context/AttributeFields.h"], "Qcf::Eval", fieldsContent(), "What reflection tells of the attribute layer, a field a line.")
