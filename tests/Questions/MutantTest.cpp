#include "Questions/Mutants.h"
#include "tests/Questions/QuestionTools.h"

#include <gmock/gmock.h>

namespace Qcf::Questions::test {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;

constexpr char const * listsText = R"(list prefix_list P v4 { permit 10.0.0.0/8 ge 16 le 24 }
list prefix_list Q v4 { permit 11.0.0.0/8 }
list community_list "odd name" { permit { 65000:1 } }
list community_list C { permit { 65000:2 } }
function g(int x) { return x > 3 }
)";

/// "from -> to" of all mutants behind those of the lists.
std::vector<String> mutantsOfBody(String const & body) {
    TextPolicy const policy(listsText + String("function f() {") + body + "}\n");
    Text::Messages messages;
    auto const tree = Text::TokenTree::read(policy.sources, 0, messages);
    std::vector<String> texts;
    for (Mutant const & mutant : mutantsOf(*tree, policy.policy.declarations())) {
        if (mutant.at >= String(listsText).size()) {
            texts.push_back(mutant.from + " -> " + mutant.to);
        }
    }
    return texts;
}

TEST(Mutant, ChangesEachPlaceByItself) {
    struct Row {
        char const * body;
        std::vector<String> mutants;
    };
    Row const rows[] = {
        {"return med > 5", {"> -> >=", "5 -> 6"}},
        {"return med >= 5", {">= -> >", "5 -> 4"}},
        {"return med < 5", {"< -> <=", "5 -> 4"}},
        {"return med is 5", {"is -> is not", "5 -> 6"}},
        {"return med is not 5", {"is not -> is", "5 -> 6"}},
        {"return med in { 1, 5..9 }",
         {"in -> not in", "1 -> 2", "5 -> 6", "5 -> 4", "9 -> 10", "9 -> 8"}},
        {"return not bgp.best_path", {"not -> "}},
        {"return med > 1 or med < 2", {"> -> >=", "1 -> 2", "or -> and", "< -> <=", "2 -> 1"}},
        {"return origin is igp", {"is -> is not", "igp -> egp"}},
        {"return 65000:1 in community", {"65000:1 -> 65000:2", "in -> not in"}},
        {"return community has any { no-export }", {"any -> none", "no-export -> no-advertise"}},
        {"return community has any { 7, 8 }", {"any -> all", "7 -> 8", "8 -> 9"}},
        {"return community matches \"odd name\"", {"matches -> not matches", "\"odd name\" -> C"}},
        {"return prefix matches v4 P", {"matches -> not matches", "P -> Q"}},
        {"return prefix covered by 10.0.0.0/8",
         {"covered by -> not covered by", "10.0.0.0/8 -> 11.0.0.0/8"}},
        {"med += 5\nreturn true because r5", {"+= -> -=", "5 -> 6", "true -> false"}},
        {"return next_hop is 192.0.2.1", {"is -> is not", "192.0.2.1 -> 192.0.2.0"}},
        {"return g(4)@7", {"4 -> 5"}},
        {"return @IntIs(lhs: med, rhs: 5)", {}},
    };
    for (Row const & row : rows) {
        EXPECT_THAT(mutantsOfBody(row.body), ElementsAreArray(row.mutants)) << row.body;
    }
}

// Operators of two kinds do not stand beside each other: each side is one operand then.
TEST(Mutant, OfAnOperatorIsARightText) {
    struct Row {
        char const * body;
        std::vector<String> mutants;
    };
    Row const rows[] = {
        {"return afi is 1 and afi is 2 and afi is 3",
         {"return afi is 1 or (afi is 2 and afi is 3)",
          "return (afi is 1 and afi is 2) or afi is 3"}},
        {"if not g(1) or (afi is 2 and afi is 3) { return true }",
         {"if not g(1) and (afi is 2 and afi is 3) { return true }",
          "if not g(1) or (afi is 2 or afi is 3) { return true }"}},
        {"med = 1\n( bgp.best_path ?? unknown\n ?? true )\nreturn true",
         {"med = 1\n( bgp.best_path or (unknown\n ?? true) )\nreturn true",
          "med = 1\n( (bgp.best_path ?? unknown)\n or true )\nreturn true"}},
    };
    for (Row const & row : rows) {
        String const before = listsText + String("function f() {");
        String const text = before + row.body + "}\n";
        TextPolicy const policy(text);
        Text::Messages messages;
        auto const tree = Text::TokenTree::read(policy.sources, 0, messages);
        std::vector<String> changed;
        for (Mutant const & mutant : mutantsOf(*tree, policy.policy.declarations())) {
            if (mutant.from == "and" || mutant.from == "or" || mutant.from == "??") {
                String const whole = mutated(text, mutant);
                EXPECT_NO_THROW(TextPolicy{whole}) << whole;
                changed.push_back(whole.substr(before.size(), whole.size() - before.size() - 2));
            }
        }
        EXPECT_THAT(changed, ElementsAreArray(row.mutants));
    }
}

constexpr char const * policyText = R"(list prefix_list LENGTHS v4 { permit 0.0.0.0/0 ge 8 le 24 }
const MOST = 40
function take(int least) {
  if as_path.length > MOST {
    return false because long
  }
  if prefix matches LENGTHS and med >= least {
    return true
  }
  return false
}
)";
/// Notices every change but those of the list and of `>= least`.
constexpr char const * weakTests = R"(test "short" take(5) {
  route { prefix 10.0.0.0/9; as_path "1 2"; med 9 }
  expect accept
}
test "another" take(5) {
  route { prefix 10.0.0.0/25; as_path "1 2"; med 9 }
  route { prefix 10.0.0.0/9; as_path "1 2"; med 3 }
  expect reject
}
)";
constexpr char const * strongTests = R"(test "the ends of what passes" take(5) {
  route { prefix 10.0.0.0/8; as_path "1 2 3"; med 5 }
  route { prefix 191.0.0.0/24; as_path "1 2 3 4"; med 5 }
  expect accept
}
test "one more" take(5) {
  route { prefix 10.0.0.0/7; as_path "1 2 3"; med 5 }
  route { prefix 10.0.0.0/25; as_path "1 2 3"; med 5 }
  route { prefix 10.0.0.0/8; as_path "1 2 3"; med 4 }
  expect reject
}
test "too long" take(5) {
  route { prefix 10.0.0.0/8; as_path "1 2 3 4 5"; med 5 }
  expect reject because long
}
)";

/// "line from -> to" of each survivor.
std::vector<String> survivorsOf(String const & text, MutantOptions const & options = {}) {
    std::vector<String> texts;
    for (Survivor const & survivor : runMutants(text, "p.qcf", options).survivors) {
        texts.push_back(std::to_string(survivor.line) + ' ' + survivor.from + " -> " + survivor.to);
    }
    return texts;
}

TEST(Mutants, SurviveWhatTestsDoNotSee) {
    String const text = policyText;
    EXPECT_THAT(survivorsOf(text + weakTests),
                ElementsAre("1 0.0.0.0/0 -> 0.0.0.0/1", "1 8 -> 9", "1 8 -> 7", "1 24 -> 23",
                            "2 40 -> 41", "4 > -> >=", "5 false -> true", "7 >= -> >"));
    String shortPaths = text;
    shortPaths.replace(shortPaths.find("40"), 2, "4");
    EXPECT_THAT(survivorsOf(shortPaths + strongTests), ElementsAre());
}

TEST(Mutants, AreCountedAndTold) {
    String const text = String(policyText) + weakTests;
    MutantResults const all = runMutants(text, "p.qcf", {});
    EXPECT_EQ(all.leftOut, 0);
    String const told = mutantsText({all});
    EXPECT_THAT(told, testing::StartsWith("mutants " + std::to_string(all.killed) + " of " +
                                          std::to_string(all.tried()) + " killed ("));
    EXPECT_THAT(told, HasSubstr("\n  survived: p.qcf:7:37  >= -> >   if prefix matches LENGTHS "
                                "and med >= least {\n"));
    // The same by several threads; of a part of them each is one of all.
    EXPECT_EQ(survivorsOf(text, {.threads = 4}), survivorsOf(text));
    MutantResults const some = runMutants(text, "p.qcf", {.most = 5});
    EXPECT_EQ(some.tried() + some.wrong, 5);
    EXPECT_EQ(some.leftOut, all.tried() + all.wrong - 5);
    EXPECT_THAT(mutantsText({some}), HasSubstr(" more not tried\n"));
    // Tests that are not run notice nothing.
    MutantResults const none = runMutants(text, "p.qcf", {.isRun = [](auto &) { return false; }});
    EXPECT_EQ(none.killed, 0);
    EXPECT_EQ(killedShare({none}), 0);
    EXPECT_EQ(killedShare({}), 0);
    EXPECT_EQ(mutantsText({}), "no mutant was tried\n");
}

} // namespace
} // namespace Qcf::Questions::test
