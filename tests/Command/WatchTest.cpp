#include "Platform/Render/JsonDocument.h"
#include "Platform/Render/ReadFile.h"
#include "tests/Command/CommandTools.h"

#include <gmock/gmock.h>

/// `qcf watch` over recorded streams.
namespace Qcf::Command::test {
namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;

String const streams = QCF_SOURCE_DIR "/tests/Live/streams/";

std::vector<String> watching(String const & policy, String const & stream,
                             std::vector<String> const & more = {}) {
    std::vector<String> words{"watch",    policy,           "--function", "import",
                              "--replay", streams + stream, "--once"};
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

/// A policy with one text in the place of another.
String changed(String const & file, String const & from, String const & to) {
    String text = readFile(streams + file);
    auto const at = text.find(from);
    EXPECT_NE(at, String::npos);
    return text.replace(at, from.size(), to);
}

TEST(Watch, ARecordingProvesThePolicy) {
    Workshop const workshop;
    Outcome const proof =
        workshop.run(watching(streams + "gobgp.qcf", "gobgp_sync.bmp.gz", {"--output", "none"}));
    EXPECT_EQ(proof.exitCode, 0) << proof.err;
    EXPECT_THAT(linesOf(proof.out)[0], ContainsRegex("^compared: +600 of 600$"));
    EXPECT_THAT(proof.out, AllOf(ContainsRegex("\nequal: +600\n  both accept: +573\n"),
                                 ContainsRegex("\n  both reject: +27\n")));
    EXPECT_THAT(proof.err, HasSubstr("GoBGP 127.0.0.13 in-pre: path identifiers were negotiated, "
                                     "none are sent\n"));
}

TEST(Watch, AChangedClauseIsReported) {
    struct Case {
        char const * from;
        char const * to;
        char const * told;
    };
    // Of 573 accepted routes 190 are of a peer whose path identifiers are missing.
    Case const cases[] = {
        {"med += 50", "med += 51", "  med: +[0-9]+\n"},
        {"permit 80.0.0.0/6 le 32", "", "\nverdict: +[1-9]"},
        {"community add { 65000:1 }", "", "\nattributes: +383\n  community: +383\n"},
        {"return true", "return false", "\nverdict: +383\n"},
        {"  return true\n", "", "\nunknown: +573\n"},
    };
    for (Case const & c : cases) {
        Workshop const workshop;
        workshop.write("p.qcf", changed("gobgp.qcf", c.from, c.to));
        Outcome const outcome =
            workshop.run(watching("p.qcf", "gobgp_sync.bmp.gz", {"--output", "none"}));
        EXPECT_EQ(outcome.exitCode, 1) << c.from;
        EXPECT_THAT(outcome.out, ContainsRegex(c.told));
    }
}

TEST(Watch, WhatDiffersIsShownWithBothValues) {
    Workshop const workshop;
    workshop.write("p.qcf", changed("gobgp.qcf", "med += 50", "med += 51"));
    std::vector<String> words = watching("p.qcf", "gobgp_sync.bmp.gz", {"--output", "jsonl"});
    Outcome const all = workshop.run(words);
    std::vector<String> lines = linesOf(all.out);
    String const summary = lines.back();
    EXPECT_THAT(summary, HasSubstr("{\"event\":\"summary\",\"time\":\""));
    std::size_t differing = 0;
    for (String const & line : lines) {
        auto const document = JsonDocument::parse(line, "event");
        differing += line.find("\"event\":\"differs\"") != String::npos ? 1 : 0;
    }
    EXPECT_GT(differing, 0);
    EXPECT_THAT(all.out, ContainsRegex("\"kind\":\"attributes\",\"result\":\"true\",\"held\":true,"
                                       "\"decidedBy\":[^}]*\"p.qcf\"[^}]*\\},\"attributes\":\\{"
                                       "\"med\":\\{\"engine\":51,\"router\":50"));
    // Selection is of what is printed, never of what is counted.
    words.insert(words.end(), {"--peer", "127.0.0.14"});
    std::vector<String> const some = linesOf(workshop.run(words).out);
    EXPECT_LT(some.size(), lines.size());
    EXPECT_EQ(some.back().substr(some.back().find("compared")),
              summary.substr(summary.find("compared")));
}

/// Events of that kind, with that result unless it is empty.
std::size_t events(String const & out, String const & kind, String const & result = {}) {
    std::size_t count = 0;
    for (String const & line : linesOf(out)) {
        bool const isKind = line.starts_with("{\"event\":\"" + kind + '"');
        bool const has = line.find("\"result\":\"" + result) != String::npos;
        count += isKind && (result.empty() || has) ? 1 : 0;
    }
    return count;
}

TEST(Watch, EventsTellOfRoutesAsFarAsTheyAreAskedFor) {
    struct Case {
        char const * only; ///< empty for all
        std::size_t accepted;
        std::size_t rejected;
        std::size_t differing;
    };
    // One route is rejected at first, and accepted later.
    Case const cases[] = {{"", 573, 28, 573},   {"accepted", 573, 0, 573}, {"rejected", 1, 28, 0},
                          {"unknown", 0, 0, 0}, {"differs", 0, 0, 573},    {"changed", 1, 0, 0}};
    Workshop const workshop;
    workshop.write("p.qcf", changed("gobgp.qcf", "community add { 65000:1 }", ""));
    String summary;
    for (Case const & c : cases) {
        SCOPED_TRACE(c.only);
        std::vector<String> words = watching("p.qcf", "gobgp_sync.bmp.gz", {"--output", "jsonl"});
        if (*c.only != '\0') {
            words.insert(words.end(), {"--only", c.only});
        }
        Outcome const outcome = workshop.run(words);
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_EQ(events(outcome.out, "route", "true"), c.accepted);
        EXPECT_EQ(events(outcome.out, "route", "false"), c.rejected);
        EXPECT_EQ(events(outcome.out, "differs"), c.differing);
        String const last = linesOf(outcome.out).back();
        String const counts = last.substr(last.find("compared"));
        EXPECT_EQ(counts, summary.empty() ? counts : summary) << "all are counted";
        summary = counts;
    }
}

// A later connection may mend what the one before showed.
TEST(Watch, ADifferenceThatIsOverIsTold) {
    Workshop const workshop;
    Outcome const outcome =
        workshop.run({"watch", streams + "frr.qcf", "--function", "import", "--output", "jsonl",
                      "--only", "differs", "--replay", streams + "frr_without_before.bmp.gz",
                      streams + "frr_sync.bmp.gz", streams + "frr_live.bmp.gz"});
    EXPECT_EQ(events(outcome.out, "differs"), 1);
    EXPECT_EQ(events(outcome.out, "agrees"), 1);
}

TEST(Watch, UpdatesOfACollectorAreReadFromAPipe) {
    Workshop const workshop;
    workshop.write("lines", R"({"type":"ris_message","data":{"timestamp":1.5,"peer":"192.0.2.9",)"
                            R"("peer_asn":"65009","host":"rrc00","type":"UPDATE","path":[65009],)"
                            R"("announcements":[{"next_hop":"192.0.2.9","prefixes":["80.1.0.0/16",)"
                            R"("10.0.0.0/8"]}]}})"
                            "\n");
    Outcome const outcome =
        workshop.shell("cat lines | $QCF watch " + streams +
                       "gobgp.qcf --function import --replay - --pace --output jsonl");
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_THAT(outcome.out,
                AllOf(HasSubstr(R"("router":"rrc00","peer":"192.0.2.9","rib":"in-pre",)"
                                R"("prefix":"80.1.0.0/16","result":"false","decidedBy":{)"),
                      HasSubstr(R"("changes":{"community":["65000:1"]}})")));
}

TEST(Watch, TheTableShowsEachPeer) {
    Workshop const workshop;
    Outcome const outcome = workshop.run(watching(streams + "frr.qcf", "frr_sync.bmp.gz"));
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_THAT(outcome.out,
                AllOf(HasSubstr("lab-frr  FRRouting 8.4.4  3 peers  in-pre 596  in-post 570\n"),
                      ContainsRegex("127.0.0.13 .* doubtful  [^ ]+/frr.qcf:[0-9]+  engine rejects, "
                                    "the router has it\n"),
                      HasSubstr("local_preference not shown  no path identifiers")));
}

TEST(Watch, AStreamThatBreaksOffIsToldAndFails) {
    Workshop const workshop;
    // Half a message, and what is no message at all.
    ASSERT_EQ(workshop
                  .shell("gunzip -c " + streams +
                         "gobgp_sync.bmp.gz | head -c 5000 > cut.bmp; "
                         "(gunzip -c " +
                         streams + "gobgp_sync.bmp.gz; echo hello) > torn.bmp")
                  .exitCode,
              0);
    struct Case {
        char const * file;
        char const * told;
    };
    for (Case const & c :
         {Case{"cut.bmp", "the stream ends within a message"},
          Case{"torn.bmp", "reading ended at offset 237347: BMP message is not of version 3"}}) {
        Outcome const outcome = workshop.run({"watch", streams + "gobgp.qcf", "--function",
                                              "import", "--replay", c.file, "--output", "none"});
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_THAT(outcome.err, HasSubstr(c.told));
    }
}

TEST(Watch, ArgumentsThatCannotBeMeantAreRefused) {
    Workshop const workshop;
    for (std::vector<String> const & more : {std::vector<String>{"--rib", "in-post"},
                                             {"--vrf", "blue"},
                                             {"--vrf", "blue=16777216"},
                                             {"--tolerate", "med"},
                                             {"--max-routes", "0"},
                                             {"--settle", "5"},
                                             {"--keep", "1d"},
                                             {"--keep-only", "edge1"},
                                             {"--bmp", "localhost:1790"},
                                             {"--bmp-connect", "127.0.0.1"},
                                             {"--allow", "10.0.0.1/8"},
                                             {"--record", "."},
                                             // One or the other.
                                             {"--bmp", "127.0.0.1:0"},
                                             {"--rib", "all"},
                                             {"--only", "changed"},
                                             {"--only", "other"}}) {
        EXPECT_EQ(workshop.run(watching(streams + "gobgp.qcf", "gobgp_sync.bmp.gz", more)).exitCode,
                  2)
            << more[0] << ' ' << more[1];
    }
    EXPECT_EQ(workshop.run(watching(streams + "gobgp.qcf", "no-such-file")).exitCode, 1);
    EXPECT_EQ(workshop.run({"watch", streams + "gobgp.qcf", "--function", "import"}).exitCode, 2);
}

} // namespace
} // namespace Qcf::Command::test
