#include "Questions/ImpactReport.h"
#include "tests/Questions/PolicyTools.h"

#include <gtest/gtest.h>

namespace Qcf::Questions::test {
namespace {

struct Found {
    U64 decided = 0;
    U64 differing = 0;
    String functions = {}; ///< "f g>f": those that name it, and the callers with what they call
};

Found impactOf(PolicyText const & policy, String const & name, std::vector<String> const & routes) {
    auto const thing = *thingOf(policy.program(), name);
    auto const readers = readersOf(policy.program(), thing);
    RoutesAtHand reader(routes);
    auto const impact =
        impactOver(reader, {thing, readers, policy.program(), policy.function(), policy.lists()});
    EXPECT_EQ(impact.routes, routes.size());
    Found found{impact.decidedRoutes, impact.without.differing()};
    for (NamingPlace const & place : readers.places) {
        found.functions += place.function->funcName() + ' ';
    }
    for (auto const & [function, called] : readers.callers) {
        found.functions += function->funcName() + '>' + called.front()->funcName() + ' ';
    }
    return found;
}

constexpr char const * lists = "list community_list CL { permit { 1:1 } }\n"
                               "list prefix_list PL v4 { permit 10.0.0.0/8 le 32 }\n"
                               "list prefix_list OTHER v4 { permit 10.0.0.0/8 le 32 }\n"
                               "list roa_table RT { 10.0.0.0/8 max 24 AS7 }\n";

} // namespace

TEST(Impact, WhatDecidedAndWhatWouldDiffer) {
    struct Case {
        char const * text;
        char const * name;
        std::vector<String> routes;
        Found found;
    };
    std::vector<String> const communities{R"({"community": ["1:1"]})", R"({"community": ["1:2"]})"};
    std::vector<String> const prefixes{R"({"prefix": "10.1.0.0/16"})",
                                       R"({"prefix": "9.0.0.0/8"})"};
    Case const cases[] = {
        {"function f() { return community matches CL }", "CL", communities, {2, 1, "f "}},
        // The condition of an if on the path counts, one that was passed does not.
        {"function f() { if community matches CL { return true }; return false }",
         "CL",
         communities,
         {1, 1, "f "}},
        {"function f() { if not community matches CL { return false } else { return true } }",
         "CL",
         communities,
         {2, 1, "f "}},
        // Asked, but of no consequence.
        {"function f() { if community matches CL { med = 0 }; return false }",
         "CL",
         communities,
         {0, 0, "f "}},
        {"function f() { return med is 0 or community matches CL }",
         "CL",
         communities,
         {0, 0, "f "}},
        {"function g() { return community matches CL }\nfunction f() { return g() }",
         "CL",
         communities,
         {2, 1, "g f>g "}},
        // As an argument the list counts where it is asked, and only the one that is given.
        {"function g(prefix_list l) { return prefix matches l }\n"
         "function f() { if g(PL) { return true }; return g(OTHER) }",
         "PL",
         prefixes,
         {1, 0, "f "}},
        {"function g(prefix_list l) { return true }\nfunction f() { return g(PL) }",
         "PL",
         prefixes,
         {0, 0, "f "}},
        {"function v(...) { builtin match_origin_as_validity }\n"
         "function f() { return v(roa_table RT, 2) }",
         "RT",
         {R"({"prefix": "10.0.0.0/16", "as_path": "8"})"},
         {1, 1, "f "}},
        {"function f() { if med > 4 { return false }; return true }",
         "med",
         {R"({"med": 5})", R"({"med": 4})"},
         {1, 1, "f "}},
        {"function f() { if input.med > 4 { return false }; return true }",
         "med",
         {R"({"med": 5})"},
         {1, 1, "f "}},
        // What is derived from it reads it; the name of what is derived is that alone.
        {"function f() { return as_path.length > 1 }",
         "as_path",
         {R"({"as_path": "1 2"})"},
         {1, 1, "f "}},
        {"function f() { return as_path.origin_as is 2 }",
         "as_path.length",
         {R"({"as_path": "1 2"})"},
         {0, 1, ""}},
        // No route is without a prefix: nothing is compared.
        {"function f() { return prefix.length > 8 }", "prefix", prefixes, {2, 0, "f "}},
    };
    for (Case const & each : cases) {
        PolicyText const policy(lists + String(each.text));
        Found const found = impactOf(policy, each.name, each.routes);
        EXPECT_EQ(found.decided, each.found.decided) << each.text << ' ' << each.name;
        EXPECT_EQ(found.differing, each.found.differing) << each.text << ' ' << each.name;
        EXPECT_EQ(found.functions, each.found.functions) << each.text << ' ' << each.name;
    }
}

TEST(Impact, NamesOfNothing) {
    PolicyText const policy("function f() { return true }");
    EXPECT_FALSE(thingOf(policy.program(), "CL"));
    EXPECT_FALSE(thingOf(policy.program(), ""));
    EXPECT_TRUE(thingOf(policy.program(), "med"));
}

} // namespace Qcf::Questions::test
