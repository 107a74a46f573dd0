#include "Agent/Mrt/MrtWriter.h"

#include "Agent/Tables/TableGenerator.h"
#include "Lists/ByteSource.h"
#include "tests/Agent/Mrt/MrtTools.h"

#include <algorithm>
#include <map>
#include <set>
#include <span>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Qcf::Agent::test {
namespace {

struct Table {
    std::vector<String> routes;
    String mrt;
};

Table generated(U64 count, U64 seed) {
    Table table;
    TableGenerator generator(count, seed);
    std::ostringstream out;
    MrtWriter writer(out, generator.peers(), TableGenerator::time);
    Route route;
    while (generator.next(route)) {
        table.routes.push_back(routeText(route));
        writer.add(route);
    }
    writer.finish();
    table.mrt = out.str();
    return table;
}

TEST(MrtWriter, WhatIsWrittenReadsBack) {
    Table const table = generated(20000, 7);
    Outcome const outcome = readAll(table.mrt);
    EXPECT_EQ(outcome.routes, table.routes);
    EXPECT_TRUE(outcome.reports.empty());
    EXPECT_LT(outcome.statistics.records, table.routes.size())
        << "routes with one prefix share a record";
}

TEST(MrtWriter, ExtremeValuesReadBackAndImpossibleOnesAreRefused) {
    MrtPeer const peer{IpGenAddr::parse("10.0.0.1").value(), 1};
    Route route;
    route.ipPrefix = IpGenPrefix::parse("0.0.0.0/0").value();
    route.sourceSessionRemoteIpAddress = peer.address;
    route.sourceSessionRemoteAs = peer.as;
    route.med = 4294967295;
    route.localPref = 0;
    route.aigpMetric = 18446744073709551614U;
    Routing::Bgp::AsnVector path;
    std::vector<U32> const asns(600, 4294967295);
    path.append(Routing::Bgp::SegmentType::sequence, asns);
    path.append(Routing::Bgp::SegmentType::confedSet, asns.data(), 2);
    route.asPath.asnsIs(path);
    for (U32 i = 0; i < 100; ++i) {
        route.community.push_back(i);
        route.largeCommunity.push_back({i, i});
    }
    std::ostringstream out;
    MrtWriter writer(out, {peer}, 0);
    writer.add(route);
    writer.finish();
    EXPECT_THAT(readAll(out.str()).routes, testing::ElementsAre(routeText(route)));

    Route numbers = route;
    numbers.med = 4294967296;
    EXPECT_THROW(writer.add(numbers), Lists::FileError);
    Route communities = route;
    communities.community.resize(20000);
    EXPECT_THROW(writer.add(communities), Lists::FileError);
    EXPECT_THROW(writer.add(Route()), Lists::FileError);
}

TEST(TableGenerator, IsTheSameForTheSameSeed) {
    EXPECT_EQ(generated(3000, 1).mrt, generated(3000, 1).mrt);
    EXPECT_NE(generated(3000, 1).mrt, generated(3000, 2).mrt);
    std::vector<String> const longer = generated(4000, 1).routes;
    EXPECT_TRUE(std::ranges::equal(generated(3000, 1).routes, std::span(longer.data(), 3000)));
}

TEST(TableGenerator, IsShapedLikeTheTableOfTheInternet) {
    constexpr U32 count = 100000;
    TableGenerator generator(count, 3);
    std::set<std::pair<IpGenPrefix, IpGenAddr>> seen;
    std::map<U32, U32> v4Lengths;
    U32 routes = 0;
    U32 v4 = 0;
    U32 sets = 0;
    U32 withLarge = 0;
    Route route;
    while (generator.next(route)) {
        ++routes;
        EXPECT_TRUE(seen.emplace(route.ipPrefix, route.sourceSessionRemoteIpAddress).second)
            << route.ipPrefix << " twice from one peer";
        if (route.ipPrefix.af() == AddressFamily::ipv4) {
            ++v4;
            ++v4Lengths[route.ipPrefix.len()];
        }
        auto const & path = route.asPath.asns();
        std::size_t const hops = path.segments()[0].count;
        EXPECT_TRUE(hops >= 2 && hops <= 7) << path;
        sets += path.segments().size() > 1 ? 1 : 0;
        withLarge += route.largeCommunity.empty() ? 0 : 1;
        EXPECT_LE(route.community.size(), 20);
        EXPECT_TRUE(std::ranges::is_sorted(route.community));
    }
    EXPECT_EQ(routes, count);
    EXPECT_NEAR(v4, 0.82 * count, 0.02 * count);
    EXPECT_NEAR(v4Lengths[24], 0.6 * v4, 0.05 * v4);
    for (U32 const length : {19U, 20U, 21U, 22U, 23U}) {
        EXPECT_NEAR(v4Lengths[length], 0.07 * v4, 0.05 * v4) << length;
    }
    EXPECT_LT(v4Lengths[8], 100);
    EXPECT_GT(sets, 0);
    EXPECT_LT(sets, count / 100);
    EXPECT_GT(withLarge, count / 20);
}

} // namespace
} // namespace Qcf::Agent::test
