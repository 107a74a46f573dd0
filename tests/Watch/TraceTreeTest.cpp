#include "Agent/Evaluation/AgentContext.h"
#include "Agent/Routes/RouteJson.h"
#include "Lists/ListBinding.h"
#include "Platform/Render/JsonDocument.h"
#include "Watch/Explanation.h"
#include "tests/support/PolicyText.h"

#include <gtest/gtest.h>

namespace Qcf::Watch {
namespace {

using namespace Eval;

/// A policy text and a watched context to evaluate it in.
class Watching {
public:
    explicit Watching(String const & text) {
        policy_.emplace(Qcf::test::readPolicy(text, sources_));
        auto const lists = policy_->lists(sources_);
        context_ =
            makePtr<Agent::AgentContext>(Lists::bindLists(policy_->program().slots, lists.get()));
        watched_.emplace(*context_);
    }

    EvalResult eval(String const & route, String const & function = "f") {
        auto const document = JsonDocument::parse(route, "route");
        Agent::readRoute(document.root(), route_);
        context_->routeIs(route_);
        return policy_->program().find(function)->eval(Ptr<EvalContextBase>(context_));
    }
    Watched & watched() { return *watched_; }
    Agent::AgentContext & context() { return *context_; }

    /// The nodes that were evaluated, from the root down in the order of evaluation.
    std::vector<TraceNode const *> nodes() const {
        std::vector<TraceNode const *> all;
        gather(*watched_->root(), all);
        return all;
    }
    /// The one node whose text is this.
    TraceNode const & at(String const & text) const {
        for (TraceNode const * const node : nodes()) {
            auto const * const entry = policy_->map().find(node->node->aetNodeKey());
            if (entry != nullptr && sources_.textOf(entry->span) == text) {
                return *node;
            }
        }
        throw std::runtime_error("nothing that was evaluated is: " + text);
    }

private:
    static void gather(TraceNode const & at, std::vector<TraceNode const *> & all) {
        all.push_back(&at);
        for (TraceNode const * const child : at.children) {
            gather(*child, all);
        }
    }

    Text::Sources sources_;
    std::optional<Text::Policy> policy_;
    Ptr<Agent::AgentContext> context_;
    Agent::Route route_;
    std::optional<Watched> watched_;
};

String operandsText(TraceNode const & at) {
    String text;
    for (Operand const & operand : at.operands) {
        text += (text.empty() ? "" : " | ") + String(operand.type) + ' ' + operand.value +
                (operand.given ? "" : " (default)");
    }
    return text;
}

TEST(TraceTree, ShowsValuesAsTextsSpellThem) {
    struct Case {
        char const * test;
        char const * route;
        char const * operands;
    };
    constexpr Case cases[] = {
        {"med > 5", R"({"med": 7})", "int 7 | int 5"},
        {"med > 5", "{}", "int 0 (default) | int 5"},
        {"med > 5", R"({"med": 0})", "int 0 | int 5"},
        {"input.med > 5", "{}", "int 0 (default) | int 5"},
        {"local_preference is 100", "{}", "int 100 (default) | int 100"},
        {"origin is egp", R"({"origin": 1})", "int egp | int egp"},
        {"origin is egp", "{}", "int 256 (default) | int egp"},
        {"as_path.length > 40", R"({"as_path": "1 2 {3,4}"})", "int 3 | int 40"},
        {"as_path.length > 40", "{}", "int 0 (default) | int 40"},
        {"community has any { 65000:1, no-export }", R"({"community": ["1:2", "65535:65281"]})",
         "int_set { 1:2, no-export } | int_set { 65000:1, no-export }"},
        {"community is empty", "{}", "int_set {} (default)"},
        {"large_community has any { 1:2:3 }", R"({"large_community": ["1:2:3"]})",
         "community_set { 1:2:3 } | community_set { 1:2:3 }"},
        {"prefix covered by 10.0.0.0/8", R"({"prefix": "10.1.0.0/16"})",
         "prefix 10.1.0.0/16 | prefix 10.0.0.0/8"},
        {"next_hop is 192.0.2.1", "{}", "address no_address (default) | address 192.0.2.1"},
        {"bgp.best_path is unknown", R"({"bgp.best_path": "unknown"})",
         "tristate unknown | tristate unknown"},
        {"source_session.interface.bandwidth > 1Gbps",
         R"({"source_session.interface.bandwidth": 2e9})", "bandwidth 2e+09 | bandwidth 1e+09"},
        {"connected.interface is interface \"Et1\"", R"({"connected.interface": "Et1"})",
         "interface interface \"Et1\" | interface interface \"Et1\""},
        {"med in { 1, 5..9 }", R"({"med": 7})",
         "int 7 | int_set { 1 } | int_list [ 5 ] | int_list [ 9 ]"},
    };
    for (Case const & each : cases) {
        Watching watching("function f() { return " + String(each.test) + " }");
        watching.eval(each.route);
        EXPECT_EQ(operandsText(watching.at(each.test)), each.operands) << each.test;
    }
}

TEST(TraceTree, WhatAFunctionWroteIsGiven) {
    Watching watching("function f() { med = 0\nreturn med > 5 or input.med > 5 }");
    watching.eval("{}");
    EXPECT_EQ(operandsText(watching.at("med > 5")), "int 0 | int 5");
    EXPECT_EQ(operandsText(watching.at("input.med > 5")), "int 0 (default) | int 5");
}

TEST(TraceTree, ShowsChangesClampedAndIdle) {
    struct Case {
        char const * change;
        char const * route;
        char const * text; ///< before, after, c for clamped
    };
    constexpr Case cases[] = {
        {"med = 5", R"({"med": 7})", "7 5"},
        {"med = 5", R"({"med": 5})", "5 5"},
        {"med = -5", "{}", "0 0 c"},
        {"med = 4294967296", "{}", "0 4294967295 c"},
        {"med += 5", R"({"med": 4294967290})", "4294967290 4294967295"},
        {"med += 6", R"({"med": 4294967290})", "4294967290 4294967295 c"},
        {"med += 18446744073709551615", R"({"med": 7})", "7 4294967295 c"},
        {"med += -7", R"({"med": 7})", "7 0"},
        {"med += -8", R"({"med": 7})", "7 0 c"},
        {"med -= 8", R"({"med": 7})", "7 0 c"},
        {"med -= -8", R"({"med": 7})", "7 15"},
        {"med *= 3", R"({"med": 7})", "7 21"},
        {"med *= -3", R"({"med": 7})", "7 0 c"},
        {"med *= -3", "{}", "0 0"},
        {"med *= 18446744073709551615", R"({"med": 2})", "2 4294967295 c"},
        {"origin = 256", R"({"origin": 1})", "egp 256"},
        {"origin = 7", R"({"origin": 1})", "egp incomplete c"},
        {"community add { 1:2 }", R"({"community": ["1:1"]})", "{ 1:1 } { 1:1, 1:2 }"},
        {"as_path prepend [ 7, 7 ]", R"({"as_path": "1 2"})", "\"1 2\" \"7 7 1 2\""},
        {"next_hop = 192.0.2.1", "{}", "no_address 192.0.2.1"},
    };
    for (Case const & each : cases) {
        Watching watching("function f() { " + String(each.change) + "\nreturn true }");
        watching.eval(each.route);
        auto const & change = watching.at(each.change).change;
        ASSERT_TRUE(change) << each.change;
        EXPECT_EQ(change->before + ' ' + change->after + (change->clamped ? " c" : ""), each.text)
            << each.change;
    }
}

TEST(TraceTree, UnknownHasReasonsThatTravelUp) {
    String const lists = "list prefix_list EMPTY v4 {}\nlist prefix_list SIX v6 { permit ::/0 }\n";
    struct Case {
        char const * test;
        char const * reasons;  ///< of the function
        char const * absorbed; ///< of the test
    };
    constexpr Case cases[] = {
        {"prefix matches v4 EMPTY", "list EMPTY has no entries", ""},
        {"prefix matches covered v6 SIX", "list of the other family", ""},
        {"bgp.best_path", "attribute bgp.best_path is unknown", ""},
        {"unknown", "unknown is written", ""},
        {"ends()", "function ends ended without return", ""},
        {"handed(v4 EMPTY)", "list EMPTY has no entries", ""},
        {"bgp.best_path ?? prefix matches v4 EMPTY ?? ends()",
         "attribute bgp.best_path is unknown, list EMPTY has no entries, "
         "function ends ended without return",
         ""},
        {"bgp.best_path ?? true", "", "attribute bgp.best_path is unknown"},
        {"prefix matches v4 EMPTY and true", "", "list EMPTY has no entries"},
        {"bgp.best_path or med is 0", "", "attribute bgp.best_path is unknown"},
        {"not ends()", "", "function ends ended without return"},
        {"bgp.best_path is unknown", "", "attribute bgp.best_path is unknown"},
    };
    auto const text = [](std::vector<String> const & reasons) {
        String joined;
        for (String const & reason : reasons) {
            joined += (joined.empty() ? "" : ", ") + reason;
        }
        return joined;
    };
    for (Case const & each : cases) {
        Watching watching(lists + "function ends() { med = 1 }\n" +
                          "function handed(prefix_list l) { return prefix matches l }\n" +
                          "function f() { return " + each.test + " }");
        watching.eval(R"({"prefix": "10.0.0.0/8", "bgp.best_path": "unknown"})");
        EXPECT_EQ(text(watching.watched().root()->unknownBecause), each.reasons) << each.test;
        EXPECT_EQ(text(watching.at(each.test).absorbed), each.absorbed) << each.test;
    }
    Watching outermost("function f() { if bgp.best_path { return true } }");
    outermost.eval(R"({"bgp.best_path": "unknown"})");
    EXPECT_EQ(text(outermost.watched().root()->unknownBecause), "function f ended without return");
}

TEST(TraceTree, DynamicListsTellWhereTheyAreInUse) {
    Watching watching("list dynamic_prefix_list D { vrfs { 7 } v4 { permit 10.0.0.0/8 } }\n"
                      "function f() { return prefix matches covered dynamic_prefix_list D }");
    auto const because = [&](char const * session) {
        watching.eval(R"({"prefix": "10.0.0.0/8", "session": )" + String(session) + "}");
        auto const & reasons = watching.watched().root()->unknownBecause;
        return reasons.empty() ? String() : reasons.front();
    };
    EXPECT_EQ(because(R"({"outbound": true, "vrf_id": 7})"), "");
    EXPECT_EQ(because(R"({"outbound": true, "vrf_id": 8})"), "list not in use in vrf 8");
    EXPECT_EQ(because(R"({"outbound": true})"), "list not in use outside of a vrf");
}

/// Throws where a route has no answer.
class Throwing final : public Agent::AgentContextBase {
public:
    Throwing() : AgentContextBase(nullptr, nullptr, nullptr) {}
    U64 medInput() const override { throw std::runtime_error("no med"); }
};

TEST(TraceTree, AnExceptionLeavesTheTreeReadyForTheNextRoute) {
    Text::Sources sources;
    Text::Messages messages;
    auto const policy = Text::readPolicyText(
        "function g() { return med is 5 }\nfunction f() { if g() { return true } return false }",
        "p.qcf", sources, messages);
    auto const context = makePtr<Throwing>();
    Watched watched(*context);
    Agent::Route const route;
    context->routeIs(route);
    auto const f = policy->program().find("f");
    EXPECT_THROW(f->eval(Ptr<EvalContextBase>(context)), std::runtime_error);
    std::size_t depth = 0;
    for (TraceNode const * at = watched.root(); !at->children.empty(); at = at->children.back()) {
        EXPECT_TRUE(at->thrown);
        ++depth;
    }
    EXPECT_EQ(depth, 7U) << "f, block, if, g(), g, block, return";
    context->routeIs(route);
    EXPECT_THROW(f->eval(Ptr<EvalContextBase>(context)), std::runtime_error);
    EXPECT_EQ(watched.root()->children.size(), 1U);
}

TEST(TraceTree, DeepCallsAndSharedNodes) {
    String text = "function f0() { return med is 5 }\n";
    constexpr int depth = 300;
    for (int i = 1; i <= depth; ++i) {
        text +=
            "function f" + std::to_string(i) + "() { return f" + std::to_string(i - 1) + "() }\n";
    }
    Watching watching(text + "function f() { return f300() and f300() }");
    EXPECT_TRUE(watching.eval(R"({"med": 5})").isTrue());
    auto const path = decidingPath(*watching.watched().root());
    // A call, its function, the block and the return, each.
    EXPECT_EQ(path.size(), 4U * (depth + 1) + 5);
    std::size_t tests = 0;
    for (TraceNode const * const node : watching.nodes()) {
        tests += is<IntIs>(*node->node) ? 1 : 0;
    }
    EXPECT_EQ(tests, 2U) << "the one node was evaluated twice";
}

} // namespace
} // namespace Qcf::Watch
