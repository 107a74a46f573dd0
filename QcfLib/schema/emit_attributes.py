"""Writes the route-attribute classes, the context layer that serves them, and the attribute sets."""

from attributes import DERIVED, SOURCES
from emit_nodes import CONST_CONTEXT, CONTEXT, declare, implement, getters
from model import Node, SchemaError, lowerFirst
from text import body, define, doc, header, sourceFile, wrap

BY_CLASS = {s.cls: s for s in SOURCES}
IN_ORDER = sorted(SOURCES, key=lambda s: s.language)
MODIFIABLE = [s for s in IN_ORDER if s.modifiable]
READABLE = [s for s in IN_ORDER if s.inSets]
CACHED = [s for s in IN_ORDER if s.cached]
SETS = [s for s in CACHED if s.kind.isSet]


class AttributeClass:
    """One class of the catalogue: a source attribute, a derived value, or the Input twin of either."""

    def __init__(self, source, isInput, derived=None):
        self.source, self.isInput, self.derived = source, isInput, derived
        self.modifiable = source.modifiable and not isInput and not derived
        row = derived or source
        self.cls = row.cls + ("Input" if isInput else "")
        self.language = ("input." if isInput else "") + source.language + (f".{derived.suffix}" if derived else "")
        base = "Int" if derived else source.kind.base
        self.behavesAs = base + ("Modifiable" if self.modifiable else "")
        sentence = row.doc if not isInput else row.doc.rstrip(".") + ", as the route came."
        self.node = Node(self.cls, self.behavesAs, [], f'"{self.language}": {sentence}', "", text=f'"{self.language}"',
                         namespace="Qcf::Eval::Attribute")

    def source_(self):
        """How a plan reads the attribute without asking its node; None where it has to ask."""
        s = self.source
        if not self.derived and s.kindName == "prefix":
            return "PrefixSource source() const", f"return &GeneratedEvalContext::{s.stem}Input;"
        if self.derived or not (s.kindName == "int" or s.kind.isSet):
            return None
        fetch = "InputModifiableRawPtr" if s.kind.isSet and self.modifiable else "InputRawPtr" if s.kind.isSet else "Input"
        kind = f"SetSource<{s.kind.container}>" if s.kind.isSet else "IntSource"
        stored = f"flagOf(ModifiableAttribute::{s.stem}), &AttributeContent::{s.stem}" if self.modifiable else "0, nullptr"
        bounds = f", {s.min}, {s.max}ULL" if self.modifiable and s.max is not None else ", 0, ~U64{0}" if kind == "IntSource" else ""
        return f"{kind} source() const", f"return {{{stored}, &GeneratedEvalContext::{s.stem}{fetch}{bounds}}};"

    @property
    def collection(self):
        return lowerFirst(self.cls) + "Coll"

    def read(self):
        """The statement that yields the value from the context `c`."""
        s = self.source
        stem = s.stem
        raw = {True: f"c.{stem}InputRawPtr()", False: f"c.{stem}Input()"}[s.kind.isSet]
        stored = f"c.attributeContentConst().{stem}" + (".get()" if s.kind.isSet else "")
        if self.derived:
            current = raw if self.isInput or not s.modifiable else f"c.{stem}Modified() ? {stored} : {raw}"
            return f"return {self.derived.compute}({current}, c);"
        if not self.modifiable:
            return f"return {raw};"
        unmodified = raw.replace("Input", "InputModifiable", 1) if s.cached else raw
        value = f"c.{stem}Modified() ? {stored} : {unmodified}"
        return f"return checkedVal({value});" if s.max is not None else f"return {value};"

    def checked(self, value):
        s = self.source
        outside = s.default is not None and not s.min <= s.default <= s.max
        return f"valueOrDefault(*this, {value})" if outside else f"valueInRange(*this, {value})"

    def setter(self):
        s = self.source
        kind = {"asPath": "Routing::Bgp::AspathContainerFromExisting *"}.get(s.kindName, s.kind.cpp)
        signature = f"void setVal({kind} value, {CONTEXT}) const"
        value = self.checked("value") if s.max is not None else "std::move(value)" if s.kind.isSet else "value"
        return signature, f"{self.target()}.{s.stem} = {value};"

    def target(self):
        return f"evalContext(context).modify(ModifiableAttribute::{self.source.stem})"

    def lender(self):
        """How a set that outlives its being stored is stored."""
        signature = f"void lentValIs({self.source.kind.container} const * value, {CONTEXT}) const"
        return signature, f"{self.target()}.{self.source.stem}.borrow(value);"

    def checker(self):
        """How a value that was read elsewhere is checked."""
        return "U64 checkedVal(U64 value) const", f"return {self.checked('value')};"


def catalogue():
    """All attribute classes in the order of their collections."""
    classes = []
    for s in SOURCES:
        classes += [AttributeClass(s, False)] + ([AttributeClass(s, True)] if s.modifiable else [])
    for d in DERIVED:
        if d.source not in BY_CLASS:
            raise SchemaError(f"attribute {d.cls}: no source {d.source!r}")
        s = BY_CLASS[d.source]
        classes += [AttributeClass(s, False, d)] + ([AttributeClass(s, True, d)] if s.modifiable else [])
    return sorted(classes, key=lambda a: a.cls)


def extraOverrides(attribute):
    """What an attribute class overrides beyond every value node, with bodies."""
    s = attribute.source
    lines = [attribute.source_()] if attribute.source_() else []
    if attribute.modifiable:
        lines.append(attribute.setter())
        if s.kind.isSet:
            lines.append(attribute.lender())
        if s.max is not None:
            lines.append(attribute.checker())
        if s.kindName == "asPath":
            lines.append((f"Routing::Bgp::AspathContainerFromExisting * getValModifiable({CONST_CONTEXT}) const",
                          f"auto const & c = evalContext(context); {attribute.read()}"))
    return lines


def declareAttribute(attribute, number):
    text = declare(attribute.node, number)
    base = f"Qcf::Eval::{attribute.behavesAs}"
    text = text.replace(f"final : public {attribute.behavesAs} ", f"final : public {base} ", 1)
    lines = "".join(wrapOverride(signature) for signature, _ in extraOverrides(attribute))
    if attribute.modifiable and attribute.source.max is not None:
        s = attribute.source
        lines += f"    U64 min() const override {{ return {s.min}; }}\n    U64 max() const override {{ return {s.max}ULL; }}\n"
        if s.default is not None:
            lines += f"    U64 defaultValue() const override {{ return {s.default}; }}\n"
    return text.replace("\n    static MemAllocationTracker", lines + "\n    static MemAllocationTracker", 1)


def wrapOverride(signature):
    head, _, rest = signature.partition("(")
    args, _, const = rest.rpartition(")")
    return wrap(head + "(", args.split(", ") if args else [], ")" + const + " override;", 4)


def implementAttribute(attribute):
    cls = attribute.cls
    text = implement(attribute.node).rstrip("\n") + "\n"
    text = text.replace(f": {attribute.behavesAs}(aetNodeKey)", f": Qcf::Eval::{attribute.behavesAs}(aetNodeKey)", 1)
    getter = next(g for g in getters(attribute.node) )
    rows = [(getter, f"auto const & c = evalContext(context); {attribute.read()}")] + extraOverrides(attribute)
    for signature, statement in rows:
        head, _, rest = signature.partition("(")
        args, _, const = rest.rpartition(")")
        result, _, name = head.rpartition(" ")
        args = [a if a.split()[-1] != "fresh" else "PtrConst<" + a.split("<")[1].split(">")[0] + "> & /*fresh*/" for a in args.split(", ") if a]
        text += define(f"{result} {cls}::{name}(", args, ")" + const, statement.replace("; return", ";\n    return"))
    return text + "\n"


def emitCatalogue(numbered):
    brief = "The route attributes that a function can name. The values live in the evaluation context."
    content = "".join(declareAttribute(a, i) for i, a in numbered)
    yield "QcfLib/ClientPlugin/QcfEvalAttributeTypesGenerated.h", header(
        brief, ['"QcfLib/QcfEvalValueBases.h"', '"QcfLib/QcfEvalContextGenerated.h"'], "Qcf::Eval::Attribute", content)
    yield "QcfLib/Context/QcfEvalAttributeTypesGenerated.cpp", sourceFile(
        ['"QcfLib/Context/AttributeValues.h"', '"QcfLib/ClientPlugin/QcfEvalAttributeTypesGenerated.h"', '"QcfLib/Nodes/NodeContract.h"'], "Qcf::Eval::Attribute",
        "".join(implementAttribute(a) for _, a in numbered))


# --- the context layer -------------------------------------------------------------------------

def populateArgument(s):
    return f"Ptr<{s.kind.container}> const & set" if s.kind.isSet else "Routing::Bgp::AspathContainerFromExisting * path"


def writeBackArgument(s):
    if s.kind.isSet:
        return f"{s.kind.cpp} const & value"
    return f"{s.kind.cpp} value" if s.kindName in ("int", "address", "asPath") else f"{s.kind.cpp} const & value"


def accessors():
    """(declaration, sentence, kind, source) of every virtual accessor, in order."""
    for s in IN_ORDER:
        if s.cached:
            yield f"void {s.stem}InputPopulate({populateArgument(s)}) const", "populate", s
        else:
            yield f"{s.kind.cpp} {s.stem}Input() const", "input", s
        if s.modifiable:
            yield f"void {s.stem}Is({writeBackArgument(s)})", "writeBack", s


def accessorSentence(kind, s):
    if kind == "populate" and s.kind.isSet:
        return s.doc.rstrip(".") + ": fill the emptied container, ascending, or lend it values (see ValueVector)."
    return s.doc


def wrapAccessor(prefix, signature, tail):
    head, _, rest = signature.partition("(")
    args, _, const = rest.rpartition(")")
    return wrap(prefix + head + "(", [args] if args else [], ")" + const + tail, 4)


def emitContextBase():
    """The operations that stand in a context's table before those of EvalContextBase itself."""
    out = doc("The log, the reset and the attributes of an evaluation context. An agent overrides the operations that it supports; Input and InputPopulate operations "
              "fetch, Is operations write back. What they answer otherwise is GeneratedEvalContext's.")
    out += """class EvalContextOperations : public Entity {
public:
    /// First record of the current frame's log; null while nothing was logged.
    virtual Ptr<Debug::EvaluationLog const> evaluationLog() const = 0;
    /// Makes the context ready for the next route.
    virtual void reset() = 0;

"""
    for signature, kind, s in accessors():
        if kind != "writeBack":
            out += doc(accessorSentence(kind, s), 4)
        out += wrapAccessor("virtual ", signature, " = 0;")
    includes = ['"Platform/Framework/Entity.h"', '"QcfLib/QcfDebugEvaluationLog.h"', '"QcfLib/QcfEvalCollections.h"', '"QcfLib/RoutingTypes.h"']
    yield "QcfLib/QcfEvalContextBaseGenerated.h", header("The first operations of every evaluation context, in the order of its table.", includes, "Qcf::Eval", out + "};\n")


def contextClass():
    out = doc("The route's attributes as a function sees them: fetched from the agent when a node first asks, changed in a store of their own, handed back by "
              "flushModifiedAttributes. Used by one thread at a time.")
    out += "class GeneratedEvalContext : public EvalContextBase {\npublic:\n"
    out += wrap("GeneratedEvalContext(", ["PtrConst<ExternalMatchersBase> externalMatchers", "Routing::Policy::Result_ * result"], ");", 4)
    out += "    ~GeneratedEvalContext() override;\n    TypeData const & typeData() const override;\n\n"
    out += "    // What a context answers that overrides nothing: a route of which nothing is known.\n"
    out += "".join(wrapAccessor("", signature, " override;") for signature, _, _ in accessors()) + "\n"
    for s in CACHED:
        cpp = f"Ptr<{s.kind.container}>" if s.kind.isSet else "Routing::Bgp::AspathContainerFromExisting *"
        for suffix, sentence in (("Input", "as the route came, fetched once a route."), ("InputModifiable", "the copy that operators change.")):
            out += doc(f"{s.doc.rstrip('.')}: {sentence}", 4)
            if s.kind.isSet:
                out += f"    {s.kind.container} * {s.stem}{suffix}RawPtr() const {{\n"
                out += f"        return cache().{s.stem}{suffix}Populated() ? cache_->{s.stem}{suffix}.get() : {s.stem}{suffix}Fetch();\n    }}\n"
                out += f"    {cpp} {s.stem}{suffix}() const {{ return {cpp}({s.stem}{suffix}RawPtr()); }}\n"
            else:
                out += f"    {cpp} {s.stem}{suffix}() const;\n"
    out += "\n" + "".join(f"    bool {s.stem}Modified() const {{ return isModified(ModifiableAttribute::{s.stem}); }}\n" for s in MODIFIABLE)
    fetches = "".join(f"    {s.kind.container} * {s.stem}{suffix}Fetch() const;\n" for s in SETS for suffix in ("Input", "InputModifiable"))
    setFlags = " |\n                                    ".join(f"flagOf(ModifiableAttribute::{s.stem})" for s in SETS)
    return out + CONTEXT_TAIL.replace("@FETCHES@", fetches).replace("@SETFLAGS@", setFlags)


CONTEXT_TAIL = """
    bool isModified(ModifiableAttribute attribute) const { return modifiedFlags_ & flagOf(attribute); }
    /// The flags of all modified attributes, bit n for the n-th ModifiableAttribute.
    U32 modifiedFlags() const { return modifiedFlags_; }
    /// Marks an attribute modified and gives the store to put its value in.
    AttributeContent & modify(ModifiableAttribute attribute) { return modify(flagOf(attribute)); }
    AttributeContent & modify(U32 flag) {
        QCF_ASSERT_TEXT(attributeContent_, "nullptr != attributeContent");
        modifiedFlags_ |= flag;
        return *attributeContent_;
    }
    AttributeContent const & attributeContentConst() const {
        QCF_ASSERT_TEXT(attributeContent_, "nullptr != attributeContent");
        return *attributeContent_;
    }
    AttributeContent * attributeContentRawPtr() { return attributeContent_.get(); }
    /// Get or create; Del detaches and returns. A context without them may be neither evaluated with
    /// nor reset.
    Ptr<AttributeContent> const & attributeContentIs();
    Ptr<AttributeContent> attributeContentDel();
    Ptr<QcfEvalContextCacheGenerated> const & cacheIs();
    Ptr<QcfEvalContextCacheGenerated> cacheDel();

    /// Function calls that are open; 0 while the outermost function runs.
    U32 functionCallDepth() const { return functionCallDepth_; }
    void functionCallDepthInc(U32 n) { functionCallDepth_ += n; }
    void functionCallDepthDec(U32 n) { functionCallDepth_ -= n; }

    /// Forgets changes and fetched values, keeps all storage. Asserts that no call is open.
    void reset() override { forgetRoute(); }
    /// Hands each modified attribute once to its write-back operation, in flag order. Write-backs
    /// that the agent did not override are not called. Asserts that no call is open.
    void flushModifiedAttributes() {
        QCF_ASSERT(functionCallDepth_ == 0);
        if (modifiedFlags_ != 0) {
            writeBack();
        }
    }

protected:
    /// What `reset` does, for derived classes to do in place.
    void forgetRoute() {
        QCF_ASSERT(functionCallDepth_ == 0);
        if ((modifiedFlags_ & setFlags) != 0) {
            releaseModifiedSets();
        }
        modifiedFlags_ = 0;
        cache().populatedClear();
    }

private:
    friend struct TypeDataOf<GeneratedEvalContext>;
    using Input = QcfEvalContextCacheGenerated::Input;

    QcfEvalContextCacheGenerated & cache() const {
        QCF_ASSERT_TEXT(cache_, "nullptr != cache");
        return *cache_;
    }

    /// The attributes whose stored value is a set.
    static constexpr U32 setFlags = @SETFLAGS@;

    void writeBack();
    U32 findOverriddenWriteBacks() const;
    void releaseModifiedSets();
    template <typename Operation> bool overrides(Operation operation) const;
    template <typename Set>
    Set * fetchSet(Input input, Ptr<Set> & slot, ModifyFlag modifyFlag,
                   void (GeneratedEvalContext::*populate)(Ptr<Set> const &) const) const;
@FETCHES@    Routing::Bgp::AspathContainerFromExisting *
    fetchedPath(Input input, Routing::Bgp::AspathContainerFromExisting & slot) const;

    /// Tells what an agent overrides; see VirtualSlot.h.
    VirtualSlots ownSlots_;
    Ptr<AttributeContent> attributeContent_;
    Ptr<QcfEvalContextCacheGenerated> cache_;
    U32 functionCallDepth_ = 0;
    U32 modifiedFlags_ = 0;
    /// Write-backs to call, found out at the first flush; all bits set until then.
    U32 overriddenWriteBacks_ = ~0U;
};
"""


def contentOrder():
    first = [s for s in MODIFIABLE if s.kindName == "address"]
    return first + [s for s in MODIFIABLE if s not in first]


def contextHeader():
    out = doc("The modifiable attributes, in the order of their flags, of the flush and of the write-back operations.")
    out += "enum class ModifiableAttribute : U8 {\n" + "".join(f"    {s.stem},\n" for s in MODIFIABLE) + "};\n"
    out += f"inline constexpr U32 modifiableAttributeCount = {len(MODIFIABLE)};\n\n"
    out += doc("The attribute's bit in a word of flags.")
    out += "constexpr U32 flagOf(ModifiableAttribute attribute) { return 1U << static_cast<U8>(attribute); }\n\n"
    out += doc("Values that the function wrote; a field counts only while its attribute's modified flag is set.")
    out += "class AttributeContent final : public Entity {\npublic:\n"
    for s in contentOrder():
        start = "" if s.kind.isSet else " = nullptr" if s.kindName == "asPath" else "{false}" if s.kindName == "ribs" else " = 0" if s.kindName == "int" else ""
        cpp = f"StoredSet<{s.kind.container}>" if s.kind.isSet else s.kind.cpp
        out += f"    {cpp}{'' if cpp.endswith('*') else ' '}{s.stem}{start};\n"
    out += "\n    TypeData const & typeData() const override;\n"
    out += "    void asPathIs(Routing::Bgp::AspathContainerFromExisting * path) { asPath = path; }\n"
    out += "    void resolutionRibsIs(Routing::Rib::ResolutionRibProfileConfig const & ribs) { resolutionRibs = ribs; }\n\n"
    for container in ("U64SmallVector", "CommunitySmallVector"):
        owns = " || ".join(f"{s.stem}.owns(set)" for s in SETS if s.kind.container == container)
        out += doc("Whether the set lives by being stored here.", 4) if container == "U64SmallVector" else ""
        out += f"    bool owns({container} const * set) const {{ return {owns}; }}\n"
    out += doc("Counts the sets that were borrowed, for when those who hold them may go first.", 4)
    out += "    void settleSets() {\n" + "".join(f"        {s.stem}.settle();\n" for s in SETS) + "    }\n};\n\n"
    out += doc("Inputs that are fetched once a route into containers kept from route to route.")
    out += "class QcfEvalContextCacheGenerated final : public Entity {\npublic:\n"
    for s in CACHED:
        cpp = f"Ptr<{s.kind.container}>" if s.kind.isSet else "Routing::Bgp::AspathContainerFromExisting"
        for suffix in ("Input", "InputModifiable"):
            out += f"    {cpp} {s.stem}{suffix};\n"
    names = [f"{s.stem}{suffix}" for s in CACHED for suffix in ("Input", "InputModifiable")]
    out += "\n    enum class Input : U8 {\n" + "".join(f"        {n},\n" for n in names) + "    };\n"
    for n in names:
        out += f"    bool {n}Populated() const {{ return isPopulated(Input::{n}); }}\n"
    out += "\n    TypeData const & typeData() const override;\n"
    out += """    bool isPopulated(Input input) const { return populated_ & (1U << static_cast<U8>(input)); }
    void populatedIs(Input input) { populated_ |= 1U << static_cast<U8>(input); }
    void populatedClear() { populated_ = 0; }

private:
    U32 populated_ = 0;
};

"""
    includes = ['"Platform/Framework/Assert.h"', '"Platform/Framework/Entity.h"', '"Platform/Framework/VirtualSlot.h"', '"QcfLib/EvalContextBase.h"', '"QcfLib/QcfEvalCollections.h"', '"QcfLib/RoutingTypes.h"', '"QcfLib/StoredSet.h"']
    return header("The attribute layer of the evaluation context.", includes, "Qcf::Eval", out + contextClass())


def contextSource():
    out = ""
    for signature, kind, s in accessors():
        head, _, rest = signature.partition("(")
        args, _, const = rest.rpartition(")")
        result, _, name = head.rpartition(" ")
        statement = {"populate": "set->clear();" if s.kind.isSet else "path->existingPathIs(nullptr);", "writeBack": ""}.get(kind)
        if statement is None:
            statement = "return 0;" if s.kindName == "int" and s.initial == "0" else f"return {s.initial};"
        if kind == "writeBack":
            out += wrap(f"{result} GeneratedEvalContext::{name}(", [f"{args.rsplit(' ', 1)[0]} /*value*/"], ") {}")
        else:
            out += define(f"{result} GeneratedEvalContext::{name}(", [args] if args else [], ")" + const, statement)
    out += "\n"
    for s in CACHED:
        for suffix, flagged in (("Input", "copyOnWrite"), ("InputModifiable", "reuseOnWrite")):
            access = "cache_->" if s.kind.isSet else "cache()."  # sets have been asked whether they are there
            slot = [f"Input::{s.stem}{suffix}", f"{access}{s.stem}{suffix}"]
            if s.kind.isSet:
                out += define(f"{s.kind.container} * GeneratedEvalContext::{s.stem}{suffix}Fetch(", [], ") const",
                              wrap("return fetchSet(", slot + [f"ModifyFlag::{flagged}", f"&GeneratedEvalContext::{s.stem}InputPopulate"], ");", 4).strip())
            else:
                out += define(f"Routing::Bgp::AspathContainerFromExisting * GeneratedEvalContext::{s.stem}{suffix}(", [], ") const",
                              f"return fetchedPath({', '.join(slot)});")
    out += "\nvoid GeneratedEvalContext::releaseModifiedSets() {\n"
    for s in SETS:
        out += f"    if ({s.stem}Modified()) attributeContent_->{s.stem}.clear();\n"
    out += "}\n\n" + doc("How each attribute is written back.")
    out += "static constexpr void (*writeBacks[modifiableAttributeCount])(GeneratedEvalContext &, AttributeContent const &) = {\n"
    for s in MODIFIABLE:
        out += f"    [](GeneratedEvalContext & context, AttributeContent const & content) {{ context.{s.stem}Is(content.{s.stem}); }},\n"
    out += "};\n\nvoid GeneratedEvalContext::writeBack() {\n"
    out += """    if (overriddenWriteBacks_ == ~0U) [[unlikely]] {
        overriddenWriteBacks_ = findOverriddenWriteBacks();
    }
    for (U32 pending = modifiedFlags_ & overriddenWriteBacks_; pending != 0; pending &= pending - 1) {
        writeBacks[std::countr_zero(pending)](*this, *attributeContent_);
    }
}

"""
    out += "U32 GeneratedEvalContext::findOverriddenWriteBacks() const {\n    U32 found = 0;\n"
    for s in MODIFIABLE:
        out += f"    if (overrides(&GeneratedEvalContext::{s.stem}Is)) found |= flagOf(ModifiableAttribute::{s.stem});\n"
    return out + "    return found;\n}\n"


def emitContext():
    yield "QcfLib/QcfEvalContextGenerated.h", contextHeader()
    yield "QcfLib/Context/QcfEvalContextGenerated.cpp", sourceFile(['"QcfLib/QcfEvalContextGenerated.h"', '"QcfLib/Context/EvalContextFetch.h"', "<bit>"], "Qcf::Eval", contextSource())


# --- attribute sets ----------------------------------------------------------------------------

def emitSets():
    """The flag names of the two attribute sets, and which flag each attribute class touches."""
    writable = {s.cls: i for i, s in enumerate(MODIFIABLE)}
    out = f"inline constexpr std::size_t attributeSetWidth = {len(READABLE)};\n"
    out += f"inline constexpr std::size_t modifiableAttributeSetWidth = {len(MODIFIABLE)};\n\n"
    out += doc("One flag of AttributeSet: its name, its language name, and its bit in ModifiableAttributeSet, -1 when it cannot be modified.")
    out += "struct AttributeFlag {\n    char const * name;\n    char const * languageName;\n    int writeBit;\n};\n\n"
    out += "inline constexpr std::array<AttributeFlag, attributeSetWidth> attributeFlags{{\n"
    for s in READABLE:
        out += f'    {{"{s.flagName}", "{s.language}", {writable.get(s.cls, -1)}}},\n'
    out += "}};\n"
    yield "QcfLib/QcfEvalAttributeSetGenerated.h", header("The flags of the attribute sets, in bit order.", ["<array>", "<cstddef>"], "Qcf::Eval", out)
