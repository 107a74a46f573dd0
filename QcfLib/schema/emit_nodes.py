"""Writes the node classes: headers with signatures and sentences, and one-line bodies."""

from dataclasses import dataclass

from model import lowerFirst
from text import define, doc, file

CONST_CONTEXT = "Ptr<EvalContextBase const> const & context"
CONTEXT = "Ptr<EvalContextBase> const & context"

# What a concrete value node answers, by the base that it behaves as.
GETTERS = {
    "Int": "U64 getVal({c}) const",
    "Bandwidth": "F32 getVal({c}) const",
    "TriStateBool": "TriStateBoolValue getVal({c}) const",
    "PrefixList": "Routing::Policy::PrefixListMatcher const * getValWithArgs({c}, AddressFamily family) const",
    "IpAddress": "IpGenAddr getVal({c}) const",
    "IpPrefix": "IpGenPrefix getVal({c}) const",
    "MacAddress": "EthAddr getVal({c}) const",
    "Esi": "std::optional<Evpn::Esid> getVal({c}) const",
    "Interface": "IntfId getVal({c}) const",
    "ResolutionRibs": "Routing::Rib::ResolutionRibProfileConfig getVal({c}) const",
    "CommunityValue": "Acl::CommunityValue getVal({c}) const",
    "AsPath": "Routing::Bgp::AspathContainerFromExisting const * getVal({c}) const",
    "IntSet": "U64SmallVector const * lendVal({c}, PtrConst<U64SmallVector> & fresh) const",
    "CommunitySet": "CommunitySmallVector const * lendVal({c}, PtrConst<CommunitySmallVector> & fresh) const",
}
VALUE_BASES = set(GETTERS)
MOVED = {"String", "IntfId", "FunctionMetadata", "Routing::Policy::RouteMapFeatures", "Routing::Rib::ResolutionRibProfileConfig"}


@dataclass(frozen=True)
class Module:
    """Where the classes of a module stand."""

    header: str
    source: str
    brief: str
    includes: tuple
    privateIncludes: tuple = ()
    namespace: str = "Qcf::Eval"


# Where a module's source stands that is not in Nodes: operators ask their family's helpers.
WINGS = {"QcfEvalOperatorTypes": "Operators"}


def module(name, brief, *includes, **more):
    return Module(f"QcfLib/{name}Generated.h", f"QcfLib/{WINGS.get(name, 'Nodes')}/{name}Generated.cpp", brief, tuple(f"QcfLib/{i}.h" for i in includes), **more)


MODULES = {
    "QcfEval": module("QcfEval", "Functions, control flow, logical operators and calls.", "QcfEvalBases"),
    "QcfEvalCollections": module("QcfEvalCollections", "Lists and sets written in a function.", "CachedConstant", "QcfEvalValueBases"),
    "QcfEvalCommunityTypes": module("QcfEvalCommunityTypes", "Communities that are computed while a function runs.", "QcfEvalValueBases"),
    "QcfEvalBasicTypes": module("QcfEvalBasicTypes", "Constants and function arguments.", "QcfEvalValueBases"),
    "QcfEvalOperatorTypes": module("QcfEvalOperatorTypes", "The operators that compare, assign and modify values.", "QcfEvalValueBases", "QcfEvalCollectionsGenerated",
                                   privateIncludes=("QcfLib/QcfLibHelpers.h",)),
    "attributes": Module("QcfLib/ClientPlugin/QcfEvalAttributeTypesGenerated.h", "QcfLib/Context/QcfEvalAttributeTypesGenerated.cpp",
                         "The route attributes that a function can name. The values live in the evaluation context.",
                         ("QcfLib/QcfEvalValueBases.h", "QcfLib/QcfEvalContextGenerated.h"), ("QcfLib/Context/AttributeValues.h",), "Qcf::Eval::Attribute"),
}


def valueBase(node):
    return node.base.removesuffix("Modifiable")


def effects(node):
    """The class's NodeEffects."""
    named = [("onlyReads", node.onlyReads, True), ("looksIntoFrame", node.frame, False), ("isLevel", node.isLevel, True),
             ("ownsFrame", node.base == "FunctionBase", False)]
    return "{" + ", ".join(f".{name} = {str(value).lower()}" for name, value, usual in named if value != usual) + "}"


def standsOn(node):
    """The statement that notes what stands below a node; nothing for leaves without effects."""
    children = [f"{f.name}_" for f in node.fields if f.isNode]
    return f"standsOn({', '.join([effects(node)] + children)});" if children or effects(node) != "{}" else ""


def arguments(node):
    return ", ".join(["U64 aetNodeKey"] + [f"{f.cpp} {f.name}" for f in node.fields])


def moved(f):
    return f"std::move({f.name})" if f.isNode or f.type in MOVED else f.name


def forwarded(node):
    return ", ".join(["aetNodeKey"] + [moved(f) for f in node.fields])


def getters(node):
    """Signature and body of the value accessors; no body for those written by hand."""
    if valueBase(node) in GETTERS:
        plain = [f"return {f.name}_;" for f in node.fields if f.name in ("value", "number")]
        yield GETTERS[valueBase(node)].replace("{c}", CONST_CONTEXT), node.getter or "".join(plain)
    if node.cls in ("IntImmediate", "IntVariable"):
        yield f"bool negative({CONST_CONTEXT}) const", ""
        yield f"SignedMagnitude signedVal({CONST_CONTEXT}) const", ""


def overrides(node):
    """Signature and body of what the class overrides; no body for what is written by hand."""
    yield "NodeClass const & typeData() const", "return nodeClasses()[classNumber];"
    chain = "Chain" if node.isChain else "Node"
    if node.base != "LogicalOperator":
        yield "bool compare(PtrConst<AetNodeBase> const & other) const", f"return compare{chain}(*this, other);"
        yield "U32 hash(U32 seed) const", "" if "hash" in node.hand else f"return hash{chain}(*this, seed);"
    if node.base in ("Expression", "FunctionBase"):
        yield f"EvalResult eval({CONTEXT}) const", ""
        if node.lowered:
            yield "void lower(Lowering & to) const", ""
        yield "void dumpState(PtrConst<DumpContext> const & dumpContext, U32 indent) const", dumpBody(node)
    if node.sanity or "verifySanity" in node.hand:
        yield "bool verifySanity(FunctionMetadata const & metadata) const", sanityBody(node)
    yield from getters(node)
    if valueBase(node) in GETTERS or node.base == "StorageType":
        yield "String toStrep() const", f"return {node.text};" if node.text else ""
    if node.base == "LogicalOperator":
        yield "String toStrep() const", ""
        yield "bool shouldShortCircuit(EvalResult const & result) const", ""
        if node.cls == "SequentialOperator":
            yield "EvalResult maybeCastUnknownToFalse(EvalResult const & result) const", ""
    yield from node.overridden


def dumpBody(node):
    if node.dump == "!":
        return f'dumpImplementation(dumpContext, indent, "{node.cls}");'
    rest = f", {node.fields[1].name}_" if len(node.fields) > 1 else ""
    return f'dumpOperator(dumpContext, indent, lhs_, "{node.dump}"{rest});' if node.dump else ""


def sanityBody(node):
    return f'return {node.sanity}({node.fields[1].name}_, "{node.cls}", metadata, index_);' if node.sanity else ""


def accessors(node, own):
    """The fields' accessors, setters of links, and all fields at once."""
    for f in own:
        yield f"{f.cpp} const & {f.name}() const {{ return {f.name}_; }}"
    if any(f.mutable for f in own):
        for f in own:
            yield f"void {f.name}Is({f.cpp} {f.name}) {{ {f.name}_ = std::move({f.name}); {standsOn(node)} }}"
    fields = ", ".join(f"{f.name}_" if f in own else f"{f.name}()" for f in node.fields)
    yield f"template <typename Use> decltype(auto) withFields(Use && use) const {{ return use({fields}); }}\n"


def declare(node, number):
    cls, own = node.cls, node.fields[node.inherited:]
    base = f"Qcf::Eval::{node.base}" if node.attribute else node.base
    lines = [f"class {cls} final : public {base}{f', public {node.mixin}' if node.mixin else ''} {{\npublic:",
             f"static constexpr U16 classNumber = {number};\n",
             f"{'' if node.fields else 'explicit '}{cls}({arguments(node)});",
             f"static Ptr<{cls}> {cls}Is({arguments(node)});\n", *accessors(node, own)]
    lines += [f"{signature} override;" for signature, _ in overrides(node)] + list(node.methods)
    lines += ["\nstatic MemAllocationTracker const & memAllocationTracker();", "static void * operator new(std::size_t size);",
              "static void operator delete(void * memory) noexcept;"]
    lines += ["\nprivate:"] + [f"{f.cpp} {f.name}_;" for f in own] if own else []
    lines += [f"}};\n\nPtr<{cls}> {lowerFirst(cls)}Factory({arguments(node)});\n\n"]
    return doc(node.doc) + "\n".join(lines)


def constructor(node):
    base = ", ".join(["aetNodeKey"] + [moved(f) for f in node.fields[:node.inherited]])
    inits = [f"{'Qcf::Eval::' if node.attribute else ''}{node.base}({base})"]
    inits += [f"{node.mixin}(static_cast<Entity const &>(*this))"] if node.mixin else []
    inits += [f"{f.name}_({moved(f)})" for f in node.fields[node.inherited:]]
    return f"{node.cls}::{node.cls}({arguments(node)}) : {', '.join(inits)} {{ {standsOn(node)} }}\n"


def implement(node):
    cls, make = node.cls, f"return makePtr<{node.cls}>({forwarded(node)});"
    out = constructor(node)
    out += f"Ptr<{cls}> {cls}::{cls}Is({arguments(node)}) {{ {make} }}\n"
    out += f"Ptr<{cls}> {lowerFirst(cls)}Factory({arguments(node)}) {{ {make} }}\n"
    out += "".join(define(cls, signature, statement) for signature, statement in overrides(node) if statement)
    out += f"MemAllocationTracker const & {cls}::memAllocationTracker() {{ return Slab<{cls}>::tracker(); }}\n"
    out += f"void * {cls}::operator new(std::size_t) {{ return Slab<{cls}>::allocate(); }}\n"
    return out + f"void {cls}::operator delete(void * memory) noexcept {{ Slab<{cls}>::deallocate(memory); }}\n\n"


def emit(numbered):
    """The files of every module; `numbered` is (collection number, row) of all node classes."""
    for name, m in MODULES.items():
        rows = [(i, n) for i, n in numbered if n.module == name]
        yield m.header, file(m.includes, m.namespace, "".join(declare(n, i) for i, n in rows), m.brief)
        yield m.source, file([m.header, "QcfLib/Nodes/NodeContract.h", *m.privateIncludes], m.namespace, "".join(implement(n) for _, n in rows))
