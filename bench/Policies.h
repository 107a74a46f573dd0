#pragma once

#include "Lists/PrefixListTrie.h"
#include "Lists/RoaTable.h"
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
/// - P5, what imports refuse: reject if the prefix is covered by one of 20 of both families; if it
///   is too long or too short; if the origin AS is in one of 8 ranges; if one of 4 patterns finds
///   its like in the path; if the origin is invalid by ROAs for every other prefix of the table;
///   local-preference = 120 where it is valid, else 90; add a community; accept.
enum class Policy : U8 { p0, p1, p2, p3, p4, p5 };
inline constexpr U32 policyCount = 6;
inline constexpr std::array<char const *, policyCount> policyNames{"P0", "P1", "P2",
                                                                   "P3", "P4", "P5"};

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

/// The constants of P5.
struct ImportData {
    explicit ImportData(Table const & table);

    /// Both ends belong to the range.
    struct Range {
        U64 low;
        U64 high;
    };

    std::vector<IpGenPrefix> reserved; ///< of both families
    U8 longestV4 = 24;
    Range lengths{8, 48};
    std::vector<Range> origins; ///< ascending, apart from each other
    std::vector<Range> reservedInPath;
    std::vector<U32> leaks;       ///< as third AS of a path
    std::vector<String> patterns; ///< the same two as AS-path patterns
    std::vector<Lists::Roa> roas;
    U64 validPreference = 120;
    U64 otherPreference = 90;
    U64 added = U64{64999} << 16 | 500;
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
    ImportData p5;
};

} // namespace Qcf::Bench
