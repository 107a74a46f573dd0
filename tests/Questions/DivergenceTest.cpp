#include "Questions/DifferenceReport.h"
#include "tests/Questions/PolicyTools.h"

#include <gtest/gtest.h>

namespace Qcf::Questions::test {
namespace {

DifferenceGroups compared(PolicyText const & older, PolicyText const & newer,
                          std::vector<String> const & routes) {
    RoutesAtHand reader(routes);
    return compareOverTable(reader, {{older.compared(), newer.compared()}});
}

/// The groups, a line each, columns apart by one blank.
String told(String const & older, String const & newer, std::vector<String> const & routes) {
    PolicyText const first(older);
    PolicyText const second(newer);
    auto const groups = compared(first, second, routes);
    String const text = differencesText(groups.sorted(), {first.places(), second.places()});
    String narrow;
    for (char const c : text) {
        bool const isRepeated =
            c == ' ' && (narrow.empty() || narrow.back() == ' ' || narrow.back() == '\n');
        narrow += isRepeated ? String() : String(1, c);
    }
    return narrow;
}

struct Case {
    char const * older;
    char const * newer;
    std::vector<String> routes;
    char const * told;
};

void expectTold(std::vector<Case> const & cases) {
    for (Case const & each : cases) {
        EXPECT_EQ(told(each.older, each.newer, each.routes), each.told) << each.older << "\n---\n"
                                                                        << each.newer;
        // Nothing differs from itself, and the other way round it is the other way round.
        EXPECT_EQ(told(each.older, each.older, each.routes), "");
        PolicyText const first(each.older);
        PolicyText const second(each.newer);
        EXPECT_EQ(compared(second, first, each.routes).differing(),
                  compared(first, second, each.routes).differing());
    }
}

} // namespace

TEST(Divergence, TheEditedStatementIsTold) {
    expectTold({
        {"function f() {\n if med > 4 {\n return false }\n return true }",
         "function f() {\n if med > 3 {\n return false }\n return true }",
         {R"({"prefix": "10.0.0.0/8", "med": 4})", R"({"med": 9})", R"({"med": 1})"},
         "1 accepted -> rejected old 2 if med > 4 (false) new 2 if med > 3 (true) e.g. "
         "10.0.0.0/8\n"},
        // In place: what follows is not shifted.
        {"function f() {\n med = 1\n weight = 2\n return true }",
         "function f() {\n weight = 2\n return true }",
         {R"({"source_session.remote.ip_address": "192.0.2.1", "prefix": "10.0.0.0/8"})"},
         "1 med 1 -> 0 old 2 med = 1 new - e.g. 10.0.0.0/8 via 192.0.2.1\n"},
        // A write of what was there already is told by the statement that wrote.
        {"function f() {\n if med > 4 {\n weight = 0 }\n if med > 6 {\n weight = 0 }\n return true "
         "}",
         "function f() {\n if med > 3 {\n weight = 0 }\n if med > 7 {\n weight = 0 }\n return true "
         "}",
         {R"({"med": 4})"},
         "1 weight not written -> written old 2 if med > 4 (false) new 2 if med > 3 (true) e.g. "
         "route 0\n"},
        {"function f() {\n if med > 1 {\n igp.tag = 0 }\n if med > 6 {\n weight = 0 }\n return "
         "true }",
         "function f() {\n if med > 2 {\n igp.tag = 0 }\n if med > 7 {\n weight = 0 }\n return "
         "true }",
         {R"({"med": 7})"},
         "1 weight written -> not written old 4 if med > 6 (true) new 4 if med > 7 (false) e.g. "
         "route 0\n"},
        // Inside a function that both call, and as what it is called with.
        {"function g(int x) {\n med = x\n weight = 1 }\nfunction f() {\n g(1)\n return true }",
         "function g(int x) {\n med = x\n weight = 2 }\nfunction f() {\n g(1)\n return true }",
         {"{}"},
         "1 weight 1 -> 2 old 3 weight = 1 new 3 weight = 2 e.g. route 0\n"},
        {"function g(int x) {\n med = x }\nfunction f() {\n g(1)\n return true }",
         "function g(int x) {\n med = x }\nfunction f() {\n g(2)\n return true }",
         {"{}"},
         "1 med 1 -> 2 old 4 g(1) (unknown) new 4 g(2) (unknown) e.g. route 0\n"},
        {"function g() {\n return med > 1 }\nfunction f() {\n if g() or weight > 1 {\n return "
         "true }\n }",
         "function g() {\n return med > 2 }\nfunction f() {\n if g() or weight > 1 {\n return "
         "true }\n }",
         {R"({"med": 2})", R"({"med": 2, "weight": 2})"},
         "1 accepted -> unknown old 2 return med > 1 (true) new 2 return med > 2 (false) e.g. "
         "route 0\n"},
        // What is only built in cannot be told: the call of it is.
        {"function s() {\n builtin set_next_hop_self }\nfunction f() {\n s()\n return true }",
         "function s() {\n builtin set_next_hop_self }\nfunction f() {\n return true }",
         {R"({"session": {"outbound": true}})"},
         "1 next_hop written -> not written, next_hop_self true -> false old 4 s() (true) new - "
         "e.g. route 0\n"},
        // Of two edits the one that this route meets with another outcome.
        {"function f() {\n if med > 4 {\n igp.tag = 1 }\n if weight > 4 {\n return true }\n }",
         "function f() {\n if med > 5 {\n igp.tag = 1 }\n if weight > 5 {\n return true }\n }",
         {R"({"weight": 5})", R"({"weight": 6, "med": 5})"},
         "1 accepted -> unknown old 4 if weight > 4 (true) new 4 if weight > 5 (false) e.g. route "
         "0\n"
         "1 igp.tag 1 -> 0 old 2 if med > 4 (true) new 2 if med > 5 (false) e.g. route 1\n"},
    });
}

TEST(Divergence, ChainsOfElse) {
    char const * const three =
        "function f() {\n if med is 1 {\n weight = 1\n } else if med is 2 {\n "
        "weight = 2\n } else if med is 3 {\n weight = 3\n }\n return true }";
    expectTold({
        {three,
         "function f() {\n if med is 1 {\n weight = 1\n } else if med is 3 {\n weight = 3\n }\n "
         "return true }",
         {R"({"med": 1})", R"({"med": 2})", R"({"med": 3})"},
         "1 weight 2 -> 0 old 4 if med is 2 (true) new - e.g. route 1\n"},
        {three,
         "function f() {\n if med is 1 {\n weight = 1\n } else if med is 2 {\n weight = 2\n } else "
         "if med is 3 {\n weight = 4\n }\n return true }",
         {R"({"med": 3})"},
         "1 weight 3 -> 4 old 7 weight = 3 new 7 weight = 4 e.g. route 0\n"},
        {three,
         "function f() {\n if med is 1 {\n weight = 1\n } else if med is 2 {\n weight = 2\n } else "
         "if med is 3 {\n weight = 3\n } else {\n weight = 9 }\n return true }",
         {R"({"med": 7})"},
         "1 weight 0 -> 9 old - new 9 weight = 9 e.g. route 0\n"},
    });
}

TEST(Divergence, KindsOfDifferences) {
    expectTold({
        {"function f() { return true }",
         "function f() { return false }",
         {"{}", "{}"},
         "2 accepted -> rejected old 1 return true (true) new 1 return false (false) e.g. route "
         "0\n"},
        {"function f() { return true }",
         "function f() { exit true }",
         {"{}"},
         "1 accepted (return) -> accepted (exit) old 1 return true (true) new 1 exit true (true) "
         "e.g. route 0\n"},
        {"function f() { return true }",
         "function f() { med = 0 }",
         {"{}"},
         "1 accepted -> unknown old 1 return true (true) new - e.g. route 0\n"},
        // Writing what is there already is a difference to who applies the changes.
        {"function f() { return true }",
         "function f() {\n med = 0\n return true }",
         {"{}"},
         "1 med not written -> written old - new 2 med = 0 e.g. route 0\n"},
        {"function f() {\n community = { 1:1, 1:2 }\n origin = igp\n return true }",
         "function f() {\n community = { 1:2, 1:3 }\n origin = egp\n return true }",
         {"{}"},
         "1 community +1:3 -1:1, origin igp -> egp old 2 community = { 1:1, 1:2 } new 2 community "
         "= { 1:2, 1:3 } e.g. route 0\n"},
        {"function f() {\n as_path prepend [ 7 ]\n return true }",
         "function f() { return true }",
         {R"({"as_path": "1 2"})"},
         "1 as_path \"7 1 2\" -> \"1 2\" old 2 as_path prepend [ 7 ] new - e.g. route 0\n"},
        // Lists differ, the text does not.
        {"list community_list L { permit { 1:1 } }\nfunction f() { return community matches L }",
         "list community_list L { permit { 1:2 } }\nfunction f() { return community matches L }",
         {R"({"community": ["1:1"]})", R"({"community": ["1:2"]})", R"({"community": ["1:3"]})"},
         "1 accepted -> rejected old 2 return community matches L (true) new 2 return community "
         "matches L (false) e.g. route 0\n"
         "1 rejected -> accepted old 2 return community matches L (false) new 2 return community "
         "matches L (true) e.g. route 1\n"},
    });
}

// Values that differ in many ways are one group; the first route is its example, whatever thread
// met it.
TEST(Divergence, ManyWaysAreOneGroup) {
    std::vector<String> routes;
    for (U64 med = 1; med <= 2 * DifferenceGroups::mostWays; ++med) {
        routes.push_back("{\"med\": " + std::to_string(med) + "}");
    }
    PolicyText const older("function f() {\n med += 1\n return true }");
    PolicyText const newer("function f() {\n med += 2\n return true }");
    for (U32 const threads : {1U, 3U}) {
        RoutesAtHand reader(routes);
        auto const groups =
            compareOverTable(reader, {{older.compared(), newer.compared()}, threads}).sorted();
        ASSERT_EQ(groups.size(), 1U);
        EXPECT_EQ(groups.front().text(), "med");
        EXPECT_EQ(groups.front().count, routes.size());
        EXPECT_EQ(groups.front().example.route, 0U);
    }
    routes.resize(DifferenceGroups::mostWays);
    EXPECT_EQ(compared(older, newer, routes).sorted().size(), DifferenceGroups::mostWays);
}

} // namespace Qcf::Questions::test
