#include "Lists/RoaScan.h"

#include "Lists/RoaExport.h"
#include "tests/support/Compressed.h"
#include "tests/support/Mutator.h"

#include <gtest/gtest.h>

/// The pass that keeps no text and the reader of documents must not differ in what they take.
namespace Qcf::Lists {
namespace {

std::optional<std::vector<Roa>> scanned(String const & text) {
    return scanRoaExport(makeMemoryStream(text), text.size());
}

/// What the reader of documents makes of it; nothing where it refuses it.
std::optional<std::vector<Roa>> parsed(String const & text) {
    try {
        return readRoaExport(text, "t", {});
    } catch (DocumentError const &) {
        return std::nullopt;
    }
}

String exportOf(String const & entries) { return R"({"roas": [)" + entries + "]}"; }

String const plain = R"({"prefix": "10.0.0.0/8", "maxLength": 16, "asn": 65001})";

TEST(RoaScan, TakesPlainExports) {
    String many = plain;
    for (int i = 0; i < 3000; ++i) {
        many += R"(, { "asn": "AS)" + std::to_string(i) + R"(", "prefix": "2001:db8:)" +
                std::to_string(i) + R"(::/48", "ta": "x", "expires": 1.5e3, "more": [{}, null]})";
    }
    for (String const & text :
         {exportOf(""), exportOf(plain), exportOf(plain + "," + plain), exportOf(many),
          R"({"metadata": {"a": [1, -2.5E+3, true, false, null, {"b": {}}]}, "roas": [)" + plain +
              "], \"aspas\": []}\n\t",
          exportOf(R"({"prefix":"0.0.0.0/0","asn":"4294967295"})"),
          exportOf(R"({"asn":0,"prefix":"::/0","maxLength":128,"maxlength":"x"})")}) {
        auto const roas = scanned(text);
        ASSERT_TRUE(roas.has_value()) << text.substr(0, 200);
        EXPECT_EQ(roas, parsed(text)) << text.substr(0, 200);
    }
    EXPECT_EQ(scanned(exportOf(many))->size(), 3001);
    EXPECT_EQ(scanned(test::gzipped(exportOf(many))), scanned(exportOf(many)));
}

TEST(RoaScan, LeavesAllElseToTheReaderOfDocuments) {
    String const entries[] = {R"({"prefix": null, "asn": 1})",
                              R"({"prefix": "", "asn": 1})",
                              R"({"prefix": "10.0.0.0/8", "asn": null})",
                              R"({"prefix": "10.0.0.0/8", "asn": "AS"})",
                              R"({"prefix": "10.0.0.0/8"})",
                              R"({"asn": 1})",
                              R"({"prefix": "10.0.0.1/8", "asn": 1})",
                              R"({"prefix": "10.0.0.0/8", "asn": 4294967296})",
                              R"({"prefix": "10.0.0.0/8", "asn": -1})",
                              R"({"prefix": "10.0.0.0/8", "asn": 1.0})",
                              R"({"prefix": "10.0.0.0/8", "asn": 01})",
                              R"({"prefix": "10.0.0.0/8", "asn": 1, "asn": 1})",
                              R"({"prefix": "10.0.0.0/8", "asn": 1, "x": {"y": 1, "y": 2}})",
                              R"({"prefix": "10.0.0.0/8", "asn": 1, "maxLength": 7})",
                              R"({"prefix": "10.0.0.0/8", "asn": 1, "maxLength": 33})",
                              R"({"prefix": "10.0.0.0/8", "asn": 1, "maxLength": "9"})",
                              R"({"prefix": "10.0.0.0/8", "asn": 1, "ta": "\u0041"})",
                              "{\"prefix\": \"10.0.0.0/8\", \"asn\": 1, \"ta\": \"\xc3\xa4\"}",
                              "{\"prefix\": \"10.0.0.0/8\", \"asn\": 1, \"ta\": \"\x01\"}",
                              R"({"prefix": "10.0.0.0/8", "asn": 1, "ta": tru})",
                              R"({"prefix": "10.0.0.0/8", "asn": 1,})",
                              "1",
                              "null",
                              "[]",
                              ""};
    for (String const & entry : entries) {
        EXPECT_FALSE(scanned(exportOf(plain + "," + entry)).has_value()) << entry;
    }
    for (String const & text :
         {String(), String("{"), String("{}"), String("[]"), exportOf(plain) + "x",
          exportOf(plain).substr(0, 40), String(R"({"roas": [], "roas": []})"),
          String(R"({"roas": {}})"), String(R"({"slurmVersion": 1, "roas": []})"),
          "\xef\xbb\xbf" + exportOf(plain), test::gzipped(exportOf(plain)) + "tail",
          test::gzipped(exportOf(plain)).substr(0, 60)}) {
        EXPECT_FALSE(scanned(text).has_value()) << text;
    }
}

TEST(RoaScan, TakesOfMutationsWhatTheReaderOfDocumentsTakes) {
    String seed = R"({"metadata": {"a": 1}, "roas": [)" + plain;
    for (int i = 0; i < 4; ++i) {
        seed += R"(,{"asn":"AS)" + std::to_string(i) +
                R"(","prefix":"2001:db8::/32","maxLength":48,"ta":"x"})";
    }
    seed += "]}";
    String const pieces[] = {R"("asn": 12)", R"({"a": [1, 2]},)", "0", "e1", "\"", "-", ",", "}"};
    Mutator mutator(11);
    int taken = 0;
    for (int i = 0; i < 20'000; ++i) {
        String const text = mutator.mutate(seed, pieces);
        if (auto const roas = scanned(text)) {
            ++taken;
            ASSERT_EQ(roas, parsed(text)) << text;
        }
    }
    EXPECT_GT(taken, 100);
}

} // namespace
} // namespace Qcf::Lists
