#include "bench/PlainTable.h"

#include "QcfLib/QcfEvalContextGenerated.h"
#include "bench/IntervalList.h"

#include <algorithm>

namespace Qcf::Bench {

namespace {

static_assert(sizeof(Acl::CommunityValue) == 3 * sizeof(U32), "communities are three words");

PlainSet words(std::span<Acl::CommunityValue const> values) {
    return {static_cast<U32>(values.size()), reinterpret_cast<U32 const *>(values.data())};
}

U32 v4(IpGenAddr const & address) {
    return address.af() == AddressFamily::ipv4 ? address.v4Value() : 0;
}

} // namespace

PlainTable::PlainTable(Table const & table) {
    std::size_t communities = 0;
    for (Agent::Route const & route : table.routes) {
        communities += route.community.size();
    }
    communities_.reserve(communities);
    for (Agent::Route const & route : table.routes) {
        U32 const * const own = communities_.data() + communities_.size();
        for (U64 const value : route.community) {
            communities_.push_back(static_cast<U32>(value));
        }
        bool known = false;
        PlainRoute plain{};
        plain.prefix = v4(route.ipPrefix.addr());
        plain.prefixFamily = static_cast<U32>(route.ipPrefix.af());
        plain.prefixLength = route.ipPrefix.len();
        plain.nextHop = v4(route.nextHop);
        plain.nextHopFamily = static_cast<U32>(route.nextHop.af());
        plain.pathLength = route.asPath.length();
        plain.originAs = Routing::Bgp::originAs(route.asPath, 0, known);
        plain.med = static_cast<U32>(route.med);
        plain.localPref = static_cast<U32>(route.localPref);
        plain.community = {static_cast<U32>(route.community.size()), own};
        plain.largeCommunity = words({route.largeCommunity.data(), route.largeCommunity.size()});
        plain.extCommunity = words({route.extCommunity.data(), route.extCommunity.size()});
        routes_.push_back(plain);
    }
}

PlainSet PlainConstants::set(std::span<U64 const> values) {
    auto & own = storage_.emplace_back(values.begin(), values.end());
    return {static_cast<U32>(own.size()), own.data()};
}

PlainList PlainConstants::list(PrefixEntries const & entries) {
    IntervalList const intervals(entries);
    auto & starts = storage_.emplace_back(intervals.starts());
    auto & lengths = storage_.emplace_back();
    auto & hosts = storage_.emplace_back();
    for (U64 const bits : intervals.lengths()) {
        lengths.push_back(static_cast<U32>(bits));
        hosts.push_back(static_cast<U32>(bits >> 32));
    }
    return {static_cast<U32>(starts.size()), starts.data(), lengths.data(), hosts.data()};
}

void PlainConstants::setClauses(PolicyData const & data) {
    for (Clause const & clause : data.p3.clauses) {
        clauses_.push_back({static_cast<U32>(clause.kind), static_cast<U32>(clause.low),
                            static_cast<U32>(clause.high), set(clause.values),
                            list(clause.prefixes), static_cast<U32>(clause.preference)});
    }
    data_.clauses = clauses_.data();
    data_.clauseCount = static_cast<U32>(clauses_.size());
}

PlainConstants::PlainConstants(PolicyData const & data) {
    using Attribute = Eval::ModifiableAttribute;
    constexpr auto flag = [](Attribute attribute) { return 1U << static_cast<U8>(attribute); };
    constexpr auto narrow = [](U64 value) { return static_cast<U32>(value); };
    data_.flagCommunity = flag(Attribute::community);
    data_.flagLarge = flag(Attribute::largeCommunity);
    data_.flagExtended = flag(Attribute::extCommunity);
    data_.flagPreference = flag(Attribute::localPref);
    data_.flagMed = flag(Attribute::med);
    data_.flagOrigin = flag(Attribute::origin);

    data_.p1MedBelow = narrow(data.p1.medBelow);
    data_.p1Preference = narrow(data.p1.preference);

    data_.bogons = list(data.p2.bogons);
    data_.longestPath = narrow(data.p2.longestPath);
    std::transform(data.p2.tags.begin(), data.p2.tags.end(), data_.tags, narrow);
    std::transform(data.p2.preferences.begin(), data.p2.preferences.end(), data_.tagPreferences,
                   narrow);
    data_.p2Removed = set(data.p2.removed);
    data_.p2Added = narrow(data.p2.added);
    data_.p2MedStep = narrow(data.p2.medStep);

    setClauses(data);
    data_.p3MedStep = narrow(data.p3.medStep);
    data_.p3LongPath = narrow(data.p3.longPath);
    data_.p3Added = narrow(data.p3.added);
    data_.p3PreferenceStep = narrow(data.p3.preferenceStep);

    data_.prefixes = list(data.p4.prefixes);
    data_.p4Preference = narrow(data.p4.preference);
    data_.communities = set(data.p4.communities);
    data_.p4Med = narrow(data.p4.med);
    data_.removedLarge = words(data.p4.removedLarge);
    data_.addedExtended = words({&data.p4.addedExtended, 1});
}

} // namespace Qcf::Bench
