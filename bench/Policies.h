#pragma once

#include "Lists/PrefixListTrie.h"
#include "Platform/Routing/CommunityValue.h"

#include <array>
#include <vector>

namespace Qcf::Bench {

struct Table;

/// The policies that are measured.
///
/// - P0 accepts.
/// - P1: if med < 100 then local-preference = 200; accept.
/// - P2, an import filter: reject if the prefix is in a bogon list of 20 entries; reject if the
/// path
///   is longer than 50; local-preference by the first of three communities present; remove two
///   communities, add one; med += 10; accept.
/// - P3, large: 40 else-if clauses, each of which sets its own local-preference; a call that calls
///   another and adds to med or subtracts; origin = 0, add a community, local-preference += 5;
///   accept.
/// - P4, big lists: local-preference = 150 if the prefix is in a list of 10,000 entries; med = 50
/// if
///   any of 5,000 communities is present; remove 8 large communities, add an extended community;
///   accept.
enum class Policy : U8 { p0, p1, p2, p3, p4 };
inline constexpr U32 policyCount = 5;
inline constexpr std::array<char const *, policyCount> policyNames{"P0", "P1", "P2", "P3", "P4"};

using PrefixEntries = std::vector<Lists::PrefixListEntry>;

/// A clause of P3. Sets are ascending, without duplicates.
struct Clause {
    enum class Kind : U8 {
        lengthAndCommunities, ///< prefix length in [low, high] and any of 2 communities
        originAs,             ///< origin AS in a set of 100
        communities,          ///< any of 10 communities
        localPreference,      ///< local-preference in [low, high]
        nextHop,              ///< next hop in a list of /30 prefixes
    };
    static constexpr U32 kindCount = 5;

    Kind kind = Kind::lengthAndCommunities;
    U64 low = 0;
    U64 high = 0;
    std::vector<U64> values;
    PrefixEntries prefixes;
    U64 preference = 0; ///< what the clause sets
};

/// The constants of the policies, made once for all contenders. Half of what is looked for occurs
/// in the table.
struct PolicyData {
    explicit PolicyData(Table const & table);

    static constexpr U64 largestMed = 0xffffffff;
    static constexpr U64 largestPreference = 0xffffffff;

    struct {
        U64 medBelow = 100;
        U64 preference = 200;
    } p1;
    struct {
        PrefixEntries bogons;
        U64 longestPath = 50;
        std::array<U64, 3> tags;
        std::array<U64, 3> preferences{250, 180, 80};
        std::vector<U64> removed; ///< two
        U64 added = 0;
        U64 medStep = 10;
    } p2;
    struct {
        std::vector<Clause> clauses;
        U64 medStep = 20; ///< first argument of the call
        U64 longPath = 4; ///< second one: longer paths add, others subtract
        U64 added = 0;
        U64 preferenceStep = 5;
    } p3;
    struct {
        PrefixEntries prefixes;
        U64 preference = 150;
        std::vector<U64> communities; ///< 5,000
        U64 med = 50;
        std::vector<Acl::CommunityValue> removedLarge; ///< 8
        Acl::CommunityValue addedExtended;
    } p4;
};

} // namespace Qcf::Bench
