#include "Platform/Routing/IpAddr.h"
#include "Platform/Routing/IpPrefix.h"

#include <algorithm>
#include <random>
#include <type_traits>
#include <vector>

#include <arpa/inet.h>
#include <gtest/gtest.h>

namespace {

static_assert(std::is_trivially_copyable_v<IpGenPrefix> && sizeof(IpGenAddr) <= 20);

using namespace std::string_view_literals;

IpGenAddr addr(std::string_view text) { return IpGenAddr::parse(text).value(); }

IpGenPrefix prefix(std::string_view text) { return IpGenPrefix::parse(text).value(); }

struct TextCase {
    std::string_view text;
    std::string_view canonical;
};

TEST(RoutingIpAddr, readsAndWritesCanonically) {
    constexpr TextCase cases[] = {
        {"", ""},
        {"0.0.0.0", "0.0.0.0"},
        {"10.20.30.255", "10.20.30.255"},
        {"::", "::"},
        {"::1", "::1"},
        {"2001:DB8:0:0:0:0:0:1", "2001:db8::1"},
        {"2001:db8:0:1:1:1:1:1", "2001:db8:0:1:1:1:1:1"},
        {"2001:0:0:1:0:0:0:1", "2001:0:0:1::1"},
        {"2001:db8:0:0:1:0:0:1", "2001:db8::1:0:0:1"},
        {"1:2:3:4:5:6:0:0", "1:2:3:4:5:6::"},
        {"0:0:3:4:5:6:7:8", "::3:4:5:6:7:8"},
        {"::ffff:192.0.2.1", "::ffff:192.0.2.1"},
        {"::ffff:c000:0201", "::ffff:192.0.2.1"},
        {"64:ff9b::192.0.2.33", "64:ff9b::c000:221"},
        {"0010:0200:3000:000a::", "10:200:3000:a::"},
    };
    for (TextCase const & c : cases) {
        auto const parsed = IpGenAddr::parse(c.text);
        ASSERT_TRUE(parsed) << c.text;
        EXPECT_EQ(parsed->toString(), c.canonical);
        EXPECT_EQ(IpGenAddr::parse(parsed->toString()), parsed) << c.text;
    }
}

TEST(RoutingIpAddr, refusesWhatIsNoAddress) {
    constexpr std::string_view cases[] = {
        "10.0.0",
        "10.0.0.0.0",
        "10.0.0.256",
        "010.0.0.1",
        "10.0.0.1 ",
        " 10.0.0.1",
        "0x0a.0.0.1",
        "10.0.0.-1",
        "10.0.0.1/8",
        "1:2:3:4:5:6:7",
        "1::2::3",
        "12345::",
        "fe80::1%lo",
        "1:2:3:4:5:6:7:8:9",
        "::ffff:1.2.3",
        "10.0.0.1\0"sv,
        ":",
        "g::",
        "\0"sv,
        "0000:0000:0000:0000:0000:0000:0000:0000:0000:0000:0000:0000:0000:0000",
    };
    for (std::string_view const text : cases) {
        EXPECT_FALSE(IpGenAddr::parse(text)) << text;
    }
}

/// Random octets with many zero groups, so that runs of every place and length come up.
std::array<U8, 16> sparseOctets(std::mt19937 & random) {
    std::array<U8, 16> octets{};
    for (std::size_t group = 0; group < 8; ++group) {
        if (random() % 2 == 0) {
            octets[2 * group] = static_cast<U8>(random() % 3 == 0 ? random() : 0);
            octets[2 * group + 1] = static_cast<U8>(random());
        }
    }
    return octets;
}

TEST(RoutingIpAddr, textOfIpv6AgreesWithTheSystem) {
    std::mt19937 random(1);
    for (int i = 0; i < 20000; ++i) {
        auto const octets = sparseOctets(random);
        // The system writes these, long out of use, with a dotted quad at the end.
        if (std::all_of(octets.begin(), octets.begin() + 12, [](U8 o) { return o == 0; })) {
            continue;
        }
        char text[INET6_ADDRSTRLEN];
        ASSERT_NE(inet_ntop(AF_INET6, octets.data(), text, sizeof text), nullptr);
        EXPECT_EQ(IpGenAddr::v6(octets).toString(), text);
        EXPECT_EQ(IpGenAddr::parse(text), IpGenAddr::v6(octets));
    }
}

TEST(RoutingIpAddr, ordersByFamilyThenNumber) {
    IpGenAddr const rising[] = {
        IpGenAddr(), addr("0.0.0.0"), addr("1.2.3.4"),     addr("1.2.4.3"), addr("200.0.0.0"),
        addr("::"),  addr("::1"),     addr("::1:0:0:0:0"), addr("1::"),     addr("8000::")};
    for (IpGenAddr const & a : rising) {
        for (IpGenAddr const & b : rising) {
            EXPECT_EQ(a <=> b, &a <=> &b) << a << " " << b;
            EXPECT_EQ(a == b, &a == &b);
            EXPECT_EQ(a.hash(7) == b.hash(7), &a == &b) << a << " " << b;
        }
    }
    EXPECT_EQ(addr("1.2.3.4"), IpGenAddr::v4(0x01020304));
    EXPECT_EQ(addr("1.2.3.4").v4Value(), 0x01020304U);
}

TEST(RoutingIpAddr, zeroIsUnspecifiedOrUnset) {
    for (char const * const zero : {"", "0.0.0.0", "::"}) {
        EXPECT_TRUE(addr(zero).isAddrZero()) << zero;
    }
    for (char const * const other : {"0.0.0.1", "128.0.0.0", "::1", "8000::", "0:0:0:1::"}) {
        EXPECT_FALSE(addr(other).isAddrZero()) << other;
    }
}

TEST(RoutingIpPrefix, readsAndWritesCanonically) {
    constexpr TextCase cases[] = {
        {"", ""},
        {"0.0.0.0/0", "0.0.0.0/0"},
        {"10.0.0.0/8", "10.0.0.0/8"},
        {"10.1.2.3/32", "10.1.2.3/32"},
        {"::/0", "::/0"},
        {"2001:DB8:0::/33", "2001:db8::/33"},
        {"2001:db8::1/128", "2001:db8::1/128"},
    };
    for (TextCase const & c : cases) {
        auto const parsed = IpGenPrefix::parse(c.text);
        ASSERT_TRUE(parsed) << c.text;
        EXPECT_EQ(parsed->toString(), c.canonical);
    }
    constexpr std::string_view faults[] = {
        "/",
        "/8",
        "10.0.0.0",
        "10.0.0.0/",
        "10.0.0.0/33",
        "10.0.0.0/08",
        "10.0.0.0/+8",
        "10.0.0.0/8 ",
        "10.0.0.0/8/8",
        "::/129",
        "10.0.0.1/8",
        "::1/127",
        "10.0.0.0/256",
        "10.0.0.0/99999999999999999999",
    };
    for (std::string_view const text : faults) {
        EXPECT_FALSE(IpGenPrefix::parse(text)) << text;
    }
    EXPECT_EQ(IpGenPrefix::parse("10.1.2.3/8", HostBits::mask), prefix("10.0.0.0/8"));
    EXPECT_EQ(IpGenPrefix::parse("2001:db8::ffff/113", HostBits::mask),
              prefix("2001:db8::8000/113"));
    EXPECT_EQ(IpGenPrefix::parse("10.0.0.1/40", HostBits::mask), std::nullopt);
}

bool bitAt(IpGenAddr const & address, U32 index) {
    return (address.bytes()[index / 8] >> (7 - index % 8) & 1) != 0;
}

bool containsBitByBit(IpGenPrefix const & outer, IpGenAddr const & inner) {
    if (outer.af() != inner.af() || outer.af() == AddressFamily::none) {
        return false;
    }
    for (U32 i = 0; i < outer.len(); ++i) {
        if (bitAt(outer.addr(), i) != bitAt(inner, i)) {
            return false;
        }
    }
    return true;
}

/// An address that is `base` with at most one bit turned over.
IpGenAddr withOneBitTurned(IpGenAddr const & base, std::mt19937 & random) {
    std::array<U8, 16> octets;
    std::copy_n(base.bytes(), 16, octets.begin());
    U32 const bit = static_cast<U32>(random() % (addressWidth(base.af()) + 1U));
    if (bit < addressWidth(base.af())) {
        octets[bit / 8] = static_cast<U8>(octets[bit / 8] ^ (0x80U >> bit % 8));
    }
    if (base.af() == AddressFamily::ipv6) {
        return IpGenAddr::v6(octets);
    }
    return IpGenAddr::v4(U32{octets[0]} << 24 | U32{octets[1]} << 16 | U32{octets[2]} << 8 |
                         octets[3]);
}

TEST(RoutingIpPrefix, masksAndContainsAsBitByBit) {
    std::mt19937 random(2);
    int contained = 0;
    for (int i = 0; i < 40000; ++i) {
        IpGenAddr const base = random() % 2 == 0 ? IpGenAddr::v4(static_cast<U32>(random()))
                                                 : IpGenAddr::v6(sparseOctets(random));
        U32 const width = addressWidth(base.af());
        IpGenPrefix const outer(base, static_cast<U8>(random() % (width + 1)));
        for (U32 bit = 0; bit < width; ++bit) {
            ASSERT_EQ(bitAt(outer.addr(), bit), bit < outer.len() && bitAt(base, bit)) << outer;
        }
        IpGenAddr const candidate = withOneBitTurned(base, random);
        bool const expected = containsBitByBit(outer, candidate);
        contained += expected ? 1 : 0;
        ASSERT_EQ(outer.contains(candidate), expected) << outer << " " << candidate;
        IpGenPrefix const inner(candidate, static_cast<U8>(random() % (width + 1)));
        ASSERT_EQ(outer.contains(inner),
                  inner.len() >= outer.len() && containsBitByBit(outer, inner.addr()))
            << outer << " " << inner;
    }
    EXPECT_GT(contained, 4000);
    EXPECT_LT(contained, 36000);
}

TEST(RoutingIpPrefix, familiesNeverMix) {
    for (char const * const text : {"0.0.0.0/0", "::/0", ""}) {
        for (char const * const inner : {"0.0.0.0", "10.0.0.1", "::", "::1", ""}) {
            bool const sameFamily =
                prefix(text).af() == addr(inner).af() && addr(inner).af() != AddressFamily::none;
            EXPECT_EQ(prefix(text).contains(addr(inner)), sameFamily) << text << " " << inner;
            EXPECT_EQ(prefix(text).contains(IpGenPrefix::host(addr(inner))), sameFamily);
        }
    }
    EXPECT_EQ(IpGenPrefix::host(addr("10.0.0.1")), prefix("10.0.0.1/32"));
    EXPECT_EQ(IpGenPrefix::host(addr("::1")).len(), 128);
    EXPECT_EQ(IpGenPrefix::host(IpGenAddr()), IpGenPrefix());
}

TEST(RoutingIpPrefix, shorterStandsBeforeWhatItContains) {
    std::vector<IpGenPrefix> prefixes;
    for (char const * const text : {"::/0", "10.0.0.0/16", "10.0.0.0/8", "", "11.0.0.0/8",
                                    "0.0.0.0/0", "10.0.1.0/24", "2001:db8::/32"}) {
        prefixes.push_back(prefix(text));
    }
    std::sort(prefixes.begin(), prefixes.end());
    String order;
    for (IpGenPrefix const & p : prefixes) {
        order += p.toString() + " ";
    }
    EXPECT_EQ(order,
              " 0.0.0.0/0 10.0.0.0/8 10.0.0.0/16 10.0.1.0/24 11.0.0.0/8 ::/0 2001:db8::/32 ");
    EXPECT_NE(prefix("10.0.0.0/8").hash(0), prefix("10.0.0.0/16").hash(0));
}

TEST(RoutingIpPrefixDeathTest, lengthBeyondTheFamily) {
    EXPECT_DEATH(IpGenPrefix(addr("10.0.0.0"), 33), "length <= addressWidth");
    EXPECT_DEATH(IpGenPrefix(addr("::"), 129), "length <= addressWidth");
    EXPECT_DEATH(IpGenPrefix(IpGenAddr(), 1), "length <= addressWidth");
}

} // namespace
