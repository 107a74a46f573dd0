"""Writes the node classes: their headers with signatures and sentences, and one-line bodies."""

from model import lowerFirst
from text import body, define, doc, header, sourceFile, wrap

CONST_CONTEXT = "Ptr<EvalContextBase const> const & context"
CONTEXT = "Ptr<EvalContextBase> const & context"

# What a concrete value node answers, by the base that it behaves as.
GETTERS = {
    "Int": ["U64 getVal({c}) const"],
    "Bandwidth": ["F32 getVal({c}) const"],
    "TriStateBool": ["TriStateBoolValue getVal({c}) const"],
    "PrefixList": ["Routing::Policy::PrefixListMatcher const * getValWithArgs({c}, AddressFamily family) const"],
    "IpAddress": ["IpGenAddr getVal({c}) const"],
    "IpPrefix": ["IpGenPrefix getVal({c}) const"],
    "MacAddress": ["EthAddr getVal({c}) const"],
    "Esi": ["std::optional<Evpn::Esid> getVal({c}) const"],
    "Interface": ["IntfId getVal({c}) const"],
    "ResolutionRibs": ["Routing::Rib::ResolutionRibProfileConfig getVal({c}) const"],
    "CommunityValue": ["Acl::CommunityValue getVal({c}) const"],
    "AsPath": ["Routing::Bgp::AspathContainerFromExisting const * getVal({c}) const"],
    "IntSet": ["U64SmallVector const * lendVal({c}, PtrConst<U64SmallVector> & fresh) const"],
    "CommunitySet": ["CommunitySmallVector const * lendVal({c}, PtrConst<CommunitySmallVector> & fresh) const"],
}
VALUE_BASES = set(GETTERS)


def isValue(node):
    return node.base.removesuffix("Modifiable") in VALUE_BASES or node.base == "StorageType"


def getters(node):
    rows = [g.replace("{c}", CONST_CONTEXT) for g in GETTERS.get(node.base.removesuffix("Modifiable"), [])]
    if node.cls in ("IntImmediate", "IntVariable"):
        rows += [f"bool negative({CONST_CONTEXT}) const", f"SignedMagnitude signedVal({CONST_CONTEXT}) const"]
    return rows


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
    return ["U64 aetNodeKey"] + [f"{f.cpp} {f.name}" for f in node.fields]


def forwarded(node):
    simple = {"U8", "U16", "U32", "U64", "F32", "bool", "TriStateBoolValue", "IpGenAddr", "IpGenPrefix", "EthAddr",
              "Acl::CommunityValue", "optional<Evpn::Esid>", "AccessibleAttributes"}
    return ["aetNodeKey"] + [f.name if f.type in simple else f"std::move({f.name})" for f in node.fields]


def overrides(node):
    """Signature and generated body (empty: written by hand) of what the class overrides."""
    cls = node.cls
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
    if isValue(node):
        for signature in getters(node):
            plain = any(f.name in ("value", "number") for f in node.fields) and "getVal(" in signature
            yield signature, f"return {'value_' if node.fields[0].name == 'value' else 'number_'};" if plain else ""
        yield "String toStrep() const", f"return {node.text};" if node.text else ""
    if node.base == "LogicalOperator":
        yield "String toStrep() const", ""
        yield "bool shouldShortCircuit(EvalResult const & result) const", ""
        if cls == "SequentialOperator":
            yield "EvalResult maybeCastUnknownToFalse(EvalResult const & result) const", ""


def dumpBody(node):
    if node.dump == "!":
        return f'dumpImplementation(dumpContext, indent, "{node.cls}");'
    if not node.dump:
        return ""
    rest = f", {node.fields[1].name}_" if len(node.fields) > 1 else ""
    return f'dumpOperator(dumpContext, indent, lhs_, "{node.dump}"{rest});'


def sanityBody(node):
    if not node.sanity:
        return ""
    return f'return {node.sanity}({node.fields[1].name}_, "{node.cls}", metadata, index_);'


def declare(node, number):
    own = node.fields[node.inherited:]
    bases = f"public {node.base}" + (f", public {node.mixin}" if node.mixin else "")
    out = doc(node.doc) + f"class {node.cls} final : {bases} {{\npublic:\n"
    out += f"    static constexpr U16 classNumber = {number};\n\n"
    explicit = "" if node.fields else "explicit "
    out += wrap(f"{explicit}{node.cls}(", arguments(node), ");", 4)
    out += wrap(f"static Ptr<{node.cls}> {node.cls}Is(", arguments(node), ");", 4) + "\n"
    for f in own:
        out += f"    {f.cpp} const & {f.name}() const {{ return {f.name}_; }}\n"
        if f.mutable:
            out += f"    void {f.name}Is({f.cpp} {f.name}) {{ {f.name}_ = std::move({f.name}); {standsOn(node)} }}\n"
            out += f"    void entryIs({node.fields[0].cpp} entry) {{ entry_ = std::move(entry); {standsOn(node)} }}\n"
    visits = "".join(f'        visit("{f.name}", {f.name if f in own else f.name + "()"}{"_" if f in own else ""});\n' for f in node.fields)
    out += "    template <typename Visitor> void eachField(Visitor && visit) const {" + (f"\n{visits}    }}\n" if visits else " static_cast<void>(visit); }\n") + "\n"
    for signature, _ in overrides(node):
        out += wrapSignature(signature, " override;")
    for line in node.methods:
        out += wrapMethod(line)
    out += f"\n    static MemAllocationTracker const & memAllocationTracker();\n"
    out += "    static void * operator new(std::size_t size);\n    static void operator delete(void * memory) noexcept;\n"
    if own:
        out += "\nprivate:\n" + "".join(f"    {f.cpp} {f.name}_;\n" for f in own)
    out += "};\n\n" + wrap(f"Ptr<{node.cls}> {lowerFirst(node.cls)}Factory(", arguments(node), ");")
    return out + "\n"


def wrapSignature(signature, tail):
    head, _, rest = signature.partition("(")
    args, _, const = rest.rpartition(")")
    return wrap(head + "(", args.split(", ") if args else [], ")" + const + tail, 4)


def wrapMethod(line):
    line = line.replace("( ", "(").replace(" )", ")")
    return f"    {line}\n" if line.startswith("///") or line.startswith("static") else wrapSignature(line[:-1], ";")


def constructor(node):
    base = ["aetNodeKey"] + forwarded(node)[1:1 + node.inherited]
    inits = [f"{node.base}({', '.join(base)})"]
    if node.mixin:
        inits.append(f"{node.mixin}(static_cast<Entity const &>(*this))")
    for f, value in zip(node.fields[node.inherited:], forwarded(node)[1 + node.inherited:]):
        inits.append(f"{f.name}_({value})")
    statement = standsOn(node)
    tail = f" {{\n    {statement}\n}}" if statement else " {}"
    return wrap(f"{node.cls}::{node.cls}(", arguments(node), ")") + wrap(": ", inits, tail, 4)


def implement(node):
    cls = node.cls
    out = constructor(node)
    make = f"return makePtr<{cls}>({', '.join(forwarded(node))});"
    out += define(f"Ptr<{cls}> {cls}::{cls}Is(", arguments(node), ")", make)
    out += define(f"Ptr<{cls}> {lowerFirst(cls)}Factory(", arguments(node), ")", make)
    for signature, statement in overrides(node):
        if statement:
            head, _, rest = signature.partition("(")
            args, _, const = rest.rpartition(")")
            result, _, name = head.rpartition(" ")
            names = args.split(", ") if args else []
            used = [n if n.split()[-1] in statement else n.rsplit(" ", 1)[0] + f" /*{n.split()[-1]}*/" for n in names]
            out += define(f"{result} {cls}::{name}(", used, ")" + const, statement)
    out += body(f"MemAllocationTracker const & {cls}::memAllocationTracker()", f"return Slab<{cls}>::tracker();")
    out += body(f"void * {cls}::operator new(std::size_t)", f"return Slab<{cls}>::allocate();")
    out += body(f"void {cls}::operator delete(void * memory) noexcept", f"Slab<{cls}>::deallocate(memory);")
    return out + "\n"


MODULES = {
    "QcfEval": ("Functions, control flow, logical operators and calls.", ['"QcfLib/QcfEvalBases.h"']),
    "QcfEvalCollections": ("Lists and sets written in a function.", ['"QcfLib/CachedConstant.h"', '"QcfLib/QcfEvalValueBases.h"']),
    "QcfEvalCommunityTypes": ("Communities that are computed while a function runs.", ['"QcfLib/QcfEvalValueBases.h"']),
    "QcfEvalBasicTypes": ("Constants and function arguments.", ['"QcfLib/QcfEvalValueBases.h"']),
    "QcfEvalOperatorTypes": ("The operators that compare, assign and modify values.", ['"QcfLib/QcfEvalValueBases.h"', '"QcfLib/QcfEvalCollectionsGenerated.h"']),
}


def emit(numbered):
    """The files of every module; `numbered` is (collection number, row) of all rows but attributes."""
    for module, (brief, includes) in MODULES.items():
        rows = [(i, n) for i, n in numbered if n.module == module]
        declared = "".join(declare(n, i) for i, n in rows)
        yield f"QcfLib/{module}Generated.h", header(brief, includes, "Qcf::Eval", declared)
        files = [f'"QcfLib/{module}Generated.h"', '"QcfLib/Nodes/NodeContract.h"']
        if any(n.sanity for _, n in rows):
            files.append('"QcfLib/QcfLibHelpers.h"')
        yield f"QcfLib/Nodes/{module}Generated.cpp", sourceFile(files, "Qcf::Eval", "".join(implement(n) for _, n in rows))
