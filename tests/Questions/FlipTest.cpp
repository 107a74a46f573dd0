#include "Questions/FlipText.h"
#include "tests/Questions/QuestionTools.h"

#include <gmock/gmock.h>

namespace Qcf::Questions::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

FlipReport flipsOf(TextPolicy const & policy, Agent::Route const & route, FlipOptions options) {
    auto const function = policy.function("f");
    FlipGround const ground(*function, policy.policy.listRecords());
    return FlipFinder(function, ground, policy.matchers, policy.places, options).find(route);
}

String flipsText(String const & text, String const & route, FlipOptions options = {}) {
    TextPolicy const policy(text);
    String out;
    appendFlips(out, flipsOf(policy, routeOf(route), options), policy.places);
    return out;
}

// One condition each, that of a function that accepts where it holds.
TEST(Flip, IsTheNearestOfItsKind) {
    struct Row {
        char const * condition;
        char const * route;
        char const * flip;
    };
    Row const rows[] = {
        {"med > 50", R"({"med": 40})", "med 40 -> 51 (accepted"},
        {"med <= 50", R"({"med": 53})", "med 53 -> 50 (accepted"},
        {"med in { 3, 10..20 }", R"({"med": 24})", "med 24 -> 20 (accepted"},
        {"igp.tag matches T", R"({"igp.tag": 70})", "igp.tag 70 -> 77 (accepted"},
        {"origin is egp", R"({})", "origin 256 -> 1 (accepted"},
        {"med is weight", R"({"med": 7, "weight": 9})", "med 7 -> 9 (accepted"},
        {"adds()", R"({"med": 7})", "med 7 -> 11 (accepted"},
        {"over(med)", R"({"med": 7})", "med 7 -> 31 (accepted"},
        {"bgp.best_path is false", R"({})", "bgp.best_path true -> false (accepted"},
        {"ecmp.aggregate_link_bandwidth > 8000.0", R"({"ecmp.aggregate_link_bandwidth": 8000.0})",
         "ecmp.aggregate_link_bandwidth 8000.0 -> 8000.0005 (accepted"},
        {"prefix.length <= 24", R"({"prefix": "9.9.9.128/25"})",
         "prefix length 25 -> 24 (accepted"},
        {"prefix covered by 10.0.0.0/8", R"({"prefix": "11.1.0.0/16"})",
         "prefix 11.1.0.0/16 -> 10.1.0.0/16 (accepted"},
        {"prefix matches v4 P", R"({"prefix": "10.0.0.0/8"})", "prefix length 8 -> 16 (accepted"},
        {"prefix.ip_version is 6", R"({"prefix": "10.0.0.0/8"})",
         "prefix 10.0.0.0/8 -> 2001:db8::/32 (accepted"},
        {"prefix matches dynamic_prefix_list D",
         R"({"prefix": "10.0.0.0/8", "session": {"outbound": true}})",
         "session.vrf_id 16777215 -> 1 (accepted"},
        {"next_hop is 192.0.2.1", R"({"next_hop": "192.0.2.2"})",
         "next_hop 192.0.2.2 -> 192.0.2.1 (accepted"},
        {"next_hop.ip_version is 6", R"({"next_hop": "192.0.2.2"})", "next_hop 192.0.2.2 -> ::"},
        {"65000:1 in community", R"({"community": ["65000:2"]})",
         "community 65000:1 added (accepted"},
        {"not 65000:2 in community", R"({"community": ["65000:2", "65000:3"]})",
         "community 65000:2 removed (accepted"},
        {"community has all { 65000:1, 65000:2 }", R"({"community": ["65000:2"]})",
         "community 65000:1 added (accepted"},
        {"community is { 65000:1, 65000:2 }", R"({"community": ["65000:3"]})",
         "community 65000:3 removed, 65000:1 added, 65000:2 added (accepted"},
        {"community.count > 3", R"({})",
         "community 0:1 added, 0:2 added, 0:3 added, 0:4 added (accepted"},
        {"community matches C", R"({})", "community 65000:77 added (accepted"},
        {"community matches TEMPLATE", R"({})", "community 65001:1 added (accepted"},
        {"large_community has any { 65000:1:2 }", R"({})",
         "large_community 65000:1:2 added (accepted"},
        {"rt:65000:1 in ext_community", R"({})",
         "ext_community 0x0002fde800000001 added (accepted"},
        {"as_path.length < 3", R"({"as_path": "1 2 3"})", "as_path 1 2 3 -> 2 3 (accepted"},
        {"as_path.length > 3", R"({"as_path": "1 2 3"})", "as_path 1 2 3 -> 1 1 2 3 (accepted"},
        {"as_path.origin_as is 9", R"({"as_path": "1 2"})", "as_path 1 2 -> 1 9 (accepted"},
        {"as_path.last_as is 9", R"({"as_path": "1 2"})", "as_path 1 2 -> 9 2 (accepted"},
        {"as_path matches A", R"({"as_path": "1 2"})", "as_path 1 2 -> 174 2 (accepted"},
        {"match_origin_as_validity(roa_table R, valid)",
         R"({"prefix": "8.8.8.0/24", "as_path": "1 2"})", "as_path 1 2 -> 1 15169 (accepted"},
        {"set_next_hop_self()", R"({})", "session.outbound false -> true (accepted"},
    };
    for (Row const & row : rows) {
        String const text = R"(list prefix_list P v4 { permit 10.0.0.0/8 ge 16 le 24 }
list dynamic_prefix_list D { vrfs { 1 } v4 { permit 10.0.0.0/8 } }
list community_list C { permit { 65000:77 } }
list community_list TEMPLATE { permit { 65001:* } }
list as_path_list A { permit "_174_" }
list tag_set T { 77 }
list roa_table R { 8.8.8.0/24 max 24 AS15169 }
function over(int value) { return value > 30 }
function adds() {
  med += 10
  return med > 20
}
function f() {
  if )" + String(row.condition) +
                            R"( { return true }
  return false
}
)";
        EXPECT_THAT(flipsText(text, row.route, {.to = FlipTo::accept}),
                    StartsWith("  flips: " + String(row.flip)))
            << row.condition;
    }
}

TEST(Flip, SaysHowFarTheSearchWent) {
    constexpr char const * text = R"(function f() {
  if med > 10 and as_path.length < 4 and prefix.length <= 24 and 65000:1 in community {
    return true because all
  }
  return false
}
)";
    constexpr char const * accepted =
        R"({"prefix": "9.9.9.0/24", "med": 11, "as_path": "1 2 3", "community": ["65000:1"]})";
    String const found = flipsText(text, accepted);
    EXPECT_THAT(found, StartsWith("  flips: as_path 1 2 3 -> "));
    EXPECT_THAT(found, HasSubstr("; complete for as_path.length, med, prefix.length]\n"));
    EXPECT_THAT(found, HasSubstr("\n         med 11 -> 10 (rejected, line 5)\n"));
    EXPECT_THAT(found, HasSubstr("\n         prefix length 24 -> 25 (rejected, line 5)\n"));
    // What the evaluation did not come to is not tried.
    EXPECT_THAT(flipsText(text, R"({"med": 10, "as_path": "1 2 3 4"})"),
                testing::MatchesRegex("  flips: none   \\[0 found of [0-9]+ tried; complete for "
                                      "med\\]\n"));
    EXPECT_EQ(flipsText(text, accepted, {.to = FlipTo::accept}),
              "  flips: none asked for, the verdict is that already\n");
    EXPECT_THAT(flipsText(text, accepted, {.budget = 3}),
                HasSubstr("   [1 found of 3 tried; more could be tried]\n"));
    EXPECT_THAT(flipsText(text, accepted, {.most = 1}), testing::Not(HasSubstr("\n  ")));
}

TEST(Flip, OfTwoPartsIsFoundWhereOneDoesNot) {
    constexpr char const * text = R"(function f() {
  if med is 7 and weight is 9 { return true }
  return false
}
)";
    EXPECT_THAT(flipsText(text, R"({"med": 5, "weight": 8})"), StartsWith("  flips: none"));
    EXPECT_THAT(flipsText(text, R"({"med": 5, "weight": 8})", {.pairs = true}),
                StartsWith("  flips: med 5 -> 7 and weight 8 -> 9 (accepted, line 2)"));
}

// What is compared with anything else may turn where no constant tells.
TEST(Flip, ClaimsNothingForWhatMeetsMoreThanConstants) {
    for (char const * const condition :
         {"med is weight", "med > 5 and med < weight", "g(med)", "med in community",
          "igp.tag matches T", "origin is 5 and as_path matches A",
          "prefix.length < 5 and "
          "prefix covered by 10.0.0.0/8",
          "as_path.length > 3 and as_path.origin_as is 2", "med > 5 and ( med += 3 )",
          "as_path.length < 4000000000"}) {
        String const text = R"(list tag_set T { 7 }
list as_path_list A { permit "1" }
function g(int x) { return x > 3 }
function f() { return )" + String(condition) +
                            " }\n";
        EXPECT_THAT(flipsText(text, R"({"med": 6, "as_path": "1 2", "prefix": "10.0.0.0/8"})"),
                    testing::Not(HasSubstr("complete")))
            << condition;
    }
}

} // namespace
} // namespace Qcf::Questions::test
