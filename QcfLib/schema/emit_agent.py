"""Writes the agent's route with a member an attribute, what a function changed of it, and the
context that serves the one and fills the other."""

from emit_attributes import IN_ORDER, MODIFIABLE, accessors
from text import define, doc, header, sourceFile, wrap

COMMON = [s for s in IN_ORDER if s.common]
RARE = [s for s in IN_ORDER if not s.common]


def changeType(s):
    """Sets are lent, see RouteChanges."""
    if s.kind.isSet:
        return f"std::span<{'U64' if s.kindName == 'intSet' else 'Acl::CommunityValue'} const>"
    return "Routing::Bgp::AsnVector" if s.kindName == "asPath" else memberType(s)


def memberType(s):
    if s.kindName == "asPath":
        return "Routing::Bgp::AsPath"
    if s.kindName == "intSet":
        return "RouteIntSet"
    return "RouteCommunitySet" if s.kind.isSet else s.kind.cpp


def member(s):
    if s.kind.isSet or s.kindName in ("asPath", "address", "prefix", "esi", "mac", "interface", "community"):
        return f"    {memberType(s)} {s.stem};\n"
    initial = s.initial.removeprefix("Routing::Rib::ResolutionRibProfileConfig")
    initial = initial.replace("(", "{").replace(")", "}") if s.kindName == "ribs" else f" = {s.initial}"
    if s.kindName == "tristate":
        initial = f" = Eval::{s.initial}" if s.initial != "{}" else ""
    return f"    {memberType(s)} {s.stem}{initial};\n".replace("TriStateBoolValue ", "Eval::TriStateBoolValue ")


def clear(s):
    if s.kind.isSet or s.kindName == "asPath":
        return f"    {s.stem}.clear();\n"
    return f"    {s.stem} = fresh.{s.stem};\n"


def access(s, target, mutable):
    return f"{target}.{s.stem}" if s.common else f"{target}.{'rareIs()' if mutable else 'rare()'}.{s.stem}"


def routeHeader():
    out = "using RouteIntSet = boost::container::small_vector<U64, 16>;\n"
    out += "using RouteCommunitySet = boost::container::small_vector<Acl::CommunityValue, 8>;\n\n"
    out += doc("A set's values where they are.")
    out += "template <typename Set> std::span<typename Set::value_type const> viewOf(Set const & set) { return {set.data(), set.size()}; }\n\n"
    out += doc("Attributes that most routes do not carry.")
    out += "struct RareAttributes {\n" + "".join(member(s) for s in RARE)
    out += "};\n\n"
    out += doc("The attributes of one route and the facts of its session, each with the value it has when nothing is known. Sets are ascending and without "
               "duplicates. Made to be reused from route to route.")
    out += "struct Route {\n" + "".join(member(s) for s in COMMON) + "    Session session;\n\n"
    out += """    /// The rare attributes; their defaults as long as none was set.
    RareAttributes const & rare() const { return rare_.get(); }
    /// The rare attributes for writing.
    RareAttributes & rareIs() { return rare_.make(); }
    /// Restores the defaults and keeps the storage.
    void clear();

    /// Calls `visit` with attribute `index` of routeAttributeNames() for writing.
    // NOLINTNEXTLINE(readability-function-size): a line an attribute
    template <typename Visitor> void visitAttribute(std::size_t index, Visitor && visit) {
        switch (index) {
"""
    for i, s in enumerate(IN_ORDER):
        out += f"        case {i}:\n            visit({access(s, '(*this)', True)});\n            return;\n"
    out += """        default:
            return;
        }
    }

    /// Calls `visit(index, value)` for every attribute in the order of routeAttributeNames().
    template <typename Visitor> void eachAttribute(Visitor && visit) const {
"""
    for i, s in enumerate(IN_ORDER):
        out += f"        visit({i}, {access(s, '(*this)', False)});\n".replace("(*this).", "")
    out += """    }

private:
    Boxed<RareAttributes> rare_;
};

"""
    out += doc("Language names of the attributes of a Route, in the order of visitAttribute's index.")
    out += "std::span<char const * const> routeAttributeNames();\n\n"
    out += doc("What a function changed of a route, in flush order; reused from route to route. Sets are lent: they stand in the context, in the function's constants or in "
               "the route itself, and are good until the context gets another route.")
    out += "struct RouteChanges {\n    using Attribute = Eval::ModifiableAttribute;\n\n"
    out += "    /// Bit n is set when attribute n was written.\n    U32 flags = 0;\n"
    for s in MODIFIABLE:
        out += f"    {changeType(s)} {s.stem}{' = 0' if s.kindName == 'int' else '{false}' if s.kindName == 'ribs' else ''};\n"
    out += """
    void clear() { flags = 0; }
    bool changed(Attribute attribute) const { return ((flags >> static_cast<U8>(attribute)) & 1) != 0; }
    void mark(Attribute attribute) { flags |= 1U << static_cast<U8>(attribute); }

    /// Calls `visit(attribute, languageName, value)` for each change.
    template <typename Visitor> void eachChange(Visitor && visit) const {
"""
    for s in MODIFIABLE:
        out += f'        if (changed(Attribute::{s.stem})) visit(Attribute::{s.stem}, "{s.language}", {s.stem});\n'
    out += "    }\n};\n\n" + doc("Language names of the modifiable attributes, by ModifiableAttribute.")
    out += "std::span<char const * const> modifiableAttributeNames();\n"
    includes = ["<span>", "<boost/container/small_vector.hpp>", '"Agent/Routes/Boxed.h"', '"Agent/Routes/Session.h"', '"QcfLib/EvalResult.h"', '"QcfLib/QcfEvalContextGenerated.h"', '"QcfLib/RoutingTypes.h"']
    return header("A route of the agent: a member an attribute.", includes, "Qcf::Agent", out)


def routeSource():
    out = """void Route::clear() {
    static Route const fresh;
    rare_.clear();
    session = fresh.session;
"""
    out += "".join(clear(s) for s in COMMON) + "}\n\n"
    for name, rows in (("routeAttributeNames", IN_ORDER), ("modifiableAttributeNames", MODIFIABLE)):
        out += f"std::span<char const * const> {name}() {{\n    static constexpr char const * names[] = {{\n"
        out += "".join(f'        "{s.language}",\n' for s in rows) + "    };\n    return names;\n}\n\n"
    return out


def contextHeader():
    out = doc("Serves a route's attributes to an evaluation and gathers what it changes. The route must outlive its evaluation.")
    out += """class AgentContextBase : public Eval::EvalContext {
public:
    using EvalContext::EvalContext;

    /// The route to evaluate next. Forgets the last one and its changes in place: `reset` is not
    /// called.
    void routeIs(Route const & route) {
        forgetRoute();
        changes_.clear();
        route_ = &route;
        ++routeNumber_;
    }
    Route const & route() const { return *route_; }
    /// Routes that were given so far: tells one from the next, which may stand in the same object.
    U64 routeNumber() const { return routeNumber_; }
    /// What the last evaluation wrote back.
    RouteChanges const & changes() const { return changes_; }

"""
    for signature, _, _ in accessors():
        head, _, rest = signature.partition("(")
        args, _, const = rest.rpartition(")")
        out += wrap(qualified(head) + "(", [qualified(args)] if args else [], f"){const} override;", 4)
    out += "\nprivate:\n    Route const * route_ = nullptr;\n    U64 routeNumber_ = 0;\n    RouteChanges changes_;\n};\n"
    return header("The agent's side of the evaluation context.", ['"Agent/Routes/RouteGenerated.h"', '"QcfLib/QcfEvalContext.h"'], "Qcf::Agent", out)


def qualified(text):
    for name in ("TriStateBoolValue", "U64SmallVector", "CommunitySmallVector"):
        text = text.replace(name, f"Eval::{name}")
    return text


def contextBody(kind, s):
    value = access(s, "(*route_)", False).replace("(*route_).", "route_->")
    if kind == "input":
        return f"return {value};"
    if kind == "populate":
        return f"path->existingPathIs(&{value});" if s.kindName == "asPath" else f"set->lend(viewOf({value}));"
    return f"record(changes_, Attribute::{s.stem}, changes_.{s.stem}, value);"


def contextSource():
    out = """namespace {

using Attribute = Eval::ModifiableAttribute;

template <typename Member, typename Value>
void record(RouteChanges & changes, Attribute attribute, Member & member, Value const & value) {
    changes.mark(attribute);
    if constexpr (requires { value->asns(); }) {
        value == nullptr ? member.clear() : void(member = value->asns());
    } else if constexpr (requires { value->view(); }) {
        member = value ? value->view() : Member();
    } else {
        member = value;
    }
}

} // namespace

"""
    for signature, kind, s in accessors():
        head, _, rest = signature.partition("(")
        args, _, const = rest.rpartition(")")
        result, _, name = qualified(head).rpartition(" ")
        out += define(f"{result} AgentContextBase::{name}(", [qualified(args)] if args else [], ")" + const, contextBody(kind, s))
    return out


def emit():
    yield "Agent/Routes/RouteGenerated.h", routeHeader()
    yield "Agent/Routes/RouteGenerated.cpp", sourceFile(['"Agent/Routes/RouteGenerated.h"'], "Qcf::Agent", routeSource())
    yield "Agent/Evaluation/AgentContextGenerated.h", contextHeader()
    yield "Agent/Evaluation/AgentContextGenerated.cpp", sourceFile(['"Agent/Evaluation/AgentContextGenerated.h"'], "Qcf::Agent", contextSource())
