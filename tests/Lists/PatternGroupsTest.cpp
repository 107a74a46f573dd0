#include "Lists/AsPathList.h"
#include "Lists/CommunityList.h"
#include "tests/support/Cases.h"

#include <algorithm>
#include <random>

#include <gtest/gtest.h>

namespace Qcf::Lists {
namespace {

/// Random lists of few patterns and communities, whose actions and origins change now and then, so
/// that groups of all lengths stand in front, in the middle and at the end.
class RandomLists {
public:
    explicit RandomLists(U32 seed) : random_(seed) {}

    AsPathList asPathList() {
        std::vector<AsPathList::Entry> entries;
        for (U64 count = below(9); count > 0; --count) {
            std::optional<U64> origin;
            if (below(4) == 0) {
                origin = below(3);
            }
            entries.push_back({action(), Pattern(asPathExpression(pattern())), origin});
        }
        return AsPathList(std::move(entries));
    }
    StandardCommunityList communityList() {
        std::vector<StandardCommunityList::Matcher::Entry> entries;
        for (U64 count = below(9); count > 0; --count) {
            auto & entry = entries.emplace_back();
            entry.action = action();
            if (below(3) != 0) {
                entry.pattern = Pattern(pattern());
            } else {
                for (U64 values = below(3); values > 0; --values) {
                    entry.communities.push_back(community());
                }
            }
        }
        return StandardCommunityList(std::move(entries));
    }
    String path() {
        String text;
        for (U64 count = below(5); count > 0; --count) {
            text += (text.empty() ? "" : " ") + std::to_string(below(4));
        }
        return text;
    }
    PtrConst<Eval::U64SmallVector> communities() {
        auto set = makePtr<Eval::U64SmallVector>(Eval::ModifyFlag::copyOnWrite);
        std::vector<U64> values(below(4));
        std::generate(values.begin(), values.end(), [this] { return community(); });
        std::sort(values.begin(), values.end());
        values.erase(std::unique(values.begin(), values.end()), values.end());
        for (U64 const value : values) {
            set->insert(value);
        }
        return set;
    }
    U64 below(U64 limit) { return random_() % limit; }

private:
    ListAction action() {
        if (below(3) == 0) {
            action_ = action_ == ListAction::deny ? ListAction::permit : ListAction::deny;
        }
        return action_;
    }
    U64 community() { return below(4) << 16 | below(4); }
    /// What is joined must not change what a part means: anchors, flags, names of groups, open
    /// quotations, alternatives.
    String pattern() {
        static constexpr char const * patterns[] = {
            "^1",        "2$",          "^$",         "1|2",       "^3|0$",    "_3_",
            "(?i)a|1 2", "\\Q1 2",      "\\Q)|(\\E3", "(?P<n>1)2", "(?P<n>3)", "()",
            "1(?:2|3)",  "[0-1]:[2-3]", "^0:",        "^1 2",      "^",        ":3$",
            "\\b1\\b",   "(?m)^2$",     "x*3",        "9",         "\\Q\\E2:"};
        return patterns[below(std::size(patterns))];
    }

    std::mt19937 random_;
    ListAction action_ = ListAction::permit;
};

// `explain` tries entry after entry.
TEST(PatternGroups, AnswerAsTheEntriesOneByOne) {
    constexpr U64 questions = 40;
    String text;
    for (U64 seed = 0; seed < casesWanted(20'000) / questions / 2; ++seed) {
        RandomLists random(static_cast<U32>(seed));
        AsPathList const paths = random.asPathList();
        StandardCommunityList const list = random.communityList();
        for (U64 question = 0; question < questions; ++question) {
            String const path = random.path();
            U64 const origin = random.below(3);
            ASSERT_EQ(paths.permits(path, origin), *paths.explain(path, origin).answer)
                << "seed " << seed << ", path " << path << ", origin " << origin;
            auto const set = random.communities();
            ASSERT_EQ(list.matcher().matches(set.get(), text),
                      *list.matcher().explain(set.get()).answer)
                << "seed " << seed << ", communities " << set->toStrep();
        }
    }
}

TEST(PatternGroups, ArePatternsOneByOneWhereTheyCannotBeJoined) {
    struct Case {
        std::vector<char const *> patterns;
        char const * text;
        bool isFound;
    };
    String const large = "(?:[0-9a-f]{9}x){60}"; // joined with others beyond what one may cost
    Case const cases[] = {
        {{}, "", false},
        {{"a"}, "ba", true},
        {{"\\Qa)|(b", "c"}, "a", false},
        {{"\\Qa)|(b", "c"}, "a)|(b", true},
        {{"\\Qa", "b"}, "a|(?:b)", true},
        {{"(?P<n>a)", "(?P<n>b)"}, "b", true},
        {{"(?i)a", "b"}, "B", false},
        {{"(?i)a", "b"}, "A", true},
        {{"a|b", "^c"}, "dc", false},
        {{"^1:", "^2:2"}, "2:21", true},
        {{"^1:", "^2:2"}, "21:2", false},
        {{"^1:", "^2:2"}, "", false},
        {{large.c_str(), large.c_str(), "y$", large.c_str(), "z$"}, "yz", true},
        {{large.c_str(), large.c_str(), "y$", large.c_str(), "z$"}, "zx", false},
    };
    for (Case const & c : cases) {
        std::vector<Pattern> patterns;
        for (char const * const pattern : c.patterns) {
            patterns.emplace_back(pattern);
        }
        EXPECT_EQ(PatternSet(patterns).anyFoundIn(c.text), c.isFound)
            << c.text << " in " << (c.patterns.empty() ? "nothing" : c.patterns.front());
    }
}

} // namespace
} // namespace Qcf::Lists
