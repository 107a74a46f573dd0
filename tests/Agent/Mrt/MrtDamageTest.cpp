#include "Agent/Tables/RouteFile.h"
#include "tests/Agent/Mrt/MrtTools.h"
#include "tests/support/Compressed.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Qcf::Agent::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/// A record of one route; the number makes its prefix.
String one(U32 number) {
    return rib(2, "10." + std::to_string(number) + ".0.0/16", {entry(0, plainAttributes({1}))});
}

/// The record with another length in its header.
String withLength(String record, U32 length) { return record.replace(8, 4, u32(length)); }

std::vector<U32> numbersOf(Outcome const & outcome) {
    std::vector<U32> numbers;
    for (String const & route : outcome.routes) {
        numbers.push_back(static_cast<U32>(std::stoul(route.substr(3))));
    }
    return numbers;
}

TEST(MrtDamage, ReadingGoesOnBehindABrokenFrame) {
    String const start = peerTable() + one(1);
    auto const size = static_cast<U32>(one(2).size());
    String const at = "t: offset " + std::to_string(start.size()) + ": ";
    String const behind = std::to_string(start.size() + size);
    struct Case {
        char const * what;
        String middle;
        std::vector<U32> routes;
        String report; ///< the only or last one
    };
    Case const cases[] = {
        {"noise between records",
         "some noise",
         {1, 3, 4},
         at + "no record starts here, reading on at offset " + std::to_string(start.size() + 10)},
        {"unknown type",
         record(999, 1, "skipped by its length"),
         {1, 3, 4},
         at + "record of unknown type 999/1 skipped"},
        {"length beyond the end",
         withLength(one(2), 60000),
         {1, 3, 4},
         at + "TABLE_DUMP_V2/RIB_IPV4_UNICAST record is cut: " + std::to_string(3 * size) +
             " of 60012 bytes are there, reading on at offset " + behind},
        {"length beyond any record",
         withLength(one(2), 0xfffffff0),
         {1, 3, 4},
         at + "no record starts here, reading on at offset " + behind},
        {"length too large",
         withLength(one(2), size),
         {1, 2, 4},
         "t: offset " + std::to_string(start.size() + size + 12) +
             ": no record starts here, reading on at offset " +
             std::to_string(start.size() + 2 * size)},
        {"length too small",
         withLength(one(2), 20),
         {1, 3, 4},
         at +
             "no record follows the damaged TABLE_DUMP_V2/RIB_IPV4_UNICAST record, reading on at "
             "offset " +
             behind},
        {"header cut, its length made of the next one's time",
         one(2).substr(0, 9),
         {1, 3, 4},
         at + "TABLE_DUMP_V2/RIB_IPV4_UNICAST record is cut: " + std::to_string(2 * size + 9) +
             " of 6640637 bytes are there, reading on at offset " +
             std::to_string(start.size() + 9)},
    };
    for (Case const & c : cases) {
        SCOPED_TRACE(c.what);
        Outcome const outcome = readAll(start + c.middle + one(3) + one(4));
        EXPECT_EQ(numbersOf(outcome), c.routes);
        ASSERT_FALSE(outcome.reports.empty());
        EXPECT_EQ(outcome.reports.back(), c.report);
        EXPECT_EQ(outcome.statistics.damagedRecords, 1);
        EXPECT_FALSE(outcome.statistics.cut);
    }
}

TEST(MrtDamage, ACutFileIsReadUpToTheCut) {
    String const whole = peerTable() + one(1) + one(2);
    std::size_t const last = whole.size() - one(2).size();
    for (std::size_t size = last + 1; size < whole.size(); ++size) {
        SCOPED_TRACE(size);
        Outcome const outcome = readAll(whole.substr(0, size));
        EXPECT_EQ(numbersOf(outcome), std::vector<U32>{1});
        EXPECT_TRUE(outcome.statistics.cut);
        EXPECT_EQ(outcome.statistics.damagedRecords, 1);
        EXPECT_EQ(outcome.statistics.bytes, size);
        String const what = size - last < 12 ? "record header is cut: "
                                             : "TABLE_DUMP_V2/RIB_IPV4_UNICAST record is cut: ";
        EXPECT_THAT(outcome.reports,
                    ElementsAre("t: offset " + std::to_string(last) + ": " + what +
                                std::to_string(size - last) + " of " +
                                std::to_string(size - last < 12 ? 12 : whole.size() - last) +
                                " bytes are there, no record follows"));
    }
}

TEST(MrtDamage, ReportsAreLimitedAndCounted) {
    String file = peerTable();
    for (int i = 0; i < 50; ++i) {
        file += record(13, 2, "short") + one(1);
    }
    Outcome const outcome = readAll(file);
    EXPECT_THAT(outcome.routes, SizeIs(50));
    EXPECT_EQ(outcome.statistics.damagedRecords, 50);
    ASSERT_THAT(outcome.reports, SizeIs(21));
    EXPECT_EQ(outcome.reports.back(), "t: 30 more reports of this kind not shown");
}

TEST(MrtDamage, CompressedPartsReadAsOne) {
    String const first = peerTable() + one(1);
    String const second = one(2);
    struct Case {
        char const * what;
        String bytes;
    };
    Case const cases[] = {
        {"gzip", Qcf::test::gzipped(first + second)},
        {"two gzip members", Qcf::test::gzipped(first) + Qcf::test::gzipped(second)},
        {"bzip2", Qcf::test::bzipped(first + second)},
        {"two bzip2 streams", Qcf::test::bzipped(first) + Qcf::test::bzipped(second)},
    };
    for (Case const & c : cases) {
        SCOPED_TRACE(c.what);
        Outcome const outcome = readAll(c.bytes);
        EXPECT_EQ(numbersOf(outcome), (std::vector<U32>{1, 2}));
        EXPECT_THAT(outcome.reports, IsEmpty());
        EXPECT_EQ(outcome.statistics.bytes, first.size() + second.size());
    }
}

TEST(MrtDamage, WhatFollowsTheEndOfCompressedDataIsTold) {
    String const file = peerTable() + one(1) + one(2);
    struct Case {
        char const * format;
        String bytes;
    };
    Case const cases[] = {
        {"gzip", Qcf::test::gzipped(file)},
        {"bzip2", Qcf::test::bzipped(file)},
        {"bzip2", Qcf::test::bzipped(file.substr(0, 70)) + Qcf::test::bzipped(file.substr(70))}};
    for (String const & tail :
         {String(600, '\0'), String("garbage"), String("\x1f"), String("\x1f\x8cgz"), String("B"),
          String("BZx9"), String("BZh0"), String(200'000, '\x1f')}) {
        for (Case const & c : cases) {
            SCOPED_TRACE(tail.substr(0, 10) + " behind " + c.format);
            Outcome const outcome = readAll(c.bytes + tail);
            EXPECT_EQ(numbersOf(outcome), (std::vector<U32>{1, 2}));
            EXPECT_FALSE(outcome.statistics.cut);
            EXPECT_EQ(outcome.statistics.damagedRecords, 0);
            EXPECT_THAT(outcome.reports,
                        ElementsAre(String("t: ") + c.format + " data end at byte " +
                                    std::to_string(c.bytes.size()) +
                                    ", what follows them is not read"));
            EXPECT_EQ(readByShares(c.bytes + tail, 3, 50), outcome);
        }
    }
    EXPECT_THAT(readAll(Qcf::test::gzipped(file) + Qcf::test::gzipped("").substr(0, 5)).reports,
                ElementsAre(testing::HasSubstr("gzip data are cut")));
}

TEST(MrtDamage, ACutCompressedStreamGivesWhatWasWhole) {
    String file = peerTable();
    constexpr U32 routes = 20000;
    for (U32 i = 0; i < routes; ++i) {
        file += rib(2, "10.1.0.0/16", {entry(0, plainAttributes({i * i, i ^ 0x5a5a5a5a}))});
    }
    String const gzip = Qcf::test::gzipped(file);
    String const bzip2 = Qcf::test::bzipped(file);
    String damaged = gzip;
    damaged[gzip.size() / 2] = static_cast<char>(~damaged[gzip.size() / 2]);
    struct Case {
        String bytes;
        char const * fault;
    };
    Case const cases[] = {{gzip.substr(0, gzip.size() / 2), "gzip data are cut"},
                          {bzip2.substr(0, bzip2.size() / 2), "bzip2 data are cut"},
                          {damaged, "gzip data are damaged"}};
    for (Case const & c : cases) {
        SCOPED_TRACE(c.fault);
        Outcome const outcome = readAll(c.bytes);
        EXPECT_GT(outcome.routes.size(), routes / 4);
        EXPECT_LE(outcome.routes.size(), routes);
        EXPECT_TRUE(outcome.statistics.cut);
        ASSERT_FALSE(outcome.reports.empty());
        EXPECT_EQ(outcome.reports.back(), "t: offset " + std::to_string(outcome.statistics.bytes) +
                                              " of the decompressed data: " + c.fault);
    }
}

TEST(MrtDamage, FalseRecordsInsideOneAnotherAreNotSearchedForEver) {
    // Every 24 bytes an empty record, and behind it one that holds the next 720 kB: a table of
    // 65,535 peers that lacks the last one, with no record behind it. Each starts inside the
    // others.
    constexpr U32 pairs = 20000;
    constexpr U32 length = 0x000affff;
    String file;
    for (U32 i = 0; i < pairs; ++i) {
        file += record(16, 0, "");
        file += u32(0) + u16(13) + u16(1) + u32(length);
    }
    file += String(length + 100, '\0');
    Outcome const outcome = readAll(file);
    EXPECT_THAT(outcome.routes, IsEmpty());
    EXPECT_GT(outcome.statistics.damagedRecords, 10);
    EXPECT_LT(outcome.statistics.damagedRecords, 1000);
}

TEST(OpenRoutes, TellsTheFormatByContent) {
    auto open = [](String const & bytes) {
        return openRoutes(Lists::makeMemoryStream(bytes), "t", [](String const &) {});
    };
    Route route;
    for (String const & bytes :
         {peerTable() + one(1), Qcf::test::gzipped(peerTable() + one(1)),
          Qcf::test::bzipped(peerTable() + one(1)), "x" + peerTable() + one(1)}) {
        EXPECT_TRUE(open(bytes)->next(route));
    }
    EXPECT_FALSE(open("")->next(route)) << "an empty file has no routes";
    EXPECT_FALSE(open(Qcf::test::gzipped(""))->next(route));

    for (String const & bytes :
         {String("\x01\x02\x03"), String(5000, '\x02'), Qcf::test::gzipped("\x01"),
          Qcf::test::gzipped("text").substr(0, 5)}) {
        EXPECT_THROW(open(bytes), Lists::FileError);
    }
    EXPECT_THROW(openRoutes("/nowhere/at/all", {}), Lists::FileError);
    EXPECT_THROW(openRoutes("/", {}), Lists::FileError);
}

} // namespace
} // namespace Qcf::Agent::test
