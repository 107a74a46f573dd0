#include "Mirror/ListDifference.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

namespace Qcf::Mirror {
namespace {

using Texts = std::vector<std::string_view>;

/// What a reader makes of the edits: one pass from front to back.
Texts applied(Texts const & before, Texts const & after, std::vector<ListEdit> const & edits) {
    Texts made;
    std::size_t taken = 0;
    auto const keepUpTo = [&](std::size_t end) {
        RC_ASSERT(taken <= end && end <= before.size());
        made.insert(made.end(), before.begin() + static_cast<std::ptrdiff_t>(taken),
                    before.begin() + static_cast<std::ptrdiff_t>(end));
        taken = end;
    };
    for (ListEdit const & edit : edits) {
        keepUpTo(edit.at);
        taken += edit.drop;
        auto const from = after.begin() + static_cast<std::ptrdiff_t>(edit.from);
        made.insert(made.end(), from, from + static_cast<std::ptrdiff_t>(edit.add));
    }
    keepUpTo(before.size());
    return made;
}

std::size_t moved(std::vector<ListEdit> const & edits) {
    std::size_t sum = 0;
    for (ListEdit const & edit : edits) {
        sum += edit.drop + edit.add;
    }
    return sum;
}

struct Case {
    Texts before;
    Texts after;
    std::vector<ListEdit> edits;
};

TEST(ListDifference, saysAsLittleAsItCan) {
    Case const cases[] = {
        {{}, {}, {}},
        {{"a", "b"}, {"a", "b"}, {}},
        {{}, {"a", "b"}, {{0, 0, 0, 2}}},
        {{"a", "b"}, {}, {{0, 2, 0, 0}}},
        {{"a", "b", "c"}, {"a", "x", "c"}, {{1, 1, 1, 1}}},
        {{"a", "b", "c"}, {"a", "b", "x", "c"}, {{2, 0, 2, 1}}},
        {{"a", "b", "c", "d"}, {"b", "c", "d"}, {{0, 1, 0, 0}}},
        // One that goes from the front to the back moves alone.
        {{"a", "b", "c", "d"}, {"b", "c", "d", "a"}, {{0, 1, 0, 0}, {4, 0, 3, 1}}},
        // Entries of one text are paired in their order.
        {{"a", "a", "b", "a"}, {"a", "b", "a"}, {{1, 1, 1, 0}}},
    };
    for (Case const & each : cases) {
        auto const edits = editsBetween(each.before, each.after);
        EXPECT_EQ(edits, each.edits)
            << testing::PrintToString(each.before) << " to " << testing::PrintToString(each.after);
    }
}

RC_GTEST_PROP(ListDifference, editsMakeTheOneOfTheOther, ()) {
    auto const texts = rc::gen::container<std::vector<std::string>>(
        rc::gen::element<std::string>("a", "b", "c", "d", "e", "f"));
    auto const before = *texts;
    auto const after = *texts;
    Texts const old(before.begin(), before.end());
    Texts const made(after.begin(), after.end());
    auto const edits = editsBetween(old, made);
    RC_ASSERT(applied(old, made, edits) == made);
    RC_ASSERT(moved(edits) <= old.size() + made.size());
}

struct Numbering {
    char const * what;
    std::vector<U32> before;
    std::vector<U32> after;
    std::vector<ListEdit> edits;
    std::vector<NumberRun> runs;
};

TEST(ListDifference, numbersThatFollowPlacesAreToldAtOnce) {
    Numbering const cases[] = {
        {"nothing", {10, 20}, {10, 20}, {}, {}},
        {"one goes", {10, 20, 30, 40}, {10, 20, 30}, {{1, 1, 1, 0}}, {{1, 2, 20, 10}}},
        {"one comes", {10, 20, 30}, {10, 20, 30, 40}, {{1, 0, 1, 1}}, {{2, 2, 30, 10}}},
        {"numbers of their own stay", {5, 7, 9}, {5, 9}, {{1, 1, 1, 0}}, {}},
        {"no common step", {1, 2, 3}, {9, 8, 4}, {}, {{0, 1, 9, 0}, {1, 1, 8, 0}, {2, 1, 4, 0}}},
        {"from nothing", {}, {10, 20}, {{0, 0, 0, 2}}, {}},
        {"no numbers", {}, {}, {{3, 1, 3, 1}}, {}},
    };
    for (Numbering const & each : cases) {
        EXPECT_EQ(numbersBetween(each.before, each.after, each.edits), each.runs) << each.what;
    }
}

// Whatever the order: the worst case must not grow with the square.
TEST(ListDifference, aHundredThousandEntriesTurnedAround) {
    std::vector<std::string> entries;
    for (int i = 0; i < 100'000; ++i) {
        entries.push_back(std::to_string(i));
    }
    Texts const before(entries.begin(), entries.end());
    Texts const after(before.rbegin(), before.rend());
    auto const edits = editsBetween(before, after);
    EXPECT_EQ(applied(before, after, edits), after);
    EXPECT_EQ(moved(edits), 2 * (before.size() - 1));
}

} // namespace
} // namespace Qcf::Mirror
