#pragma once

#include "bench/Measure.h"

#include <filesystem>

/// BIRD, the routing daemon: the same policies in its filter language over the same routes.
namespace Qcf::Bench {

/// P0 to P4 have a filter.
inline constexpr U32 birdPolicyCount = 5;

/// The table as static routes, the policies P0 to P4 as the filters `p0` to `p4`, and for each of
/// them `p0_preference`, `p0_med` and `p0_sets`, which accept what `BirdCounts` says.
///
/// An AS set, which static routes cannot have, stands as AS number 0: of the same length, and the
/// origin of no route. Prefix lists hold no addresses, so that lists of next hops are sets of
/// addresses. Additions to med and local-preference are not kept from overflowing.
void writeBirdConfig(std::filesystem::path const & path, Table const & table,
                     PolicyData const & data);

/// What a policy leaves behind, as counts of routes: BIRD has to find the same.
struct BirdCounts {
    U64 accepted = 0;
    U64 preference = 0; ///< accepted with a local-preference above 150
    U64 med = 0;        ///< accepted with a med above 50
    U64 sets = 0;       ///< accepted with more than 5 communities of all kinds together
};
inline constexpr U64 birdPreferenceAbove = 150;
inline constexpr U64 birdMedAbove = 50;
inline constexpr U64 birdSetsAbove = 5;

/// Of one of the policies that have a filter.
BirdCounts birdCounts(Policy policy, Table const & table, PolicyData const & data);

/// Nanoseconds of processor time per route of one policy, a sample a round.
struct BirdResult {
    Policy policy = Policy::p0;
    Timing walk;   ///< the filter with BIRD's walk over its table
    Timing filter; ///< the filter alone: less the walk with P0, which only accepts
};

struct BirdResults {
    String version;
    std::vector<BirdResult> results;
};

/// Runs bird.sh over the table, for those of the policies that have a filter; nothing, with a
/// message, where BIRD is not installed. Ends the process with a message when BIRD's filters do
/// anything else than the policies.
std::optional<BirdResults> measureBird(std::vector<Policy> policies, Table const & table,
                                       PolicyData const & data, U32 rounds);

} // namespace Qcf::Bench
