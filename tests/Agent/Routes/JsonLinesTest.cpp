#include "Agent/Tables/RouteFile.h"
#include "Agent/Tables/TableGenerator.h"
#include "tests/Agent/Routes/JsonLinesTools.h"
#include "tests/support/Compressed.h"
#include "tests/support/Mutator.h"

#include <gtest/gtest.h>

namespace Qcf::Agent::test {
namespace {

using Routes = std::vector<String>;

struct FileCase {
    char const * what;
    String bytes;
    Routes routes;
    char const * error;
};

std::vector<FileCase> fileCases() {
    String const one = R"({"med":1})";
    String const two = R"({"med":2})";
    return {
        {"nothing", "", {}, ""},
        {"line ends of both kinds", one + "\r\n" + two + "\n", {one, two}, ""},
        {"no end of the last line", one + "\n" + two, {one, two}, ""},
        {"empty lines", "\n  \n" + one + "\n\t\r\n\n" + two + "\n\n", {one, two}, ""},
        {"byte order mark", "\xef\xbb\xbf" + one + "\n", {one}, ""},
        {"blanks around", "  " + one + " \n", {one}, ""},
        {"a bad line", one + "\n\n{\"med\":}\n" + two, {one}, "t.jsonl:3:8: "},
        {"a bad value", one + "\n{\"med\": true}\n" + two, {one}, "t.jsonl:2:/med: "},
        {"two values in a line", one + "\n" + one + two + "\n", {one}, "t.jsonl:2:10: "},
        {"a value over two lines", "{\n\"med\":1}\n", {}, "t.jsonl:1:2: "},
        {"duplicate key", R"({"med":1,"med":1})", {}, "t.jsonl:1:"},
        {"NUL", one + "\n{\"med\":" + String(1, '\0') + "1}", {one}, "t.jsonl:2:8: "},
        {"no UTF-8", one + "\n{\"connected.interface\":\"\xff\"}", {one}, "t.jsonl:2:"},
        {"deep nesting", one + "\n" + String(600, '['), {one}, "t.jsonl:2:"},
    };
}

TEST(JsonLines, LinesAreReadUpToTheFirstBadOne) {
    for (FileCase const & file : fileCases()) {
        LinesRead const read = readLines(file.bytes);
        EXPECT_EQ(read.routes, file.routes) << file.what;
        EXPECT_EQ(read.statistics.routes, file.routes.size()) << file.what;
        EXPECT_EQ(read.error.substr(0, String(file.error).size()), file.error) << file.what;
        EXPECT_EQ(read.error.empty(), String(file.error).empty()) << file.what << read.error;
        EXPECT_EQ(read.error.find('\n'), String::npos) << file.what;
    }
}

TEST(JsonLines, NothingComesBehindABadLine) {
    auto const reader = makeJsonLinesReader(
        Lists::ByteSource(Lists::makeMemoryStream("{}\n[]\n{}\n")), "t.jsonl", {});
    Route route;
    EXPECT_TRUE(reader->next(route));
    EXPECT_THROW(reader->next(route), DocumentError);
    EXPECT_FALSE(reader->next(route));
    EXPECT_EQ(reader->statistics().routes, 1U);
}

TEST(JsonLines, WhatFollowsTheEndOfCompressedLinesIsTold) {
    String const data = Qcf::test::bzipped("{}\n{}");
    std::vector<String> reports;
    auto const reader = openRoutes(Lists::makeMemoryStream(data + "tail"), "t.jsonl",
                                   [&](String const & line) { reports.push_back(line); });
    Route route;
    EXPECT_TRUE(reader->next(route) && reader->next(route));
    EXPECT_FALSE(reader->next(route));
    EXPECT_EQ(reports, Routes{"t.jsonl: bzip2 data end at byte " + std::to_string(data.size()) +
                              ", what follows them is not read"});
    EXPECT_FALSE(reader->statistics().cut);
}

TEST(JsonLines, LongLinesAreReadUpToALimit) {
    String const blanks(JsonLinesReader::maxLine / 2, ' ');
    EXPECT_EQ(readLines("{\"med\":" + blanks + "1}\n{}").routes, (Routes{R"({"med":1})", "{}"}));
    LinesRead const tooLong = readLines("{}\n{" + blanks + blanks + blanks + "}\n");
    EXPECT_EQ(tooLong.routes, Routes{"{}"});
    EXPECT_EQ(tooLong.error,
              "t.jsonl:2: wants a line of at most 16777216 bytes, found a longer one");
}

/// The lines of a generated table.
String generated(U64 routes) {
    String text;
    JsonLinesWriter writer(text);
    TableGenerator table(routes, 7);
    Route route;
    while (table.next(route)) {
        writer.add(route);
    }
    return text;
}

TEST(JsonLines, CompressedTablesAreToldByTheirContent) {
    String const plain = generated(2000);
    LinesRead const read = readLines(plain);
    EXPECT_EQ(read.error, "");
    ASSERT_EQ(read.routes.size(), 2000U);
    String again;
    for (String const & line : read.routes) {
        again += line + '\n';
    }
    EXPECT_EQ(again, plain);
    for (String const & bytes : {plain, Qcf::test::gzipped(plain), Qcf::test::bzipped(plain)}) {
        auto const reader = openRoutes(Lists::makeMemoryStream(bytes), "t", {});
        Route route;
        U64 routes = 0;
        while (reader->next(route)) {
            ++routes;
        }
        EXPECT_EQ(routes, 2000U);
    }
    String const whole = Qcf::test::gzipped(plain);
    LinesRead const cut = readLines(whole.substr(0, whole.size() / 2));
    EXPECT_GT(cut.routes.size(), 500U) << "what is whole is read";
    EXPECT_TRUE(cut.statistics.cut);
    EXPECT_NE(cut.error.find("gzip"), String::npos) << cut.error;
}

TEST(JsonLines, TextsWithStrayControlCharactersAreStillTexts) {
    auto const reader = openRoutes(Lists::makeMemoryStream("{\"med\":\x01 1}"), "t", {});
    Route route;
    EXPECT_THROW(reader->next(route), DocumentError);
    EXPECT_THROW(openRoutes(Lists::makeMemoryStream("\x01\x02"), "t", {}), Lists::FileError);
}

TEST(JsonLines, MutatedFilesGiveRoutesOrOneErrorLine) {
    constexpr U32 rounds = 12000;
    String const seed =
        generated(3) +
        R"({"isis.levels":[1,2],"session":{"outbound":true,"vrf_id":7},"bgp.best_path":"unknown"})"
        "\n"
        R"({"resolution_ribs":{"entries":[{"name":"tunnel","kind":1}],"useDefault":true}})"
        "\n"
        R"({"origin":256,"aigp.metric":18446744073709551614,"evpn.mac_ip_route.esi":null})"
        "\n";
    Routes const pieces = {R"("med":4294967296,"weight":-0)", R"({"value":1,"type":2})",
                           R"([1,2,3,[],{},"\u0000\ud800"])", R"("as_path.length":1e999)"};
    U32 errors = 0;
    U32 routes = 0;
    for (U32 round = 0; round < rounds; ++round) {
        LinesRead const read = readLines(Mutator(round).mutate(seed, pieces));
        errors += read.error.empty() ? 0 : 1;
        routes += static_cast<U32>(read.routes.size());
        EXPECT_EQ(read.error.find('\n'), String::npos);
        for (String const & line : read.routes) {
            EXPECT_EQ(readLines(line).routes, Routes{line}) << "what was read is a route";
        }
    }
    EXPECT_GT(errors, rounds / 2);
    EXPECT_GT(routes, rounds / 2);
}

} // namespace
} // namespace Qcf::Agent::test
