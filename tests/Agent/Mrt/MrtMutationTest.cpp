#include "tests/Agent/Mrt/MrtTools.h"
#include "tests/support/Compressed.h"
#include "tests/support/Mutator.h"

#include <algorithm>
#include <utility>

#include <gtest/gtest.h>

namespace Qcf::Agent::test {
namespace {

/// Small files that between them hold every kind of record and attribute that is read.
std::vector<String> seeds() {
    String const rich =
        attribute(1, u8(0)) + attribute(2, segment(2, {65001, 70000}, 4) + segment(1, {5, 6}, 4)) +
        attribute(3, address("192.0.2.1")) + attribute(4, u32(5)) +
        attribute(8, u32(0x00050001) + u32(0x00030002)) + attribute(16, be(0x0002fde800000005, 8)) +
        attribute(32, u32(2) + u32(3) + u32(4)) + attribute(26, u8(1) + u16(11) + be(10, 8));
    String const v6Hop = attribute(14, u8(16) + address("2001:db8::1"));
    String const reach = attribute(14, u16(2) + u8(1) + u8(16) + address("2001:db8::1") + u8(0) +
                                           prefix("2001:db8::/32") + prefix("2001:db8:9::/48"));
    String const narrow = attribute(2, segment(2, {65001, 23456}, 2)) +
                          attribute(17, segment(2, {70000}, 4)) + attribute(3, address("10.0.0.1"));
    String const table = peerTable() + rib(2, "10.1.0.0/16", {entry(0, rich), entry(1, rich)}) +
                         rib(4, "2001:db8::/48", {entry(2, rich + v6Hop)}) +
                         rib(8, "10.2.0.0/16", {u16(1) + u32(0) + u32(1) + u16(0)});
    String const messages =
        bgp4mp(4, true, update(prefix("10.9.0.0/16"), rich + reach, prefix("10.1.0.0/16"))) +
        bgp4mp(1, false, update("", narrow, prefix("10.1.0.0/16") + prefix("10.2.0.0/15"))) +
        bgp4mp(9, true, update("", rich, u32(1) + prefix("10.1.0.0/16"))) +
        bgp4mp(4, true, message(4, "")) + record(5, 1, u16(1) + String(14, '\1'));
    String const old = record(12, 1,
                              u32(0) + address("10.1.0.0") + u8(16) + u8(1) + u32(0) +
                                  address("10.0.0.1") + u16(65001) + u16(narrow.size()) + narrow);
    return {table, messages, old + old, Qcf::test::gzipped(table + messages),
            Qcf::test::bzipped(messages)};
}

TEST(MrtMutation, MutatedFilesAreReadToTheirEnd) {
    constexpr U32 rounds = 3000;
    std::vector<String> const files = seeds();
    U64 routes = 0;
    U64 damaged = 0;
    for (U32 round = 0; round < rounds; ++round) {
        for (String const & file : files) {
            Outcome const outcome = readAll(Mutator(round).mutate(file));
            routes += outcome.routes.size();
            damaged += outcome.statistics.damagedRecords;
            // Whatever was lost was told, and nothing else was.
            bool const lost = outcome.statistics.damagedRecords > 0 || outcome.statistics.cut;
            auto const told = std::ranges::count_if(outcome.reports, [](String const & line) {
                return line.find("PEER_INDEX_TABLE before") == String::npos &&
                       line.find("what follows them is not read") == String::npos;
            });
            EXPECT_EQ(lost, told > 0);
        }
    }
    EXPECT_GT(routes, rounds) << "most of the mutated files still hold whole records";
    EXPECT_GT(damaged, rounds);
}

TEST(MrtMutation, SharesReadWhatOneReaderReads) {
    constexpr U32 rounds = 300;
    std::vector<String> const files = seeds();
    for (U32 round = 0; round < rounds; ++round) {
        String file = files[0];
        for (U32 i = 0; i < 4; ++i) {
            file += Mutator(round + i).mutate(files[i % 3], files);
        }
        Outcome const alone = readAll(file);
        for (auto const & [shares, stretch] :
             {std::pair{1U, 1U}, {2U, 1U}, {3U, 200U}, {5U, 700U}}) {
            EXPECT_EQ(readByShares(file, shares, stretch), alone)
                << "round " << round << ", " << shares << " shares of " << stretch << " bytes";
        }
    }
}

} // namespace
} // namespace Qcf::Agent::test
