#include "Questions/FlipEdits.h"

#include "Questions/FlipCandidates.h"

namespace Qcf::Questions {

namespace {

using Agent::Route;

template <typename Value, typename Write>
void addEdits(PartEdits & to, RoutePart part, std::vector<std::pair<U64, Value>> const & candidates,
              Write const & write) {
    for (auto const & [distance, value] : candidates) {
        to.edits.push_back(
            {part, distance, [write, value = value](Route & route) { write(route, value); }});
    }
}

/// Whether the member is a set whose elements are those of the value.
template <typename Member, typename Value>
constexpr bool holdsSet = false;
template <typename Member, typename Value>
requires std::is_same_v<Value, std::vector<typename Member::value_type>>
constexpr bool holdsSet<Member, Value> = true;

/// Members of other types are those of other attributes.
template <typename Member, typename Value>
void assignTo(Member & member, Value const & value) {
    if constexpr (std::is_same_v<Member, Value>) {
        member = value;
    } else if constexpr (holdsSet<Member, Value>) {
        member.assign(value.begin(), value.end());
    }
}

/// Puts a value in its attribute's place, whose type it has; that of a set has its own storage.
template <typename Value>
struct Assign {
    RoutePart part;

    void operator()(Route & route, Value const & value) const {
        route.visitAttribute(part, [&](auto & member) { assignTo(member, value); });
    }
};

/// The value as candidates are made of it.
template <typename Value>
auto heldAs(Value const & value) {
    if constexpr (requires { value.capacity(); }) {
        return std::vector<typename Value::value_type>(value.begin(), value.end());
    } else {
        return value;
    }
}

template <typename Value>
String completeness(Asked const & asked, Candidates<Value> const & candidates) {
    auto const & compared = asked.questions.compared;
    bool const isNumber = std::is_same_v<Value, U64>;
    bool const isPath = std::is_same_v<Value, Routing::Bgp::AsPath>;
    bool const isPrefix = std::is_same_v<Value, IpGenPrefix>;
    if (!compared || !candidates.isWhole()) {
        return {};
    }
    if (isNumber && compared == Facet::value) {
        return partName(asked.part);
    }
    bool const isMade =
        asked.questions.lengths.empty() || asked.questions.lengths.back() + 1 < longestMadePath;
    bool const hasLengths = isPrefix || (isPath && isMade);
    return hasLengths && compared == Facet::length ? partName(asked.part) + ".length" : String();
}

void addAttributeEdits(PartEdits & to, Asked const & asked) {
    asked.route.eachAttribute([&]<typename Value>(std::size_t index, Value const & value) {
        using Ribs = Routing::Rib::ResolutionRibProfileConfig;
        // Nothing asks for the RIBs.
        if constexpr (!std::is_same_v<Value, Ribs>) {
            if (index == asked.part) {
                auto const held = heldAs(value);
                using Held = std::decay_t<decltype(held)>;
                Candidates<Held> candidates;
                addCandidates(candidates, held, asked);
                to.complete = completeness(asked, candidates);
                addEdits(to, asked.part, candidates.take(held), Assign<Held>{asked.part});
            }
        }
    });
}

void addLocalAsEdits(PartEdits & to, Asked const & asked) {
    Candidates<U32> candidates;
    auto const & constants = asked.questions.constants;
    std::vector<U64> ases = asesOf(constants.lists, asked.route.ipPrefix);
    ases.insert(ases.end(), constants.integers.begin(), constants.integers.end());
    for (U64 const as : turningPoints(ases, 0, 0xffffffff)) {
        candidates.add(static_cast<U32>(as), 1);
    }
    addEdits(to, localAsPart, candidates.take(asked.route.session.localAs),
             [](Route & route, U32 as) { route.session.localAs = as; });
}

void addVrfEdits(PartEdits & to, Asked const & asked) {
    Candidates<U32> candidates;
    candidates.add(Agent::Session().vrfId, 1);
    for (Lists::ListRecord const * const list : asked.questions.constants.lists) {
        if (auto const * const dynamic =
                std::get_if<Lists::DynamicPrefixListRecord>(&list->content)) {
            for (auto const & [vrf, isActive] : dynamic->vrfs) {
                candidates.add(vrf, 1);
            }
        }
    }
    addEdits(to, vrfPart, candidates.take(asked.route.session.vrfId),
             [](Route & route, U32 vrf) { route.session.vrfId = vrf; });
}

} // namespace

PartEdits editsOf(Route const & route, RoutePart part, FlipGround const & ground) {
    PartEdits edits;
    Asked const asked{route, part, ground.of(part)};
    if (part == outboundPart) {
        edits.edits.push_back({part, 1, [](Route & changed) {
                                   changed.session.outbound = !changed.session.outbound;
                               }});
    } else if (part == localAsPart) {
        addLocalAsEdits(edits, asked);
    } else if (part == vrfPart) {
        addVrfEdits(edits, asked);
    } else {
        addAttributeEdits(edits, asked);
    }
    return edits;
}

} // namespace Qcf::Questions
