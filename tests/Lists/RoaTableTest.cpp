#include "Agent/Evaluation/AgentContext.h"
#include "Lists/ListsDocument.h"
#include "Lists/RoaExport.h"

#include <cstdlib>
#include <filesystem>
#include <random>

#include <gtest/gtest.h>

namespace Qcf::Lists {
namespace {

IpGenPrefix prefix(std::string_view text) { return IpGenPrefix::parse(text).value(); }

Roa roa(std::string_view text, U8 maxLength, U32 asn) { return {prefix(text), maxLength, asn}; }

TEST(RoaTable, CasesOfRfc6811) {
    RoaTable const table({roa("10.0.0.0/8", 16, 65001), roa("10.0.0.0/8", 8, 65002),
                          roa("10.1.0.0/16", 24, 65003), roa("192.0.2.0/24", 32, 0),
                          roa("2001:db8::/32", 48, 65001), roa("198.51.100.0/24", 24, 65001),
                          roa("198.51.100.0/24", 26, 65001)});
    EXPECT_EQ(table.size(), 7U);
    struct Case {
        char const * prefix;
        U32 origin;
        OriginValidity validity;
    };
    using enum OriginValidity;
    constexpr Case cases[] = {
        {"11.0.0.0/8", 65001, notFound},  // no payload covers the prefix
        {"0.0.0.0/0", 65001, notFound},   // a payload within the prefix does not cover it
        {"10.0.0.0/8", 65001, valid},     // the prefix itself
        {"10.128.0.0/9", 65001, valid},   // longer, but not beyond the maximum
        {"10.2.0.0/17", 65001, invalid},  // beyond the maximum
        {"10.0.0.0/8", 65002, valid},     // several payloads of one prefix
        {"10.128.0.0/9", 65002, invalid}, // the other's maximum does not help
        {"10.0.0.0/8", 65009, invalid},   // covered, but of another origin
        {"10.1.2.0/24", 65003, valid},    // the longer payload
        {"10.1.0.0/16", 65001, valid},    // the shorter one, around one of another origin
        {"10.1.2.0/24", 65001, invalid},
        {"192.0.2.0/24", 65001, invalid}, // AS 0: nobody may originate it
        {"192.0.2.0/24", 0, invalid},     // not even an unknown origin
        {"10.0.0.0/8", 0, invalid},       // an unknown origin is covered all the same
        {"11.0.0.0/8", 0, notFound},
        {"198.51.100.0/25", 65001, valid}, // the larger of two maxima
        {"198.51.100.0/27", 65001, invalid},
        {"2001:db8:1::/48", 65001, valid},
        {"2001:db8:1::/49", 65001, invalid},
        {"2001:db9::/32", 65001, notFound},
    };
    for (Case const & c : cases) {
        EXPECT_EQ(table.validate(prefix(c.prefix), c.origin), c.validity)
            << c.prefix << " from AS " << c.origin;
    }
    EXPECT_EQ(table.validate(IpGenPrefix(), 65001), notFound);
    EXPECT_EQ(RoaTable().validate(prefix("10.0.0.0/8"), 65001), notFound);
}

TEST(RoaTable, PayloadsForEverything) {
    RoaTable const table({roa("0.0.0.0/0", 8, 65001), roa("::/0", 0, 65002),
                          roa("10.0.0.0/8", 8, 65003), roa("0.0.0.0/0", 8, 65001)});
    EXPECT_EQ(table.size(), 3U);
    EXPECT_EQ(table.validate(prefix("0.0.0.0/0"), 65001), OriginValidity::valid);
    EXPECT_EQ(table.validate(prefix("10.0.0.0/8"), 65001), OriginValidity::valid);
    EXPECT_EQ(table.validate(prefix("10.0.0.0/8"), 65003), OriginValidity::valid);
    EXPECT_EQ(table.validate(prefix("11.0.0.0/9"), 65001), OriginValidity::invalid);
    EXPECT_EQ(table.validate(prefix("::/0"), 65002), OriginValidity::valid);
    EXPECT_EQ(table.validate(prefix("::/1"), 65002), OriginValidity::invalid);
}

IpGenPrefix randomPrefix(std::mt19937 & random, U32 shortest) {
    bool const isV4 = random() % 2 == 0;
    U32 const width = isV4 ? 32 : 128;
    U8 const length = static_cast<U8>(shortest + random() % (width + 1 - shortest));
    if (isV4) {
        return {IpGenAddr::v4(0x0a000000U | (random() & 0x0700ff03U)), length};
    }
    std::array<U8, 16> octets{0x20, 0x01, 0x0d, 0xb8};
    octets[5] = random() & 3;
    octets[15] = random() & 3;
    return {IpGenAddr::v6(octets), length};
}

/// RFC 6811 as it is written: all payloads are looked at.
OriginValidity validityByTheBook(std::vector<Roa> const & roas, IpGenPrefix const & route,
                                 U32 originAs) {
    auto validity = OriginValidity::notFound;
    for (Roa const & roa : roas) {
        bool const covers = roa.prefix.af() == route.af() && roa.prefix.len() <= route.len() &&
                            IpGenPrefix(route.addr(), roa.prefix.len()) == roa.prefix;
        if (covers && roa.asn == originAs && originAs != 0 && route.len() <= roa.maxLength) {
            return OriginValidity::valid;
        }
        validity = covers ? OriginValidity::invalid : validity;
    }
    return validity;
}

TEST(RoaTable, AnswersWhatALookAtEveryPayloadDoes) {
    std::mt19937 random(7);
    U32 counts[3] = {};
    for (U32 round = 0; round < 200; ++round) {
        std::vector<Roa> roas(random() % 60);
        for (Roa & r : roas) {
            r.prefix = randomPrefix(random, random() % 50 == 0 ? 0 : 8);
            U32 const width = addressWidth(r.prefix.af());
            r.maxLength = static_cast<U8>(r.prefix.len() + random() % (width + 1 - r.prefix.len()));
            r.asn = static_cast<U32>(random() % 5);
        }
        RoaTable const table(roas);
        for (U32 i = 0; i < 500; ++i) {
            auto const candidate = randomPrefix(random, 0);
            U32 const origin = static_cast<U32>(random() % 6);
            auto const validity = table.validate(candidate, origin);
            ASSERT_EQ(validity, validityByTheBook(roas, candidate, origin))
                << "round " << round << ": " << candidate << " from AS " << origin;
            ++counts[static_cast<U8>(validity)];
        }
    }
    for (U32 const count : counts) {
        EXPECT_GT(count, 1000U);
    }
}

TEST(RoaTable, TakesTheRouteAsItCame) {
    auto const lists = readLists(
        R"({"qcf": "lists/1", "roaTables": {"R": [
            {"prefix": "10.0.0.0/8", "maxLength": 24, "asn": "AS65001"}]}})",
        "lists.json");
    FunctionMetadata metadata;
    metadata.roaTablesUsed = {{"R", 3}, {"Undefined", 2}};
    Agent::AgentContext context(bindLists(metadata, lists.get()));
    struct Case {
        char const * path;
        U32 localAs;
        U32 state;
    };
    constexpr Case cases[] = {
        {"65002 65001", 65000, 0},
        {"65001 65002", 65000, 2},
        {"", 65001, 0},
        {"", 65000, 2},
        {"65002 {65001}", 65000, 2},
        {"(65001)", 65001, 0},
        {"65001 (65002)", 65001, 0},
        {"65001 (65002 65003)", 65009, 2},
    };
    for (Case const & c : cases) {
        Agent::Route route;
        route.ipPrefix = prefix("10.1.0.0/16");
        route.asPath.asnsIs(Routing::Bgp::parseAsPath(c.path).value());
        route.session.localAs = c.localAs;
        context.routeIs(route);
        for (U32 state = 0; state < 4; ++state) {
            EXPECT_EQ(context.matchRoaTable(3, state), state == c.state)
                << '"' << c.path << "\" local " << c.localAs << " state " << state;
        }
        // A name without a table, a slot without a name, and what is no slot: empty tables.
        for (U32 const slot : {2U, 1U, 0U, 9U, 65535U, 65539U, 0xffffffffU}) {
            EXPECT_TRUE(context.matchRoaTable(slot, 1)) << slot;
        }
    }
}

TEST(RoaTable, ExportsOfRelyingParties) {
    char const * const dataDir = std::getenv("QCF_DATA_DIR");
    auto const folder =
        dataDir != nullptr ? std::filesystem::path(dataDir) / "vrp" : std::filesystem::path();
    if (!std::filesystem::exists(folder)) {
        GTEST_SKIP() << "no exports in " << folder << ", see QCF_DATA_DIR";
    }
    struct Case {
        char const * file;
        std::size_t payloads;
        char const * prefix; ///< a route that is valid from
        U32 origin;
    };
    constexpr Case cases[] = {
        {"bgpipe_test_roas.json", 4, "192.0.2.0/25", 65002},
        {"rpkilog_roa_test.routinator_jsonext.json", 2, "2c0f:fff0::/128", 37125},
        {"rpkilog_roa_test.rpkiclient2021_json.json", 70, "1.0.0.0/24", 13335},
        {"rpkilog_roa_test.rpkiclient2023_json.json", 379, "1.0.0.0/24", 13335},
        {"rtrtr_empty.json", 0, nullptr, 0},
        {"rtrtr_vrps.json", 2, "192.0.2.0/24", 64512},
        {"rtrtr_vrps-metadata.json", 2, "2001:db8::/32", 4200000000},
        {"rtrtr_vrps.rpki-client.json", 2, "192.0.2.0/24", 64512},
        {"stayrtr_smalltest.rpki.json", 2, "2001:200:136::/48", 9367},
        {"stayrtr_test.rpki.json", 19, "1.0.0.0/24", 13335},
    };
    for (Case const & c : cases) {
        String const document =
            R"({"qcf": "lists/1", "roaTables": {"R": {"file": ")" + String(c.file) + R"("}}})";
        auto const table = readLists(document, folder / "lists.json")->roaTables.at("R");
        EXPECT_EQ(table->size(), c.payloads) << c.file;
        if (c.prefix != nullptr) {
            EXPECT_EQ(table->validate(prefix(c.prefix), c.origin), OriginValidity::valid) << c.file;
        }
    }
    for (char const * const file : {"rtrtr_exceptions.json", "stayrtr_test.slurm.json"}) {
        try {
            readRoaExport(readFile(folder / file), file, {});
            FAIL() << file << " was read";
        } catch (DocumentError const & error) {
            EXPECT_EQ(String(error.what()),
                      String(file) + ":: wants export of validated ROAs, found SLURM file of "
                                     "local exceptions");
        }
    }
}

} // namespace
} // namespace Qcf::Lists
