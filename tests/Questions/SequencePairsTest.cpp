#include "Questions/SequencePairs.h"

#include "tests/Questions/PolicyTools.h"

#include <gtest/gtest.h>

namespace Qcf::Questions::test {
namespace {

/// "0-0 1- -1": places of both sides.
String pairsText(String const & older, String const & newer) {
    PolicyText const first("function f() {\n" + older + "\n}");
    PolicyText const second("function f() {\n" + newer + "\n}");
    StatementTexts texts;
    auto const partsOf = [&](PolicyText const & policy) {
        std::vector<SequencePart> parts;
        auto const function = policy.function();
        auto const * link = function->body()->stmts().get();
        for (; link != nullptr; link = link->next().get()) {
            auto const & node = *link->entry();
            parts.push_back({&node, &texts.whole(node, *function), &texts.head(node, *function)});
        }
        return parts;
    };
    String text;
    for (PartPair const & pair : pairsOf(partsOf(first), partsOf(second))) {
        auto const place = [](std::size_t at) {
            return at == PartPair::none ? String() : std::to_string(at);
        };
        text += (text.empty() ? "" : " ") + place(pair.older) + '-' + place(pair.newer);
    }
    return text;
}

} // namespace

TEST(SequencePairs, StatementsThatAreTheSameOnePerhapsChanged) {
    struct Case {
        char const * older;
        char const * newer;
        char const * pairs;
    };
    Case const cases[] = {
        {"med = 1; origin = igp", "med = 1; origin = igp", "0-0 1-1"},
        {"med = 1; weight = 2; origin = igp", "med = 1; origin = igp", "0-0 1- 2-1"},
        {"med = 1; origin = igp", "med = 1; weight = 2; origin = igp", "0-0 -1 1-2"},
        // What was changed stays the same statement, by what it is about.
        {"med = 1; weight = 2", "med += 1; weight = 2", "0-0 1-1"},
        {"med = 1; weight = 2", "local_preference = 1; weight = 2", "0- -0 1-1"},
        {"med = 1", "community add { 1:1 }", "0- -0"},
        // One of two that changed places is the same, the other is put in and taken out.
        {"med = 1; weight = 2", "weight = 2; med = 1", "0- 1-0 -1"},
        // Equal ones go before those that are alike.
        {"if med > 1 { med = 2 }; if weight > 1 { med = 2 }", "if weight > 1 { med = 2 }",
         "0- 1-0"},
        {"if med > 1 { med = 2 }", "if med > 2 { med = 2 }; if med > 1 { med = 3 }", "-0 0-1"},
        {"if med > 1 { return true }", "return true", "0- -0"},
        {"return true", "exit true", "0-0"},
        {"med = 1; med = 1; med = 1", "med = 1; med = 1", "0-0 1-1 2-"},
        {"", "med = 1", "-0"},
    };
    for (Case const & each : cases) {
        EXPECT_EQ(pairsText(each.older, each.newer), each.pairs)
            << each.older << "  " << each.newer;
    }
}

// A list has another slot where others are named before it; what stands in quotes is a name.
TEST(StatementTexts, SlotsOfListsDoNotCount) {
    String const lists = "list community_list A { permit { 1:1 } }\n"
                         "list community_list \"B@7\" { permit { 1:2 } }\n";
    String const statement = "community remove community_list \"B@7\"";
    PolicyText const later(lists + "function g() { return community matches A }\nfunction f() { " +
                           statement + "; return g() }");
    PolicyText const first(lists + "function f() { " + statement + " }");
    StatementTexts texts;
    for (PolicyText const * const policy : {&later, &first}) {
        auto const function = policy->function();
        auto const & node = *function->body()->stmts()->entry();
        EXPECT_EQ(texts.whole(node, *function), statement);
    }
}

} // namespace Qcf::Questions::test
