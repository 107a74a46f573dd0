#include "tests/Live/LiveTools.h"

#include <gmock/gmock.h>

/// Recordings that are not BMP: the updates of collectors, as MRT and as lines of RIS Live.
namespace Qcf::Live::test {
namespace {

using namespace std::chrono_literals;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

struct Collected : TestStation {
    bool read(String const & bytes, ReplaySteps const & steps = {}) {
        return replay(routers, Lists::ByteSource(Lists::makeMemoryStream(bytes)), "file", steps);
    }
};

String updated(std::string_view prefixText, U32 med = 0) {
    return bgp4mp(4, true,
                  update("", plainAttributes({65001}) + medAttribute(med), prefix(prefixText)));
}
String withdrawn(std::string_view prefixText) {
    return bgp4mp(4, true, update(prefix(prefixText), "", ""));
}
/// The same session goes from a state to another one.
String state(U16 before, U16 after) { return bgp4mp(5, true, u16(before) + u16(after)); }

TEST(Replay, MrtUpdatesMakeTheTablesOfACollector) {
    Collected station;
    EXPECT_TRUE(station.read(updated("10.1.0.0/16") + updated("10.2.0.0/16") +
                             withdrawn("10.2.0.0/16") + withdrawn("10.9.0.0/16")));
    EXPECT_THAT(station.table("10.0.0.1", Rib::inPre, "AS65000"),
                ElementsAre("10.1.0.0/16 via 192.0.2.1 path[65001] origin 0 med 0 pref 100 from "
                            "10.0.0.1 AS 65001"));
    RibState const & table = *station.peer("10.0.0.1", "AS65000").table(Rib::inPre);
    EXPECT_EQ(table.withdrawn, 2);
    EXPECT_EQ(table.withdrawnUnheld, 1);
    EXPECT_EQ(table.shown.of(Verdict::accepted), 1);
    EXPECT_EQ(station.compare().notSent, 1);
    EXPECT_THAT(station.notebook.notes, IsEmpty());
    // The next file goes on where this one ended.
    EXPECT_TRUE(station.read(updated("10.1.0.0/16", 7) + updated("10.3.0.0/16")));
    EXPECT_THAT(station.table("10.0.0.1", Rib::inPre, "AS65000"),
                ElementsAre(HasSubstr(" med 7 "), StartsWith("10.3.0.0/16")));
    EXPECT_THAT(station.notebook.peers, ElementsAre("AS65000 10.0.0.1 up"));
}

TEST(Replay, AnEndOfASessionEmptiesItsTable) {
    Collected station;
    EXPECT_TRUE(station.read(state(3, 1) + updated("10.1.0.0/16") + state(6, 1)));
    EXPECT_EQ(station.routers.routes(), 0);
    EXPECT_THAT(station.notebook.peers,
                ElementsAre("AS65000 10.0.0.1 up", "AS65000 10.0.0.1 down 0"));
    EXPECT_TRUE(station.read(state(5, 6) + updated("10.2.0.0/16") + state(5, 6)));
    EXPECT_EQ(station.routers.routes(), 0) << "routes of a new session are sent anew";
}

TEST(Replay, IdentifiersAreReadWhereTheRecordSaysSo) {
    Collected station;
    String const p = prefix("10.1.0.0/16");
    EXPECT_TRUE(station.read(
        bgp4mp(9, true, update("", plainAttributes({65001}), u32(1) + p + u32(2) + p)) +
        bgp4mp(9, true, update(u32(1) + p, "", "")) + updated("10.2.0.0/16")));
    EXPECT_THAT(station.table("10.0.0.1", Rib::inPre, "AS65000"),
                ElementsAre(StartsWith("2 10.1.0.0/16"), StartsWith("10.2.0.0/16")));
}

TEST(Replay, DamageInMrtIsToldWithItsPlace) {
    Collected station;
    String const good = updated("10.1.0.0/16");
    String const bad = bgp4mp(4, true, update("", plainAttributes({65001}), u8(33) + "12345"));
    EXPECT_TRUE(station.read(good + bad + peerTable() + updated("10.2.0.0/16")));
    EXPECT_EQ(station.routers.routes(), 2);
    EXPECT_THAT(station.notebook.notes,
                Contains("AS65000 10.0.0.1 in-pre: damaged UPDATE message at offset " +
                         std::to_string(good.size()) + ": prefix is longer than an address"));
    EXPECT_EQ(station.router("AS65000").damaged(), 1);
    EXPECT_FALSE(station.read(good + good.substr(0, 30)));
    EXPECT_THAT(station.notebook.notes.back(),
                AllOf(HasSubstr("offset " + std::to_string(good.size())), HasSubstr("is cut")));
}

/// A line with those members of its data beside the peer's.
String ris(String const & members, String const & time = "1700000000.25") {
    return R"({"type":"ris_message","data":{"timestamp":)" + time +
           R"(,"peer":"192.0.2.9","peer_asn":"65009","id":"1","host":"rrc00",)" + members + "}}\n";
}
String hex(String const & bytes) {
    String text;
    for (char const one : bytes) {
        auto const byte = static_cast<U8>(one);
        text += "0123456789ABCDEF"[byte >> 4];
        text += "0123456789ABCDEF"[byte & 15];
    }
    return text;
}

TEST(Replay, LinesOfRisLiveAreReadAsTheyWereReceived) {
    Collected station;
    String const raw = update("", plainAttributes({65009, 65010}) + medAttribute(5),
                              prefix("10.1.0.0/16") + prefix("10.2.0.0/16"));
    // What stands beside it counts for nothing.
    EXPECT_TRUE(station.read(
        "\n" + ris(R"("type":"UPDATE","announcements":[],"raw":")" + hex(raw) + '"') +
        R"({"type":"pong","data":null})" + "\n" + ris(R"("type":"KEEPALIVE")") +
        ris(R"("type":"UPDATE","raw":")" + hex(update(prefix("10.2.0.0/16"), "", "")) + '"')));
    EXPECT_THAT(station.table("192.0.2.9", Rib::inPre, "rrc00"),
                ElementsAre("10.1.0.0/16 via 192.0.2.1 path[65009 65010] origin 0 med 5 pref 100 "
                            "from 192.0.2.9 AS 65009"));
    EXPECT_THAT(station.notebook.notes, IsEmpty());
    EXPECT_TRUE(station.read(ris(R"("type":"RIS_PEER_STATE","state":"down")")));
    EXPECT_EQ(station.routers.routes(), 0);
}

TEST(Replay, WithoutTheMessageItsMembersAreRead) {
    Collected station;
    EXPECT_TRUE(
        station.read(ris(R"("type":"UPDATE","path":[65009,65010,[7,8]],"origin":"EGP","med":3,)"
                         R"("community":[[65009,1],[65535,65281]],"announcements":[)"
                         R"({"next_hop":"192.0.2.7","prefixes":["10.1.0.0/16","10.2.0.0/16"]},)"
                         R"({"next_hop":"2001:db8::7,fe80::7","prefixes":["2001:db8:5::/48"]}])") +
                     ris(R"("type":"UPDATE","withdrawals":["10.2.0.0/16","2001:db8:6::/48"])")));
    EXPECT_THAT(
        station.table("192.0.2.9", Rib::inPre, "rrc00"),
        ElementsAre("10.1.0.0/16 via 192.0.2.7 path[65009 65010 {7,8}] origin 1 med 3 pref 100 "
                    "from 192.0.2.9 AS 65009 comm[65009:1 65535:65281]",
                    AllOf(StartsWith("2001:db8:5::/48 via 2001:db8::7 path[65009 65010 {7,8}]"),
                          HasSubstr("comm[65009:1 65535:65281]"))));
    EXPECT_EQ(station.peer("192.0.2.9", "rrc00").table(Rib::inPre)->withdrawnUnheld, 1);
    EXPECT_THAT(station.notebook.notes, ElementsAre(HasSubstr("without \"raw\"")));
}

TEST(Replay, LinesThatCannotBeReadAreToldAndPassedOver) {
    String const good = ris(
        R"("type":"UPDATE","announcements":[{"next_hop":"192.0.2.7","prefixes":["10.1.0.0/16"]}])");
    struct Case {
        String line;
        char const * told;
    };
    Case const cases[] = {
        {"{\"type\":\n", "file:1:9: "},
        {ris(R"("type":"UPDATE","withdrawals":["10.1.0.0/33"])"),
         "file:1:/data/withdrawals/0: wants prefix"},
        {ris(R"("type":"UPDATE","announcements":[{"prefixes":[]}])"), "/data/announcements/0"},
        {ris(R"("type":"UPDATE","path":[4294967296],"announcements":[])"), "/data/path/0"},
        {ris(R"("type":"UPDATE","raw":"FFF")"), "file:1:/data/raw: wants two digits a byte"},
        {ris(R"("type":"UPDATE","raw":"FFFF")"), "file:1: BGP message ends too early"},
        {ris(R"("type":"UPDATE")", "-1"), "/data/timestamp"},
    };
    for (Case const & c : cases) {
        SCOPED_TRACE(c.line);
        Collected station;
        EXPECT_FALSE(station.read(c.line + good));
        EXPECT_THAT(station.notebook.notes, Contains(HasSubstr(c.told)));
        EXPECT_EQ(station.routers.routes(), 1);
    }
}

TEST(Replay, TimesAreThoseOfRecording) {
    std::vector<std::chrono::microseconds> times;
    ReplaySteps steps;
    steps.isDue = [&times](std::chrono::microseconds due) {
        times.push_back(due);
        return times.size() < 3;
    };
    Collected station;
    String const line = R"("type":"UPDATE","withdrawals":[])";
    EXPECT_TRUE(station.read(
        ris(line, "100") + ris(line, "101.5") + ris(line, "102") + ris(line, "103"), steps));
    EXPECT_THAT(times, ElementsAre(0us, 1500000us, 2000000us)) << "no more is read then";
    times.clear();
    EXPECT_TRUE(station.read(updated("10.1.0.0/16") + updated("10.2.0.0/16"), steps));
    EXPECT_THAT(times, ElementsAre(0us, 0us));
    EXPECT_EQ(station.routers.routes(), 2);
}

} // namespace
} // namespace Qcf::Live::test
