#include "bench/Policies.h"

#include "bench/Table.h"

#include <algorithm>
#include <random>

namespace Qcf::Bench {

namespace {

/// Draws constants: every other one from the table's routes, the rest from anywhere. Takes the bits
/// of std::mt19937_64, whose sequence is fixed, and no distribution, whose is not.
class Chooser {
public:
    explicit Chooser(Table const & table) : table_(table) {}

    U64 below(U64 bound) { return random_() % bound; }

    U64 communityOfTable() {
        for (;;) {
            auto const & community = anyRoute().community;
            if (!community.empty()) {
                return community[below(community.size())];
            }
        }
    }
    U64 communityElsewhere() { return (64000 + below(400)) << 16 | below(0x10000); }
    Acl::CommunityValue largeCommunityOfTable() {
        for (;;) {
            auto const & large = anyRoute().largeCommunity;
            if (!large.empty()) {
                return large[below(large.size())];
            }
        }
    }
    U64 originAsOfTable() {
        for (;;) {
            bool known = false;
            U32 const as = originAs(anyRoute().asPath, 0, known);
            if (known) {
                return as;
            }
        }
    }
    IpGenPrefix prefixOfTable() {
        for (;;) {
            auto const & prefix = anyRoute().ipPrefix;
            if (prefix.af() == AddressFamily::ipv4) {
                return prefix;
            }
        }
    }
    IpGenPrefix prefixElsewhere(U8 shortest, U8 longest) {
        auto const length = static_cast<U8>(shortest + below(longest - shortest + 1U));
        auto const address = static_cast<U32>((1 + below(222)) << 24 | below(1U << 24));
        return {IpGenAddr::v4(address), length};
    }

    /// Values by `make(i)`, ascending and all different.
    template <typename Value, typename Make>
    std::vector<Value> set(std::size_t size, Make make) {
        std::vector<Value> values;
        for (std::size_t i = 0; values.size() < size; ++i) {
            Value const value = make(i);
            auto const place = std::lower_bound(values.begin(), values.end(), value);
            if (place == values.end() || !(*place == value)) {
                values.insert(place, value);
            }
        }
        return values;
    }
    std::vector<U64> communities(std::size_t size) {
        return set<U64>(size, [this](std::size_t i) {
            return i % 2 == 0 ? communityOfTable() : communityElsewhere();
        });
    }

private:
    Agent::Route const & anyRoute() { return table_.routes[below(table_.size())]; }

    Table const & table_;
    std::mt19937_64 random_{20240101};
};

void permit(PrefixEntries & entries, IpGenPrefix const & prefix, U32 minLength, U32 maxLength) {
    entries.push_back({.seq = static_cast<U32>(10 * (entries.size() + 1)),
                       .action = Lists::ListAction::permit,
                       .prefix = prefix,
                       .minLength = static_cast<U8>(minLength),
                       .maxLength = static_cast<U8>(maxLength)});
}

/// Prefixes that nobody is to announce, too long and too short ones, and a few stolen ones.
PrefixEntries bogonList(Chooser & chooser) {
    PrefixEntries entries;
    for (char const * text :
         {"0.0.0.0/8", "10.0.0.0/8", "100.64.0.0/10", "127.0.0.0/8", "169.254.0.0/16",
          "172.16.0.0/12", "192.0.0.0/24", "192.0.2.0/24", "192.88.99.0/24", "192.168.0.0/16",
          "198.18.0.0/15", "198.51.100.0/24", "203.0.113.0/24", "224.0.0.0/4", "240.0.0.0/4"}) {
        auto const prefix = *IpGenPrefix::parse(text);
        permit(entries, prefix, prefix.len(), 32);
    }
    permit(entries, *IpGenPrefix::parse("0.0.0.0/0"), 25, 32);
    permit(entries, *IpGenPrefix::parse("0.0.0.0/0"), 0, 7);
    for (U32 i = 0; i < 3; ++i) {
        IpGenPrefix const prefix = chooser.prefixElsewhere(10, 12);
        permit(entries, prefix, 16 + i, 24);
    }
    return entries;
}

/// Half are prefixes of the table, the others ranges anywhere, most of them longer than /16.
PrefixEntries bigPrefixList(Chooser & chooser, std::size_t size) {
    PrefixEntries entries;
    while (entries.size() < size) {
        if (entries.size() % 2 == 0) {
            IpGenPrefix const prefix = chooser.prefixOfTable();
            permit(entries, prefix, prefix.len(), prefix.len());
        } else {
            IpGenPrefix const prefix = chooser.prefixElsewhere(14, 22);
            permit(entries, prefix, prefix.len() + static_cast<U32>(entries.size() % 3), 24);
        }
    }
    return entries;
}

/// Eight /30 prefixes; the list of the last clause of its kind holds next hops of the table.
PrefixEntries nextHopList(Chooser & chooser, bool last) {
    PrefixEntries entries;
    while (entries.size() < 8) {
        bool const known = last && entries.size() == 4;
        permit(entries,
               known ? *IpGenPrefix::parse("198.51.100.8/30") : chooser.prefixElsewhere(30, 30), 30,
               32);
    }
    return entries;
}

Clause clause(Chooser & chooser, U32 index, U32 count) {
    U32 const round = index / Clause::kindCount;
    Clause made;
    made.kind = static_cast<Clause::Kind>(index % Clause::kindCount);
    made.preference = 110 + index;
    switch (made.kind) {
    case Clause::Kind::lengthAndCommunities:
        made.low = 16 + round % 4;
        made.high = 24;
        made.values = chooser.communities(2);
        break;
    case Clause::Kind::originAs:
        made.values = chooser.set<U64>(100, [&](std::size_t i) {
            return i % 2 == 0 ? chooser.originAsOfTable() : 64512 + chooser.below(1000);
        });
        break;
    case Clause::Kind::communities:
        made.values = chooser.communities(10);
        break;
    case Clause::Kind::localPreference:
        made.low = 120 + 25 * round;
        made.high = made.low + 10;
        break;
    case Clause::Kind::nextHop:
        made.prefixes = nextHopList(chooser, index + Clause::kindCount >= count);
        break;
    }
    return made;
}

} // namespace

PolicyData::PolicyData(Table const & table) : p5(table) {
    Chooser chooser(table);
    p2.bogons = bogonList(chooser);
    for (U64 & tag : p2.tags) {
        tag = chooser.communityOfTable();
    }
    p2.removed = chooser.communities(2);
    p2.added = U64{64999} << 16 | 100;

    constexpr U32 clauseCount = 40;
    for (U32 i = 0; i < clauseCount; ++i) {
        p3.clauses.push_back(clause(chooser, i, clauseCount));
    }
    p3.added = U64{64999} << 16 | 300;

    p4.prefixes = bigPrefixList(chooser, 10000);
    p4.communities = chooser.communities(5000);
    p4.removedLarge = chooser.set<Acl::CommunityValue>(
        8, [&](std::size_t) { return chooser.largeCommunityOfTable(); });
    constexpr U64 routeTarget = U64{0x0002} << 48;
    p4.addedExtended = {routeTarget | U64{64999} << 32 | 100, 0};
}

} // namespace Qcf::Bench
