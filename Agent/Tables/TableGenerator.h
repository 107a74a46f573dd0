#pragma once

#include "Agent/Mrt/MrtTable.h"

#include <array>
#include <vector>

namespace Qcf::Agent {

/// Makes a routing table of invented routes that is shaped like the table of the Internet.
///
/// The same number and seed give the same routes on every machine, and a longer table starts with
/// the shorter one. About four fifths are IPv4, with 60% of /24; paths have 2 to 7 AS numbers, some
/// prepended, few ending in a set; 0 to 20 communities, some large and extended ones. A prefix
/// comes from 1 to 3 peers, one after the other, and no peer announces a prefix twice. Some routes
/// carry the well-known communities no-export (65535:65281) and blackhole (65535:666).
///
///     TableGenerator table(200000, 1);
///     for (Route route; table.next(route);) {
///         ...
///     }
///
/// Routes share their attributes as `Sharing` says. Without sharing nearly every route has
/// attributes of its own, and the sessions have AS numbers for documentation.
class TableGenerator {
public:
    enum class Sharing : U8 {
        none,
        /// An origin announces several prefixes in a row, and others again later: 47 % of the
        /// routes have the attributes of the one before them of their session. Of 200,000 routes 31
        /// % have attributes that none had before, of 1,000,000 18 %. The sessions have AS numbers
        /// as they are assigned, so that filters of reserved ones let the routes pass.
        real,
    };

    /// How many routes in all, and which ones.
    TableGenerator(U64 routes, U64 seed, Sharing sharing = Sharing::none);

    /// The next route, which overwrites `route`; false after the last one.
    bool next(Route & route);

    /// The sessions that the routes come over.
    std::vector<MrtPeer> const & peers() const { return peers_; }

    /// The time of the table, the same for every seed: the first second of 2024.
    static constexpr U32 time = 1704067200;

private:
    /// A small generator of its own (splitmix64): those of the standard library promise no
    /// particular numbers once a distribution is involved.
    class Random {
    public:
        /// Equal seeds make equal numbers.
        explicit Random(U64 seed) : state_(seed) {}
        /// 64 bits, equally likely each.
        U64 next();
        /// 0 to `bound` - 1.
        U32 below(U32 bound) { return static_cast<U32>(((next() >> 32) * bound) >> 32); }
        bool oneIn(U32 n) { return below(n) == 0; }
        /// An AS number as they are assigned, two fifths beyond 16 bits.
        U32 asn();

    private:
        U64 state_;
    };

    /// Chooses the next prefix, its origin and how many peers announce it.
    void startPrefix();
    /// Likewise for a prefix of the bundle of prefixes that share their attributes.
    void startSharedPrefix();
    /// Who announces a prefix, from one stream of numbers.
    void chooseOrigin();
    void fillAttributes(Route & route, MrtPeer const & peer);
    /// What a bundle has is drawn from numbers of its own, each time anew, so that memory does not
    /// grow with the table. `part` is the number of the peer, or `bundleFacts`.
    Random bundleNumbers(U32 part) const;
    static constexpr U32 bundleFacts = 0xff;
    /// A prefix that was not used, of a length that is common in tables.
    IpGenPrefix nextPrefix(AddressFamily family);
    /// The parts of a route, each drawn from the one stream of random numbers, in this order.
    void fillPath(Route & route, U32 peerAs);
    void fillCommunities(Route & route);

    /// Routes still to be made.
    U64 left_;
    Sharing sharing_;
    Random random_;
    U64 offset_; ///< where in the permuted prefixes of a length this seed starts
    std::vector<MrtPeer> peers_;
    std::vector<U32> transits_;
    std::array<U64, 33> usedV4_{};  ///< prefixes handed out, by length
    std::array<U64, 129> usedV6_{}; ///< likewise
    IpGenPrefix prefix_;
    U32 originAs_ = 0;
    U32 peersLeft_ = 0; ///< of the current prefix
    U32 peerAt_ = 0;
    U64 bundleSeed_ = 0;
    U32 bundle_ = 0;  ///< of the current prefix
    U32 bundles_ = 0; ///< so far
    Routing::Bgp::AsnVector path_;
};

} // namespace Qcf::Agent
