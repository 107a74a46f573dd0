#include "Agent/Tables/TableGenerator.h"

#include <algorithm>
#include <span>
#include <utility>

/// Invented routes for tests and measurements. Every choice is drawn from one stream of numbers, so
/// that the order of the draws is a part of what a seed means.
namespace Qcf::Agent {

namespace {

/// How many prefixes of a length there are among all of a family.
struct LengthWeight {
    U8 length;
    U32 weight;
};

// The most frequent first, which is where picking usually ends.
constexpr LengthWeight v4Lengths[] = {
    {24, 6000}, {22, 1080}, {23, 1000}, {21, 520}, {20, 440}, {19, 270}, {16, 140}, {18, 140},
    {17, 85},   {15, 20},   {14, 12},   {13, 6},   {12, 3},   {11, 1},   {10, 1},   {8, 1},
};
constexpr LengthWeight v6Lengths[] = {
    {48, 470}, {32, 120}, {44, 105}, {40, 100}, {36, 40}, {46, 30}, {29, 30},
    {47, 25},  {45, 20},  {42, 20},  {33, 15},  {34, 10}, {38, 8},  {64, 4},
};

/// The /12 blocks that the registries hand IPv6 prefixes out of, as the first 12 bits.
constexpr U32 v6Blocks[] = {0x240, 0x260, 0x280, 0x2a0, 0x2c0};

/// An odd factor permutes the numbers of any power-of-two range, which spreads consecutive indexes
/// over the whole range and never gives a prefix twice.
constexpr U64 spread = 0x9e3779b97f4a7c15U;

// AS numbers and, below, addresses of peers are from the ranges for documentation (RFC 5398, RFC
// 5737, RFC 3849).
constexpr U32 v4PeerCount = 6;
constexpr U32 v6PeerCount = 4;
constexpr U32 firstPeerAs = 64496;

U8 pickLength(std::span<LengthWeight const> lengths, U32 point) {
    for (LengthWeight const & row : lengths) {
        if (point < row.weight) {
            return row.length;
        }
        point -= row.weight;
    }
    return lengths.front().length;
}

constexpr U32 totalWeight(std::span<LengthWeight const> lengths) {
    U32 total = 0;
    for (LengthWeight const & row : lengths) {
        total += row.weight;
    }
    return total;
}

/// Prefixes of this first octet are announced to the Internet.
bool isUsable(U32 v4Address) {
    U32 const octet = v4Address >> 24;
    return octet != 0 && octet != 10 && octet != 127 && octet < 224;
}

IpGenAddr v6FromHigh(U64 high) {
    std::array<U8, 16> octets{};
    for (U32 i = 0; i < 8; ++i) {
        octets[i] = static_cast<U8>(high >> (56 - 8 * i));
    }
    return IpGenAddr::v6(octets);
}

/// The `index`-th IPv6 prefix of a length of at most 64, counted from anywhere.
IpGenPrefix v6Prefix(U64 index, U64 offset, U8 length) {
    constexpr U32 blockBits = 12;
    U32 const bits = length - blockBits;
    U64 const within = ((offset + index / std::size(v6Blocks)) * spread) & ((U64{1} << bits) - 1);
    U64 const block = v6Blocks[index % std::size(v6Blocks)];
    return {v6FromHigh((block << (64 - blockBits)) | (within << (64 - length))), length};
}

template <class Set>
void makeSet(Set & set) {
    std::sort(set.begin(), set.end());
    set.erase(std::unique(set.begin(), set.end()), set.end());
}

} // namespace

U64 TableGenerator::Random::next() {
    U64 z = (state_ += spread);
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9U;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebU;
    return z ^ (z >> 31);
}

U32 TableGenerator::Random::asn() {
    return below(5) < 3 ? 1000 + below(22000) : 131072 + below(270000);
}

TableGenerator::TableGenerator(U64 routes, U64 seed, Sharing sharing)
    : left_(routes), sharing_(sharing), random_(seed), offset_(random_.next()) {
    for (U32 i = 0; i < v4PeerCount; ++i) {
        peers_.push_back({IpGenAddr::v4(0xc6336400 + 10 + i), firstPeerAs + i});
    }
    for (U32 i = 0; i < v6PeerCount; ++i) {
        std::array<U8, 16> octets{0x20, 0x01, 0x0d, 0xb8};
        octets[15] = static_cast<U8>(10 + i);
        peers_.push_back({IpGenAddr::v6(octets), firstPeerAs + i});
    }
    constexpr U32 transitCount = 80;
    for (U32 i = 0; i < transitCount; ++i) {
        transits_.push_back(random_.asn());
    }
    if (sharing_ == Sharing::real) {
        bundleSeed_ = random_.next();
        for (U32 i = 0; i < v4PeerCount; ++i) {
            peers_[i].as = 1000 + random_.below(22000);
        }
        for (U32 i = 0; i < v6PeerCount; ++i) {
            peers_[v4PeerCount + i].as = peers_[i].as;
        }
    }
}

/// The next unused prefix of a length picked by weight. When a length has run out, IPv6 /48 stand
/// in: there are more of them than any table has routes.
IpGenPrefix TableGenerator::nextPrefix(AddressFamily family) {
    if (family == AddressFamily::ipv4) {
        U8 const length = pickLength(v4Lengths, random_.below(totalWeight(v4Lengths)));
        while (usedV4_[length] < (U64{1} << length)) {
            U64 const index = offset_ + usedV4_[length]++;
            auto const address = static_cast<U32>((index * spread) << (32U - length));
            // One that is not usable counts as handed out, and the next one is tried.
            if (isUsable(address)) {
                return {IpGenAddr::v4(address), length};
            }
        }
    }
    U8 const picked = pickLength(v6Lengths, random_.below(totalWeight(v6Lengths)));
    bool const runOut = usedV6_[picked] >= (U64{std::size(v6Blocks)} << (picked - 12U));
    U8 const length = family == AddressFamily::ipv4 || runOut ? 48 : picked;
    return v6Prefix(usedV6_[length]++, offset_, length);
}

// Nearly a fifth of the prefixes are IPv6. Peers start anywhere, so that none has them all.
void TableGenerator::startPrefix() {
    bool const v6 = random_.below(100) < 18;
    prefix_ = nextPrefix(v6 ? AddressFamily::ipv6 : AddressFamily::ipv4);
    chooseOrigin();
}

void TableGenerator::chooseOrigin() {
    originAs_ = random_.asn();
    U32 const dice = random_.below(10);
    peersLeft_ = dice < 6 ? 1 : dice < 9 ? 2 : 3;
    peerAt_ = random_.below(v4PeerCount);
}

TableGenerator::Random TableGenerator::bundleNumbers(U32 part) const {
    return Random(bundleSeed_ ^ (U64{bundle_} << 8 | part));
}

// Bundles follow each other in runs. The more bundles there are, the seldomer is a run a new one's:
// there are fewer origins than prefixes, and a longer table meets most of them again.
void TableGenerator::startSharedPrefix() {
    constexpr U32 percentOfRun = 47; ///< of prefixes, which go on with the bundle before
    constexpr U32 newAtFirst = 30000;
    if (bundles_ == 0 || random_.below(100) >= percentOfRun) {
        bool const isNew = random_.below(newAtFirst + bundles_) < newAtFirst;
        bundle_ = isNew || bundles_ == 0 ? bundles_++ : random_.below(bundles_);
    }
    Random const stream = std::exchange(random_, bundleNumbers(bundleFacts));
    bool const v6 = random_.below(100) < 18;
    chooseOrigin();
    random_ = stream;
    prefix_ = nextPrefix(v6 ? AddressFamily::ipv6 : AddressFamily::ipv4);
}

bool TableGenerator::next(Route & route) {
    if (left_ == 0) {
        return false;
    }
    --left_;
    // Routes of one prefix follow each other, so that a writer can put them into one record.
    if (peersLeft_ == 0) {
        sharing_ == Sharing::real ? startSharedPrefix() : startPrefix();
    }
    --peersLeft_;
    ++peerAt_;
    bool const v6 = prefix_.af() == AddressFamily::ipv6;
    U32 const peerIndex = v6 ? v4PeerCount + peerAt_ % v6PeerCount : peerAt_ % v4PeerCount;

    route.clear();
    route.ipPrefix = prefix_;
    if (sharing_ == Sharing::real) {
        Random const stream = std::exchange(random_, bundleNumbers(peerIndex));
        fillAttributes(route, peers_[peerIndex]);
        random_ = stream;
    } else {
        fillAttributes(route, peers_[peerIndex]);
    }
    return true;
}

void TableGenerator::fillAttributes(Route & route, MrtPeer const & peer) {
    route.sourceSessionRemoteAs = peer.as;
    route.sourceSessionRemoteIpAddress = peer.address;
    route.nextHop = peer.address;
    U32 const originDice = random_.below(100);
    route.origin = originDice < 85 ? 0 : originDice < 99 ? 2 : 1;
    route.med = random_.oneIn(3) ? random_.below(300) : 0;
    route.localPref = random_.oneIn(5) ? 50 + 50 * random_.below(6) : 100;
    fillPath(route, peer.as);
    fillCommunities(route);
}

/// The peer, transit, and the origin last, which in one path of eight prepends itself.
void TableGenerator::fillPath(Route & route, U32 peerAs) {
    static constexpr U8 hopsByDice[] = {2, 3, 3, 3, 4, 4, 4, 4, 4, 5, 5, 5, 5, 6, 6, 7};
    std::array<U32, 7> asns;
    U32 const hops = hopsByDice[random_.below(std::size(hopsByDice))];
    asns[0] = peerAs;
    for (U32 i = 1; i + 1 < hops; ++i) {
        bool const large = random_.below(3) < 2;
        asns[i] =
            large ? transits_[random_.below(static_cast<U32>(transits_.size()))] : random_.asn();
    }
    asns[hops - 1] = originAs_;
    if (hops > 2 && random_.oneIn(8)) {
        // From there on the path is the origin alone.
        U32 const at = 1 + random_.below(hops - 2);
        std::fill_n(asns.begin() + at, hops - at, asns[hops - 1]);
    }
    path_.clear();
    path_.append(Routing::Bgp::SegmentType::sequence, asns.data(), hops);
    if (random_.oneIn(500)) {
        std::array<U32, 2> const aggregated{random_.asn(), random_.asn()};
        path_.append(Routing::Bgp::SegmentType::set, aggregated.data(), aggregated.size());
    }
    route.asPath.asnsIs(path_);
}

void TableGenerator::fillCommunities(Route & route) {
    U32 const dice = random_.below(10);
    U32 const count = dice < 3 ? 0 : dice < 8 ? 1 + random_.below(6) : 1 + random_.below(18);
    for (U32 i = 0; i < count; ++i) {
        // A standard community has 16 bits for who set it: most are set by a transit, some by the
        // peer.
        U32 const tagger = i % 3 == 0 ? static_cast<U32>(route.sourceSessionRemoteAs)
                                      : transits_[random_.below(20)] & 0xffff;
        route.community.push_back((U64{tagger} << 16) | (100 * random_.below(60)));
    }
    if (random_.oneIn(200)) {
        route.community.push_back(0xffffff01); // no-export
    }
    if (prefix_.af() == AddressFamily::ipv4 && random_.oneIn(500)) {
        route.community.push_back(0xffff029a); // blackhole
    }
    makeSet(route.community);
    if (random_.oneIn(8)) {
        U32 const large = 1 + random_.below(4);
        for (U32 i = 0; i < large; ++i) {
            U64 const value = (route.sourceSessionRemoteAs << 32) | (1 + random_.below(4));
            route.largeCommunity.push_back({value, random_.below(1000)});
        }
        makeSet(route.largeCommunity);
    }
    if (random_.oneIn(15)) {
        constexpr U64 routeTarget = U64{0x0002} << 48;
        route.extCommunity.push_back(
            {routeTarget | (route.sourceSessionRemoteAs << 32) | random_.below(500), 0});
    }
}

} // namespace Qcf::Agent
