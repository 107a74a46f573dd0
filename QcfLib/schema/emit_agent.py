"""Writes the members of the agent's route and of its changes, and the context that serves the one and fills the other."""

from emit_attributes import IN_ORDER, MODIFIABLE, accessors
from text import define, doc, file

COMMON = [s for s in IN_ORDER if s.common]
RARE = [s for s in IN_ORDER if not s.common]
SETS = {"intSet": ("RouteIntSet", "std::span<U64 const>"), "communitySet": ("RouteCommunitySet", "std::span<Acl::CommunityValue const>"),
        "asPath": ("Routing::Bgp::AsPath", "Routing::Bgp::AsnVector")}


def member(s, form, initial):
    """A member of the route (form 0) or of its changes (form 1)."""
    return f"{SETS[s.kindName][form]} {s.stem};\n" if s.kindName in SETS else f"{s.kind.cpp} {s.stem}{f' = {initial}' if initial != '{}' else ''};\n"


def struct(name, sentence, members):
    return doc(sentence) + f"struct {name} {{\n{''.join(members)}}};\n\n"


def table(name, rows):
    return f"inline constexpr char const * {name}[] = {{\n" + "".join(f'"{s.language}",\n' for s in rows) + "};\n\n"


def owner(s):
    return "CommonAttributes" if s.common else "RareAttributes"


def routeHeader():
    out = struct("CommonAttributes", "Attributes that every route carries, each with the value it has when nothing is known.", [member(s, 0, s.initial) for s in COMMON])
    out += struct("RareAttributes", "Attributes that most routes do not carry.", [member(s, 0, s.initial) for s in RARE])
    out += struct("ChangedAttributes", "New values of attributes, in flush order. Sets are lent, see RouteChanges.", [member(s, 1, s.kind.initial) for s in MODIFIABLE])
    out += doc("All attributes of a route, in the order of their language names, which follow.")
    out += f"using RouteMembers = MemberList<{', '.join(f'&{owner(s)}::{s.stem}' for s in IN_ORDER)}>;\n" + table("routeMemberNames", IN_ORDER)
    out += doc("The attributes that can change, by ModifiableAttribute, and their language names.")
    out += f"using ChangeMembers = MemberList<{', '.join(f'&ChangedAttributes::{s.stem}' for s in MODIFIABLE)}>;\n" + table("changeMemberNames", MODIFIABLE)
    return out


def contextBody(kind, s):
    value = f"route().{'' if s.common else 'rare().'}{s.stem}"
    if kind == "input":
        return f"return {value};"
    if kind == "populate":
        return f"path->existingPathIs(&{value});" if s.kindName == "asPath" else f"set->lend(viewOf({value}));"
    return f"changedIs(Attribute::{s.stem}, &RouteChanges::{s.stem}, value);"


def contextHeader():
    out = doc("The agent's context without its lists and the facts of its sessions: serves the attributes of a route and gathers what an evaluation changes.")
    out += "class AgentContextBase : public RouteContext {\npublic:\nusing RouteContext::RouteContext;\n\n"
    return out + "".join(f"{signature} override;\n" for signature, _, _ in accessors()) + "};\n"


def emit():
    yield "Agent/Routes/RouteGenerated.h", file(["Agent/Routes/RouteValues.h"], "Qcf::Agent", routeHeader(), "The attributes of the agent's route: a member an attribute.")
    yield "Agent/Evaluation/AgentContextGenerated.h", file(["Agent/Evaluation/RouteContext.h"], "Qcf::Agent", contextHeader(), "The operations of the agent's evaluation context, an attribute each.")
    yield "Agent/Evaluation/AgentContextGenerated.cpp", file(["Agent/Evaluation/AgentContextGenerated.h"], "Qcf::Agent",
                                                  "".join(define("AgentContextBase", signature, contextBody(kind, s)) for signature, kind, s in accessors()))
