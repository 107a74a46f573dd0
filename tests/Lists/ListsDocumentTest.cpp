#include "Lists/ListsDocument.h"

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

namespace Qcf::Lists {
namespace {

/// The error line of a document, without the file's name; empty when it is read.
String faultOf(String const & text) {
    try {
        readLists(text, "l.json");
        return {};
    } catch (DocumentError const & error) {
        return String(error.what()).substr(String("l.json:").size());
    }
}

TEST(ListsDocument, EverySection) {
    auto const lists = readLists(R"({
      "qcf": "lists/1",
      "prefixLists": {"P": {"family": "v6", "entries": []}, "": {"family": "v4", "entries": []}},
      "dynamicPrefixLists": {"D": {
          "v4": [{"seq": 1, "action": "permit", "prefix": "10.0.0.0/8", "le": 32}],
          "vrfs": {"1": true, "2": false}}},
      "communityLists": {"C": [{"action": "permit", "communities": ["no-export", 5, "1:1", "7"]}]},
      "extCommunityLists": {"E": [{"action": "permit",
          "communities": ["rt:65000:5", "0x4004fde8447a0000", {"value": 18446744073709551615,
                                                               "type": 0}]}]},
      "largeCommunityLists": {"G": [{"action": "permit",
          "communities": ["1:2:3", {"value": 1, "type": 4294967295}]}]},
      "asPathAccessLists": {"A": []},
      "tagSets": {"T": [1, 2, 4294967295]},
      "roaTables": {"R": [{"prefix": "10.0.0.0/8", "maxLength": 24, "asn": "AS65001"},
                          {"prefix": "2001:db8::/32", "asn": "65001"},
                          {"prefix": "2001:db8::/32", "asn": 65001}]}
    })",
                                 "l.json");
    EXPECT_EQ(lists->prefixLists.at("P")->af(), AddressFamily::ipv6);
    EXPECT_TRUE(lists->prefixLists.contains(""));
    auto const & dynamic = lists->dynamicPrefixLists.at("D");
    EXPECT_TRUE(dynamic.status->activeIn(1));
    EXPECT_FALSE(dynamic.status->activeIn(2));
    EXPECT_EQ(dynamic.v4->match(IpGenPrefix::parse("10.1.0.0/16").value()), true);
    EXPECT_TRUE(dynamic.v6->empty());
    EXPECT_EQ(lists->communityLists.at("C")->matcher().permitted()->toStrep(),
              "5,7,65537,4294967041");
    EXPECT_EQ(lists->extCommunityLists.at("E")->matcher().permitted()->toStrep(),
              "0x0002fde800000005,0x4004fde8447a0000,0xffffffffffffffff");
    EXPECT_EQ(lists->largeCommunityLists.at("G")->matcher().permitted()->toStrep(),
              "0:1:4294967295,1:2:3");
    EXPECT_TRUE(lists->asPathAccessLists.at("A")->empty());
    EXPECT_EQ(lists->tagSets.at("T")->tags().size(), 3U);
    EXPECT_EQ(lists->roaTables.at("R")->size(), 2U);
    EXPECT_EQ(lists->fileName, "l.json");
}

TEST(ListsDocument, Faults) {
    struct Case {
        char const * sections;
        char const * fault;
    };
    constexpr Case cases[] = {
        {R"("prefixList": {})",
         "/prefixList: wants only keys qcf, prefixLists, dynamicPrefixLists, communityLists, "
         "extCommunityLists, largeCommunityLists, asPathAccessLists, tagSets, roaTables, found "
         "unknown key \"prefixList\"; did you mean \"prefixLists\"?"},
        {R"("prefixLists": [])", "/prefixLists: wants object, found empty array"},
        {R"("prefixLists": {"a/b~": 1})", "/prefixLists/a~1b~0: wants object, found number 1"},
        {R"("prefixLists": {"P": {"entries": []}})",
         "/prefixLists/P: wants key \"family\", found none"},
        {R"("prefixLists": {"P": {"family": "v5", "entries": []}})",
         "/prefixLists/P/family: wants \"v4\" or \"v6\", found \"v5\""},
        {R"("prefixLists": {"P": {"family": "v4"}})",
         "/prefixLists/P: wants key \"entries\", found none"},
        {R"("prefixLists": {"P": {"family": "v4", "entries": [], "covered": 1}})",
         "/prefixLists/P/covered: wants true or false, found number 1"},
        {R"("prefixLists": {"P": {"family": "v4", "entries": [{"action": "permit",
            "prefix": "10.0.0.0/8"}]}})",
         "/prefixLists/P/entries/0: wants key \"seq\", found none"},
        {R"("prefixLists": {"P": {"family": "v4", "entries": [{"seq": -1, "action": "permit",
            "prefix": "10.0.0.0/8"}]}})",
         "/prefixLists/P/entries/0/seq: wants integer from 0 to 4294967295, found number -1"},
        {R"("prefixLists": {"P": {"family": "v4", "entries": [{"seq": 1, "action": "allow",
            "prefix": "10.0.0.0/8"}]}})",
         "/prefixLists/P/entries/0/action: wants \"permit\" or \"deny\", found \"allow\""},
        {R"("prefixLists": {"P": {"family": "v4", "entries": [{"seq": 1, "action": "permit",
            "prefix": "2001:db8::/32"}]}})",
         "/prefixLists/P/entries/0/prefix: wants IPv4 prefix, found \"2001:db8::/32\""},
        {R"("prefixLists": {"P": {"family": "v4", "entries": [{"seq": 1, "action": "permit",
            "prefix": ""}]}})",
         "/prefixLists/P/entries/0/prefix: wants IPv4 prefix, found \"\""},
        {R"("prefixLists": {"P": {"family": "v4", "entries": [{"seq": 1, "action": "permit",
            "prefix": "10.0.0.1/8"}]}})",
         "/prefixLists/P/entries/0/prefix: wants IPv4 prefix, found \"10.0.0.1/8\""},
        {R"("prefixLists": {"P": {"family": "v4", "entries": [{"seq": 1, "action": "permit",
            "prefix": "10.0.0.0/8", "ge": 7}]}})",
         "/prefixLists/P/entries/0/ge: wants integer from 8 to 32, found number 7"},
        {R"("prefixLists": {"P": {"family": "v4", "entries": [{"seq": 1, "action": "permit",
            "prefix": "10.0.0.0/8", "ge": 24, "le": 23}]}})",
         "/prefixLists/P/entries/0/le: wants integer from 24 to 32, found number 23"},
        {R"("prefixLists": {"P": {"family": "v6", "entries": [{"seq": 1, "action": "permit",
            "prefix": "::/0", "le": 129}]}})",
         "/prefixLists/P/entries/0/le: wants integer from 0 to 128, found number 129"},
        {R"("prefixLists": {"P": {"family": "v4", "entries": [
            {"seq": 1, "action": "permit", "prefix": "10.0.0.0/8"},
            {"seq": 1, "action": "permit", "prefix": "11.0.0.0/8"}]}})",
         "/prefixLists/P/entries/1/seq: wants seq that no entry before it has, found number 1"},
        {R"("dynamicPrefixLists": {"D": {"vrfs": {"red": true}}})",
         "/dynamicPrefixLists/D/vrfs/red: wants VRF id as key, found \"red\""},
        {R"("dynamicPrefixLists": {"D": {"vrfs": {"1": 1}}})",
         "/dynamicPrefixLists/D/vrfs/1: wants true or false, found number 1"},
        {R"("communityLists": {"C": [{"action": "permit"}]})",
         "/communityLists/C/0: wants either communities or regex, found neither"},
        {R"("communityLists": {"C": [{"action": "permit", "regex": "1", "communities": []}]})",
         "/communityLists/C/0: wants either communities or regex, found both"},
        {R"("communityLists": {"C": [{"action": "permit", "communities": ["65536:1"]}]})",
         "/communityLists/C/0/communities/0: wants standard community, found \"65536:1\""},
        {R"("communityLists": {"C": [{"action": "permit", "communities": [4294967296]}]})",
         "/communityLists/C/0/communities/0: wants integer from 0 to 4294967295, found number "
         "4294967296"},
        {R"("communityLists": {"C": [{"action": "permit", "regex": "(1"}]})",
         "/communityLists/C/0/regex: wants regular expression, found \"(1\" (missing ): (1)"},
        {R"("extCommunityLists": {"E": [{"action": "permit", "communities": ["1:2:3"]}]})",
         "/extCommunityLists/E/0/communities/0: wants extended community, found \"1:2:3\""},
        {R"("largeCommunityLists": {"G": [{"action": "permit", "communities": ["rt:1:1"]}]})",
         "/largeCommunityLists/G/0/communities/0: wants large community, found \"rt:1:1\""},
        {R"("asPathAccessLists": {"A": [{"action": "permit", "regex": "1", "origin": "ebgp"}]})",
         "/asPathAccessLists/A/0/origin: wants \"any\", \"igp\", \"egp\" or \"incomplete\", found "
         "\"ebgp\""},
        {R"("asPathAccessLists": {"A": [{"action": "permit", "regex": "(1){1001}"}]})",
         "/asPathAccessLists/A/0/regex: wants regular expression, found \"(1){1001}\" (invalid "
         "repetition size: {1001})"},
        {R"("tagSets": {"T": [4294967296]})",
         "/tagSets/T/0: wants integer from 0 to 4294967295, found number 4294967296"},
        {R"("roaTables": {"R": [{"prefix": "10.0.0.0/8", "maxLength": 7, "asn": 1}]})",
         "/roaTables/R/0/maxLength: wants integer from 8 to 32, found number 7"},
        {R"("roaTables": {"R": [{"prefix": "10.0.0.0/8", "asn": "ASX"}]})",
         "/roaTables/R/0/asn: wants AS number, found \"ASX\""},
        {R"("roaTables": {"R": [{"prefix": "10.0.0.0/8", "asn": 4294967296}]})",
         "/roaTables/R/0/asn: wants AS number, found number 4294967296"},
        {R"("roaTables": {"R": [{"prefix": "10.0.0.0/8", "asn": 1, "ta": "x"}]})",
         "/roaTables/R/0/ta: wants only keys prefix, maxLength, asn, found unknown key \"ta\""},
        {R"("roaTables": {"R": 5})",
         "/roaTables/R: wants array of ROAs or {\"file\": NAME}, found number 5"},
        {R"("roaTables": {"R": {"file": 5}})",
         "/roaTables/R/file: wants name of a file, found number 5"},
    };
    for (Case const & c : cases) {
        EXPECT_EQ(faultOf(R"({"qcf": "lists/1", )" + String(c.sections) + "}"), c.fault);
    }
    EXPECT_EQ(faultOf("{}"), ": wants key \"qcf\", found none");
    EXPECT_EQ(faultOf(R"({"qcf": "aet/1"})"), "/qcf: wants \"lists/1\", found \"aet/1\"");
    EXPECT_EQ(faultOf("[]"), ": wants object, found empty array");
}

/// A folder of its own that goes with the test.
class Folder {
public:
    Folder() { std::filesystem::create_directories(path_); }
    Folder(Folder const &) = delete;
    Folder & operator=(Folder const &) = delete;
    ~Folder() { std::filesystem::remove_all(path_); }

    String write(char const * name, char const * text) const {
        std::ofstream(path_ / name) << text;
        return path_ / name;
    }

private:
    std::filesystem::path path_ = std::filesystem::path(testing::TempDir()) / "ListsDocument";
};

TEST(ListsDocument, RoaFilesStandBesideTheDocument) {
    Folder const folder;
    auto const good = folder.write("vrps.json",
                                   R"({"metadata": {"roas": 5}, "roas": [{"prefix": "10.0.0.0/8",
                                   "maxLength": 9, "asn": 1, "ta": "t", "expires": 5}]})");
    auto const bad = folder.write("bad.json", R"({"roas": [{"prefix": "10.0.0.0/8"}]})");
    auto const none = folder.write("none.json", R"({"vrps": []})");
    auto const document = [](String const & file) {
        return R"({"qcf": "lists/1", "roaTables": {"R": {"file": ")" + file + R"("}}})";
    };
    auto const path = folder.write("lists.json", document("vrps.json").c_str());
    EXPECT_EQ(readListsFile(path)->roaTables.at("R")->size(), 1U);
    EXPECT_EQ(readLists(document(good), "lists.json")->roaTables.at("R")->size(), 1U);

    auto const faultIn = [&](char const * file) -> String {
        try {
            readLists(document(file), path);
            return {};
        } catch (DocumentError const & error) {
            return error.what();
        }
    };
    EXPECT_EQ(faultIn("bad.json"), bad + ":/roas/0: wants key \"asn\", found none");
    EXPECT_EQ(faultIn("none.json"), none + ":: wants key \"roas\", found none");
    EXPECT_NE(faultIn("missing.json").find("missing.json"), String::npos);
}

} // namespace
} // namespace Qcf::Lists
