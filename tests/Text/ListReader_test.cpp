#include "tests/Text/ListTools.h"

#include <gmock/gmock.h>

using namespace Qcf::Text; // NOLINT(google-build-using-namespace): what is under test

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// Reads one list, whose text must be right, and answers its lists document.
String document(String const & list, GivenConstants const & constants = {}) {
    ReadLists const read("list " + list, constants);
    EXPECT_THAT(read.lines(), IsEmpty()) << list;
    return jsonOf(read.records());
}

String section(char const * name, char const * content) {
    return String(R"({"qcf":"lists/1",")") + name + R"(":{"L":)" + content + "}}\n";
}

} // namespace

TEST(ListReader, ReadsWhatDocumentsHave) {
    struct Case {
        char const * text;
        char const * section;
        char const * content;
    };
    constexpr Case cases[] = {
        {"prefix_list L v4 { permit 10.0.0.0/8 seq 15 deny 0.0.0.0/0 ge 8 le 24; permit "
         "1.0.0.0/8 le 8, permit 2.0.0.0/8 ge 9 }",
         "prefixLists",
         R"x({"family":"v4","entries":[{"seq":10,"action":"permit","prefix":"10.0.0.0/8"},)x"
         R"x({"seq":15,"action":"deny","prefix":"0.0.0.0/0","ge":8,"le":24},)x"
         R"x({"seq":25,"action":"permit","prefix":"1.0.0.0/8"},)x"
         R"x({"seq":35,"action":"permit","prefix":"2.0.0.0/8","ge":9}]})x"},
        {"prefix_list L v6 covered { permit ::/0 }", "prefixLists",
         R"x({"family":"v6","covered":true,"entries":[)x"
         R"x({"seq":10,"action":"permit","prefix":"::/0"}]})x"},
        {"dynamic_prefix_list L { v6 { permit 2001:db8::/32 } vrfs { 1, 2 false 3 } }",
         "dynamicPrefixLists",
         R"x({"v4":[],"v6":[{"seq":10,"action":"permit","prefix":"2001:db8::/32"}],)x"
         R"x("vrfs":{"1":true,"2":false,"3":true}})x"},
        {R"x(community_list "L" { permit { 65000:1, no-export, 7 } deny { 65000:* }
            seq 99 permit "^65000:9" })x",
         "communityLists",
         R"x([{"action":"permit","communities":["65000:1","65535:65281","0:7"]},)x"
         R"x({"action":"deny","regex":"(^| )65000:[0-9]+( |$)"},)x"
         R"x({"action":"permit","regex":"^65000:9"}])x"},
        {"ext_community_list L { permit { rt:65000:5, 0x4004fde8447a0000 } }", "extCommunityLists",
         R"x([{"action":"permit","communities":["0x0002fde800000005","0x4004fde8447a0000"]}])x"},
        {"large_community_list L { permit { 1:2:3 } deny { *:1..2:5 } }", "largeCommunityLists",
         R"x([{"action":"permit","communities":["1:2:3"]},)x"
         R"x({"action":"deny","regex":"(^| )[0-9]+:([1-2]):5( |$)"}])x"},
        {R"x(as_path_list L { permit "\d_" origin egp permit contains { 1, 5..9 } origin any
            deny only { 3 } })x",
         "asPathAccessLists",
         R"x([{"action":"permit","regex":"\\d_","origin":"egp"},)x"
         R"x({"action":"permit","regex":"_(1|([5-9]))_"},)x"
         R"x({"action":"deny","regex":"^(3)( (3))*$"}])x"},
        {"tag_set L { 7, 77 777; 4294967295 }", "tagSets", "[7,77,777,4294967295]"},
        {"roa_table L { 1.1.1.0/24 max 32 AS13335 ::/0 AS0 }", "roaTables",
         R"x([{"prefix":"1.1.1.0/24","maxLength":32,"asn":13335},{"prefix":"::/0","asn":0}])x"},
        {"tag_set L { }", "tagSets", "[]"},
    };
    for (Case const & each : cases) {
        EXPECT_EQ(document(each.text), section(each.section, each.content)) << each.text;
    }
}

TEST(ListReader, PutsInWhatConstantsHold) {
    GivenConstants constants;
    constants.all["ONE"] = {"65000:1"};
    constants.all["MANY"] = {"65000:2", "no-export"};
    constants.all["NUMBERS"] = {"23456", "64496..64511"};
    EXPECT_EQ(document("community_list L { permit { 1:1, MANY, ONE } }", constants),
              section("communityLists", R"x([{"action":"permit","communities":)x"
                                        R"x(["1:1","65000:2","65535:65281","65000:1"]}])x"));
    EXPECT_EQ(document("as_path_list L { permit starts { NUMBERS, 1 } }", constants),
              section("asPathAccessLists", R"x([{"action":"permit","regex":)x"
                                           R"x("^(23456|(6449[6-9]|6450[0-9]|6451[0-1])|1)_"}])x"));
    EXPECT_THAT(ReadLists("list community_list L { permit { MANNY } }", constants).lines(),
                ElementsAre("t.qcf:1:34: error: unknown name 'MANNY'; did you mean 'MANY'?"));
    EXPECT_THAT(ReadLists("list large_community_list L { permit { ONE } }", constants).lines(),
                ElementsAre(HasSubstr("1:40: error: wants a large community, found '65000:1' in "
                                      "'ONE', a standard community; it belongs in a list of kind "
                                      "community_list")));
}

TEST(ListReader, TellsWhatIsWrongAndWhere) {
    struct Case {
        char const * text;
        char const * message; ///< from the column on
    };
    constexpr Case cases[] = {
        // The head.
        {"prefixlist P v4 { }", "6: error: wants a kind of list, found 'prefixlist'; did you mean "
                                "'prefix_list'?"},
        {"roa R { }", "6: error: wants a kind of list, found 'roa'; did you mean 'roa_table'?"},
        {"prefix_list { }", "18: error: wants the list's name, found '{'"},
        {"tag_set 65000:1 { }", "14: error: '65000:1' is no name; any text is one in quotes; did "
                                "you mean '\"65000:1\"'?"},
        {"tag_set med { }", "14: error: 'med' is no name; any text is one in quotes; did you mean "
                            "'\"med\"'?"},
        {"prefix_list P { }", "20: error: wants the family of the prefix list, 'v4' or 'v6', "
                              "found '{'"},
        {"tag_set T v4 { }", "16: error: a tag_set has no family; only a prefix_list has"},
        {"tag_set T covered { }", "16: error: only a prefix_list can be 'covered'"},
        {"tag_set T 5", "16: error: wants '{' and the list's entries, found '5'"},
        {"tag_set T { 5", "19: error: wants '}' at the end of the list's entries, found the end "
                          "of the text"},
        // Prefixes and their lengths.
        {"prefix_list P v4 { permit 2001:db8::/32 }",
         "32: error: wants an IPv4 prefix, found '2001:db8::/32'"},
        {"prefix_list P v4 { permit 10.0.0.1/8 }",
         "32: error: '10.0.0.1/8' has bits set behind the prefix's length; did you mean "
         "'10.0.0.0/8'?"},
        {"prefix_list P v4 { permit 10.0.0.1 }",
         "32: error: wants an IPv4 prefix, found '10.0.0.1'; did you mean '10.0.0.1/32'?"},
        {"prefix_list P v4 { permit { 65000:1 } }", "32: error: wants an IPv4 prefix, found '{'"},
        {"prefix_list P v4 { permit 10.0.0.0/8 ge 7 }",
         "43: error: 'ge 7' is below the prefix's length, 8"},
        {"prefix_list P v4 { permit 10.0.0.0/8 le 7 }",
         "43: error: 'le 7' is below the prefix's length, 8"},
        {"prefix_list P v4 { permit 10.0.0.0/8 ge 24 le 23 }",
         "49: error: 'le 23' is below 'ge 24'"},
        {"prefix_list P v4 { permit 10.0.0.0/8 le 33 }",
         "43: error: 'le 33' is above 32, the length of an IPv4 address"},
        {"prefix_list P v6 { permit ::/0 ge 129 }",
         "37: error: 'ge 129' is above 128, the length of an IPv6 address"},
        {"prefix_list P v4 { permit 10.0.0.0/8 le 24 ge 9 }", "49: error: 'ge' stands before 'le'"},
        {"prefix_list P v4 { permit 10.0.0.0/8+ }",
         "42: error: no '+': 'le 32' takes what is longer, too"},
        // Actions and numbers of entries.
        {"prefix_list P v4 { allow 10.0.0.0/8 }",
         "25: error: wants 'permit' or 'deny', found 'allow'; did you mean 'permit'?"},
        {"prefix_list P v4 { premit 10.0.0.0/8 }",
         "25: error: wants 'permit' or 'deny', found 'premit'; did you mean 'permit'?"},
        {"prefix_list P v4 { 10.0.0.0/8 }",
         "25: error: wants 'permit' or 'deny', found '10.0.0.0/8'"},
        {"prefix_list P v4 { seq 5 permit ::/0 }", "38: error: wants an IPv4 prefix, found '::/0'"},
        {"prefix_list P v4 { seq 5 permit 0.0.0.0/0 seq 5 deny 0.0.0.0/0 }",
         "48: error: two entries have the number 5"},
        {"prefix_list P v4 { permit 0.0.0.0/0 seq 5 deny 0.0.0.0/0 }",
         "42: error: the numbers of entries rise: 5 stands behind 10"},
        {"prefix_list P v4 { seq 4294967296 permit 0.0.0.0/0 }",
         "29: error: wants the number of the entry, 0 to 4294967295, found '4294967296'"},
        {"prefix_list P v4 { seq 4294967290 permit 0.0.0.0/0 deny 0.0.0.0/0 }",
         "57: error: the number of the entry would be above 4294967295"},
        // Communities.
        {"community_list C { permit { 65536:1 } }",
         "34: error: wants a standard community, found '65536:1': a half of a community is at most "
         "65535; parts of a large one (A:B:C) may be 4294967295"},
        {"community_list C { permit { rt:1:1 } }",
         "34: error: wants a standard community, found 'rt:1:1', an extended community; it belongs "
         "in a list of kind ext_community_list"},
        {"community_list C { permit { NO_EXPORT } }",
         "34: error: unknown name 'NO_EXPORT'; did you mean 'no-export'?"},
        {"community_list C { permit { 1:1 2:2 } }", "38: error: wants ',' or '}', found '2:2'"},
        {"community_list C { permit 65000:1 }",
         "32: error: wants communities in braces or a pattern in quotes, found '65000:1'; did you "
         "mean '{ 65000:1 }'?"},
        {"community_list C { permit 10.0.0.0/8 }",
         "32: error: wants communities in braces or a pattern in quotes, found '10.0.0.0/8'"},
        {"community_list C { permit \"(1\" }", "32: error: no regular expression: missing ): (1"},
        {"community_list C { permit { 1:1 } origin igp }",
         "40: error: wants 'permit' or 'deny', found 'origin'"},
        {"community_list C { permit { } }",
         "32: warning: an entry without communities matches every route"},
        // Templates.
        {"community_list C { permit { 65000:1..65536 } }",
         "34: error: a part of a template is at most 65535, found '1..65536'"},
        {"community_list C { permit { 70000:* } }",
         "34: error: a part of a template is at most 65535, found '70000'"},
        {"community_list C { permit { 65000:9..8 } }",
         "34: error: a part of a template is a number up to 65535, a range as 5..9 that does not "
         "fall, or '*', found '9..8'"},
        {"community_list C { permit { 1:2:* } }",
         "34: error: a template of a standard community has 2 parts, found 3 in '1:2:*'"},
        {"large_community_list C { permit { 1:* } }",
         "40: error: a template of a large community has 3 parts, found 2 in '1:*'"},
        {"ext_community_list C { permit { rt:1:* } }",
         "38: error: extended communities have no templates; a pattern sees them as 0x and 16 "
         "hexadecimal digits"},
        {"community_list C { permit { 1:1, 2:* } }",
         "39: error: a template stands alone in the braces of its entry"},
        {"community_list C { permit { 2:*, 1:1 } }",
         "34: error: a template stands alone in the braces of its entry"},
        // Numbers.
        {"as_path_list A { permit 174 }",
         "30: error: wants a pattern in quotes, 'contains', 'starts', 'ends' or 'only', found "
         "'174'; did you mean 'contains { 174 }'?"},
        {"as_path_list A { permit contains { AS174 } }",
         "41: error: AS numbers of paths stand without 'AS'; did you mean '174'?"},
        {"as_path_list A { permit contains { 9..8 } }",
         "41: error: wants a number up to 4294967295, or a range as 5..9 that does not fall, found "
         "'9..8'"},
        {"as_path_list A { permit contains { } }", "41: error: wants an AS number, found '}'"},
        {"as_path_list A { permit \"1\" origin ebgp }",
         "41: error: wants the origin, 'igp', 'egp' or 'incomplete', found 'ebgp'; did you mean "
         "'egp'?"},
        {"tag_set T { 4294967296 }", "18: error: wants a tag, 0 to 4294967295, found '4294967296'"},
        {"tag_set T { permit 5 }", "18: error: wants a tag, 0 to 4294967295, found 'permit'"},
        {"roa_table R { 10.0.0.0/8 max 7 AS1 }",
         "31: error: 'max 7' is below the prefix's length, 8"},
        {"roa_table R { 10.0.0.0/8 65000 }",
         "31: error: wants the AS that may originate the prefix, as AS65000, found '65000'; did "
         "you mean 'AS65000'?"},
        {"roa_table R { 10.0.0.0/8 as65000 }",
         "31: error: wants the AS that may originate the prefix, as AS65000, found 'as65000'; did "
         "you mean 'AS65000'?"},
        {"dynamic_prefix_list D { permit 10.0.0.0/8 }",
         "30: error: wants 'vrfs', 'v4' or 'v6', found 'permit'"},
        {"dynamic_prefix_list D { vrfs { 1 1 } }", "39: error: VRF 1 stands twice"},
        {"dynamic_prefix_list D { v4 { } v4 { } }", "37: error: 'v4' stands twice in the list"},
    };
    for (Case const & each : cases) {
        EXPECT_THAT(ReadLists(String("list ") + each.text).lines(),
                    ElementsAre(String("t.qcf:1:") + each.message))
            << each.text;
    }
}

TEST(ListReader, GoesOnWithTheNextEntry) {
    ReadLists const read(R"(list community_list C {
  permit { 65000:1 }
  permit { 65000:70000, 65000:2 }  permit { 65000:3 }
  allow { 65000:4 }
  permit { 65000:5
  permit { 65000:6 } ; deny "(" , permit { 65000:7 }
}
list roa_table R { 10.0.0.0/8 max 7 AS1  11.0.0.0/8 AS2, 12.0.0.0/8 13, 14.0.0.0/8 AS3 }
list tag_set T { 1 x 2
  3
list prefix_list P v4 { permit 1.0.0.0/8 le 40 permit 2.0.0.0/8 }
list dynamic_prefix_list D { v4 { permit x } v5 { } v6 { permit ::/0 } }
list nonsense N { permit { 1 } }
list tag_set LAST { 5 }
)");
    EXPECT_THAT(read.lines(),
                ElementsAre(HasSubstr("3:12: "), HasSubstr("4:3: "), HasSubstr("6:3: "),
                            HasSubstr("6:29: "), HasSubstr("8:31: "), HasSubstr("8:69: "),
                            HasSubstr("9:20: "), HasSubstr("11:1: "), HasSubstr("11:42: "),
                            HasSubstr("12:42: "), HasSubstr("12:46: "), HasSubstr("13:6: ")));
    EXPECT_EQ(printLists(read.records()),
              "list community_list C {\n  permit { 65000:1 }\n  permit { 65000:3 }\n"
              "  permit { 65000:6 }\n  permit { 65000:7 }\n}\n"
              "list roa_table R { 11.0.0.0/8 AS2  14.0.0.0/8 AS3 }\n"
              "list tag_set T { 1, 3 }\n"
              "list prefix_list P v4 { seq 20 permit 2.0.0.0/8 }\n"
              "list dynamic_prefix_list D { v6 { permit ::/0 } }\n"
              "list tag_set LAST { 5 }\n");
}

TEST(ListReader, ANameStandsOnceInAKind) {
    ReadLists read("list tag_set A { 1 }\nlist roa_table A { }\nlist tag_set A { 2 }\n"
                   "list prefix_list P v4 { }\nlist prefix_list P v6 { }\n");
    auto const lists = read.lists();
    EXPECT_THAT(read.lines(),
                ElementsAre("t.qcf:3:14: error: the tag set A is declared twice",
                            "t.qcf:5:18: error: the prefix list P is declared twice"));
    EXPECT_EQ(read.messages.all().front().note, "the other stands at t.qcf:1:14");
    EXPECT_TRUE(lists->tagSets.at("A")->contains(1));
    EXPECT_EQ(lists->placeOf(Qcf::Lists::ListKind::roaTable, "A"), "t.qcf:2:16");
}
