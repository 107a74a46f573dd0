#include "Agent/Evaluation/AgentContext.h"
#include "Lists/ListsDocument.h"

#include <gtest/gtest.h>

namespace Qcf::Lists {
namespace {

TEST(AsPathList, Underscore) {
    constexpr char const * sep = "(?:^|$|[ {}(),])";
    struct Case {
        char const * expression;
        String translated;
    };
    Case const cases[] = {
        {"", ""},
        {"_65001_", sep + String("65001") + sep},
        {"^65001$", "^65001$"},
        {R"(\_1)", R"(\_1)"},
        {R"(\\_1)", R"(\\)" + String(sep) + "1"},
        {"[_0-9]_", "[ {}(),0-9]" + String(sep)},
        {"[]_]_", "[] {}(),]" + String(sep)},
        {"[^]_]", "[^] {}(),]"},
        {R"([\]_])", R"([\] {}(),])"},
        {"[[:digit:]_]", "[[:digit:] {}(),]"},
        {R"(\Q_\E_)", R"(\Q_\E)" + String(sep)},
        {R"(\p{Old_Italic}_)", R"(\p{Old_Italic})" + String(sep)},
        {"(?P<peer_as>1)_", "(?P<peer_as>1)" + String(sep)},
        {"_\\", sep + String("\\")},
    };
    for (Case const & c : cases) {
        EXPECT_EQ(asPathExpression(c.expression), c.translated) << c.expression;
    }
}

TEST(AsPathList, PathsAndOrigins) {
    struct Case {
        char const * list;
        char const * path;
        U64 origin;
        bool matches;
    };
    constexpr char const * any = R"([{"action": "permit", "regex": "_65001_"}])";
    constexpr char const * empty = R"([{"action": "permit", "regex": "^$"}])";
    constexpr char const * origins = R"([
        {"action": "deny", "regex": "_65001$", "origin": "egp"},
        {"action": "permit", "regex": "_65001$", "origin": "igp"},
        {"action": "permit", "regex": "_65002_", "origin": "incomplete"},
        {"action": "permit", "regex": "^65009_", "origin": "any"}])";
    constexpr Case cases[] = {
        {any, "65001", 0, true},
        {any, "1 65001 2", 0, true},
        {any, "165001", 0, false},
        {any, "65001 65001", 0, true},
        {any, "1 {2,65001,3}", 0, true},
        {any, "1 (65001 2)", 0, true},
        {any, "[65001 7] 2", 0, true},
        {any, "", 0, false},
        {empty, "", 0, true},
        {empty, "1", 0, false},
        {origins, "65001", 0, true},
        {origins, "65001", 1, false},
        {origins, "65001", 2, false},
        {origins, "65002", 2, true},
        {origins, "65002 65001", 1, false},
        {origins, "65002 65001", 2, true},
        {origins, "65009 1", 256, true},
        {origins, "65002", 256, false},
        {"[]", "65001", 0, false},
    };
    for (Case const & c : cases) {
        auto const lists = readLists(
            R"({"qcf": "lists/1", "asPathAccessLists": {"L": )" + String(c.list) + "}}", "l.json");
        Agent::AgentContext context(nullptr);
        Agent::Route route;
        route.asPath.asnsIs(Routing::Bgp::parseAsPath(c.path).value());
        route.origin = c.origin;
        context.routeIs(route);
        auto const * const path = context.asPathInput();
        for (U32 repetition = 0; repetition < 2; ++repetition) {
            EXPECT_EQ(context.matchAsPathAccessList(path, 1, lists->asPathAccessLists.at("L")),
                      c.matches)
                << c.path << " origin " << c.origin << " with " << c.list;
        }
        EXPECT_FALSE(context.matchAsPathAccessList(path, 1, nullptr));
    }
}

TEST(AsPathList, SeesTheRouteOfTheMoment) {
    auto const lists = readLists(R"({"qcf": "lists/1", "asPathAccessLists": {
        "L": [{"action": "permit", "regex": "^65001 65002$"}]}})",
                                 "l.json");
    auto const & list = lists->asPathAccessLists.at("L");
    Agent::AgentContext context(nullptr);
    Agent::Route route; // as a reader does, one object serves all routes
    for (bool const expected : {true, false, true}) {
        char const * const text = expected ? "65001 65002" : "65001 65003";
        route.asPath.asnsIs(Routing::Bgp::parseAsPath(text).value());
        context.routeIs(route);
        EXPECT_EQ(context.matchAsPathAccessList(context.asPathInput(), 1, list), expected);
    }
    // A changed copy counts with its changes, the input without them.
    auto * const changed = context.asPathInputModifiable();
    constexpr Routing::Bgp::Asn asns[] = {65000};
    EXPECT_TRUE(context.matchAsPathAccessList(changed, 1, list));
    changed->expand().prepend(asns);
    EXPECT_FALSE(context.matchAsPathAccessList(changed, 1, list));
    EXPECT_TRUE(context.matchAsPathAccessList(context.asPathInput(), 1, list));
    EXPECT_FALSE(context.matchAsPathAccessList(nullptr, 1, list));
}

} // namespace
} // namespace Qcf::Lists
