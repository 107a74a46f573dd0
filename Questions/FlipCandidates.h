#pragma once

#include "Agent/Routes/RouteAttributes.h"
#include "Questions/FlipConstants.h"

#include <algorithm>
#include <set>

namespace Qcf::Questions {

/// Values that a part of a route may be given instead of its own, each with its distance from it.
template <typename Value>
class Candidates {
public:
    using Candidate = std::pair<U64, Value>;

    void add(Value value, U64 distance) {
        // A table of a million entries leaves those that are near.
        if (all_.size() == 2 * most) {
            dropFar();
        }
        all_.emplace_back(distance, std::move(value));
    }

    /// Each value once, the nearest first, without the current one.
    std::vector<Candidate> take(Value const & current) {
        auto const nearer = [](Candidate const & a, Candidate const & b) {
            return a.first < b.first;
        };
        std::ranges::stable_sort(all_, nearer);
        std::set<decltype(keyOf(current))> met{keyOf(current)};
        std::erase_if(
            all_, [&](Candidate const & each) { return !met.insert(keyOf(each.second)).second; });
        return std::move(all_);
    }
    /// Whether all that was added is still there.
    bool isWhole() const { return isWhole_; }

private:
    static constexpr std::size_t most = 8'000;

    static auto keyOf(Value const & value) {
        if constexpr (requires { value.asns(); }) {
            return value.toString();
        } else {
            return value;
        }
    }
    void dropFar() {
        auto const end = all_.begin() + static_cast<std::ptrdiff_t>(most);
        std::nth_element(all_.begin(), end, all_.end(),
                         [](auto const & a, auto const & b) { return a.first < b.first; });
        all_.erase(end, all_.end());
        isWhole_ = false;
    }

    std::vector<Candidate> all_;
    bool isWhole_ = true;
};

/// What candidates are looked for by.
struct Asked {
    Agent::Route const & route;
    RoutePart part;
    PartQuestions const & questions;
};

// Adds what the constants, the lists and the value itself suggest; a function a type of value.
// Distances: of numbers their difference; of sets and paths the elements that are put in, taken out
// or replaced; of prefixes the bits that differ and those by which one is longer; of addresses the
// bits that differ, 256 and more for another family; of all else 1.
void addCandidates(Candidates<U64> & to, U64 current, Asked const & asked);
void addCandidates(Candidates<F32> & to, F32 current, Asked const & asked);
void addCandidates(Candidates<Eval::TriStateBoolValue> & to, Eval::TriStateBoolValue current,
                   Asked const & asked);
void addCandidates(Candidates<IntfId> & to, IntfId const & current, Asked const & asked);
void addCandidates(Candidates<EthAddr> & to, EthAddr const & current, Asked const & asked);
void addCandidates(Candidates<std::optional<Evpn::Esid>> & to,
                   std::optional<Evpn::Esid> const & current, Asked const & asked);
void addCandidates(Candidates<Acl::CommunityValue> & to, Acl::CommunityValue const & current,
                   Asked const & asked);
void addCandidates(Candidates<std::vector<U64>> & to, std::vector<U64> const & current,
                   Asked const & asked);
void addCandidates(Candidates<std::vector<Acl::CommunityValue>> & to,
                   std::vector<Acl::CommunityValue> const & current, Asked const & asked);
void addCandidates(Candidates<Routing::Bgp::AsPath> & to, Routing::Bgp::AsPath const & current,
                   Asked const & asked);
void addCandidates(Candidates<IpGenPrefix> & to, IpGenPrefix const & current, Asked const & asked);
void addCandidates(Candidates<IpGenAddr> & to, IpGenAddr const & current, Asked const & asked);

/// Numbers at which a comparison with one of these may turn: each with those beside it, and the
/// ends of the range.
std::vector<U64> turningPoints(std::vector<U64> const & constants, U64 least, U64 most);

/// The longest path that is made for a test of lengths.
inline constexpr U64 longestMadePath = 2'000;

/// AS numbers that patterns and payloads of the lists name.
std::vector<U64> asesOf(std::vector<Lists::ListRecord const *> const & lists,
                        IpGenPrefix const & prefix);

} // namespace Qcf::Questions
