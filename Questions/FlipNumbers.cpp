#include "Questions/FlipCandidates.h"

#include <cmath>
#include <limits>

/// Candidates for numbers and for what has no parts.
namespace Qcf::Questions {

namespace {

constexpr U64 largest = std::numeric_limits<U64>::max();

U64 difference(U64 a, U64 b) { return a > b ? a - b : b - a; }

U64 difference(F32 a, F32 b) {
    F64 const apart = std::abs(F64{a} - F64{b});
    return apart < 1 ? 1 : apart >= 1e18 ? largest : static_cast<U64>(apart);
}

/// What the part meets: constants, tags, and numbers of the route itself.
std::vector<U64> metNumbers(Asked const & asked) {
    std::vector<U64> met = asked.questions.constants.integers;
    for (Lists::ListRecord const * const list : asked.questions.constants.lists) {
        if (auto const * const tags = std::get_if<Lists::TagSetRecord>(&list->content)) {
            met.insert(met.end(), tags->tags.begin(), tags->tags.end());
        }
    }
    asked.route.eachAttribute([&]<typename Value>(std::size_t index, Value const & value) {
        if constexpr (std::is_same_v<Value, U64>) {
            if (asked.questions.partners.test(index)) {
                met.push_back(value);
            }
        } else if constexpr (std::is_same_v<Value, Agent::RouteIntSet>) {
            if (asked.questions.partners.test(index)) {
                met.insert(met.end(), value.begin(), value.end());
            }
        }
    });
    return met;
}

/// The numbers from which steps lead to the constants.
void addBeforeSteps(std::vector<U64> & met, std::vector<U64> const & steps) {
    constexpr std::size_t mostProducts = 4'000;
    std::size_t const constants = met.size();
    for (U64 const step : steps) {
        for (std::size_t i = 0; i < constants && met.size() < mostProducts; ++i) {
            met.push_back(met[i] + step);
            met.push_back(met[i] - step);
            met.push_back(step == 0 ? 0 : met[i] / step);
        }
    }
}

} // namespace

std::vector<U64> turningPoints(std::vector<U64> const & constants, U64 least, U64 most) {
    std::vector<U64> points{least, most};
    for (U64 const constant : constants) {
        // Where these wrap they are out of range, or an end of it.
        points.insert(points.end(), {constant - 1, constant, constant + 1});
    }
    std::erase_if(points, [&](U64 point) { return point < least || point > most; });
    std::ranges::sort(points);
    points.erase(std::unique(points.begin(), points.end()), points.end());
    return points;
}

void addCandidates(Candidates<U64> & to, U64 current, Asked const & asked) {
    Agent::RouteAttribute const & limits = Agent::routeAttributes()[asked.part];
    std::vector<U64> met = metNumbers(asked);
    met.push_back(current);
    addBeforeSteps(met, asked.questions.steps);
    for (U64 const point : turningPoints(met, limits.least, limits.most)) {
        to.add(point, difference(point, current));
    }
    if (limits.also) {
        to.add(*limits.also, difference(*limits.also, current));
    }
}

void addCandidates(Candidates<F32> & to, F32 current, Asked const & asked) {
    constexpr F32 infinite = std::numeric_limits<F32>::infinity();
    auto const add = [&](F32 value) {
        if (std::isfinite(value)) {
            to.add(value, difference(value, current));
        }
    };
    add(0);
    for (F32 const constant : asked.questions.constants.bandwidths) {
        add(std::nextafter(constant, -infinite));
        add(constant);
        add(std::nextafter(constant, infinite));
    }
}

void addCandidates(Candidates<Eval::TriStateBoolValue> & to, Eval::TriStateBoolValue /*current*/,
                   Asked const & /*asked*/) {
    for (auto const value : {Eval::QcfTrue(), Eval::QcfFalse(), Eval::QcfUnknown()}) {
        to.add(value, 1);
    }
}

void addCandidates(Candidates<IntfId> & to, IntfId const & /*current*/, Asked const & asked) {
    to.add(IntfId(), 1);
    for (IntfId const & interface : asked.questions.constants.interfaces) {
        to.add(interface, 1);
    }
}

void addCandidates(Candidates<EthAddr> & to, EthAddr const & /*current*/, Asked const & asked) {
    to.add(EthAddr(), 1);
    for (EthAddr const & mac : asked.questions.constants.macs) {
        to.add(mac, 1);
    }
}

void addCandidates(Candidates<std::optional<Evpn::Esid>> & to,
                   std::optional<Evpn::Esid> const & /*current*/, Asked const & asked) {
    to.add(std::nullopt, 1);
    to.add(Evpn::Esid(), 1);
    for (Evpn::Esid const & segment : asked.questions.constants.segments) {
        to.add(segment, 1);
    }
}

void addCandidates(Candidates<Acl::CommunityValue> & to, Acl::CommunityValue const & /*current*/,
                   Asked const & asked) {
    to.add(Acl::CommunityValue(), 1);
    for (Acl::CommunityValue const & community : asked.questions.constants.communities) {
        to.add(community, 1);
    }
}

} // namespace Qcf::Questions
