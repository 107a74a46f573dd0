#include "Agent/Tables/TableGenerator.h"

#include "Agent/Routes/JsonLinesWriter.h"

#include <map>
#include <set>

#include <gtest/gtest.h>

namespace Qcf::Agent::test {
namespace {

using Sharing = TableGenerator::Sharing;

String linesOf(U64 routes, U64 seed, Sharing sharing) {
    String lines;
    JsonLinesWriter writer(lines);
    TableGenerator table(routes, seed, sharing);
    for (Route route; table.next(route);) {
        writer.add(route);
    }
    return lines;
}

/// FNV-1a.
U64 hashOf(String const & text) {
    U64 hash = 0xcbf29ce484222325U;
    for (char const character : text) {
        hash = (hash ^ static_cast<U8>(character)) * 0x100000001b3U;
    }
    return hash;
}

/// The attributes of a route; neither its prefix nor its session.
String attributesOf(Route route) {
    route.ipPrefix = {};
    route.sourceSessionRemoteAs = 0;
    route.sourceSessionRemoteIpAddress = {};
    String text;
    JsonLinesWriter(text).add(route);
    return text;
}

/// How many of 100 routes.
struct Shares {
    double equalToLast = 0; ///< have the attributes of the one before of their session
    double distinct = 0;    ///< have attributes that no one had before
};

Shares sharesOf(U64 routes, Sharing sharing) {
    std::map<IpGenAddr, String> lasts; // by session
    std::set<U64> met;
    Shares shares;
    TableGenerator table(routes, 1, sharing);
    for (Route route; table.next(route);) {
        String attributes = attributesOf(route);
        String & last = lasts[route.sourceSessionRemoteIpAddress];
        shares.equalToLast += last == attributes ? 1 : 0;
        shares.distinct += met.insert(hashOf(attributes)).second ? 1 : 0;
        last = std::move(attributes);
    }
    auto const percent = 100 / static_cast<double>(routes);
    return {shares.equalToLast * percent, shares.distinct * percent};
}

/// Figures that are published name a table by its number of routes and its seed: it stays that one.
TEST(TableGenerator, TheTableOfASeedStaysAsItIs) {
    EXPECT_EQ(hashOf(linesOf(2000, 1, Sharing::none)), 0x99aad5b98890835fU);
    EXPECT_EQ(hashOf(linesOf(2000, 7, Sharing::none)), 0xf972b210f34f9a2fU);
}

TEST(TableGenerator, ALongerSharedTableStartsWithTheShorterOneOfItsSeed) {
    String const lines = linesOf(3000, 5, Sharing::real);
    EXPECT_TRUE(lines.starts_with(linesOf(1000, 5, Sharing::real)));
    EXPECT_NE(linesOf(3000, 6, Sharing::real), lines);
}

TEST(TableGenerator, RoutesShareAttributesAsInRealTables) {
    Shares const none = sharesOf(20000, Sharing::none);
    EXPECT_LT(none.equalToLast, 0.1);
    EXPECT_GT(none.distinct, 99);
    Shares const real = sharesOf(200000, Sharing::real);
    EXPECT_NEAR(real.equalToLast, 47, 1);
    EXPECT_NEAR(real.distinct, 31, 1);
}

TEST(TableGenerator, NoSessionOfASharedTableAnnouncesAPrefixTwice) {
    std::set<std::pair<IpGenAddr, IpGenPrefix>> announced;
    TableGenerator table(20000, 3, Sharing::real);
    for (Route route; table.next(route);) {
        EXPECT_TRUE(announced.emplace(route.sourceSessionRemoteIpAddress, route.ipPrefix).second)
            << route.ipPrefix;
    }
}

/// Filters refuse paths with reserved AS numbers; communities have 16 bits for theirs.
TEST(TableGenerator, SessionsOfSharedTablesHaveAsNumbersThatFiltersLetPass) {
    for (U64 seed = 0; seed < 100; ++seed) {
        TableGenerator const table(1, seed, Sharing::real);
        for (MrtPeer const & peer : table.peers()) {
            EXPECT_TRUE(peer.as >= 1000 && peer.as < 23000) << peer.as;
        }
    }
}

} // namespace
} // namespace Qcf::Agent::test
