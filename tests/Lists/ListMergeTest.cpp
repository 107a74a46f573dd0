#include "Lists/ListsDocument.h"

#include <gmock/gmock.h>

namespace Qcf::Lists {
namespace {

PtrConst<NamedLists> listsOf(String const & sections, String const & fileName) {
    return readLists(R"({"qcf": "lists/1", )" + sections + '}', fileName);
}

TEST(ListMerge, TheOtherListsWinByKindAndName) {
    auto const base = listsOf(R"("tagSets": {"A": [1], "B": [2]}, "roaTables": {"A": []})", "base");
    auto const over = listsOf(R"("tagSets": {"B": [3], "C": [4]})", "over");
    auto const merged = mergeLists(*base, *over);
    EXPECT_TRUE(merged->tagSets.at("A")->contains(1));
    EXPECT_TRUE(merged->tagSets.at("B")->contains(3));
    EXPECT_FALSE(merged->tagSets.at("B")->contains(2));
    EXPECT_EQ(merged->tagSets.size(), 3U);
    EXPECT_EQ(merged->roaTables.at("A"), base->roaTables.at("A"));
    EXPECT_EQ(merged->placeOf(ListKind::tagSet, "A"), "base:/tagSets/A");
    EXPECT_EQ(merged->placeOf(ListKind::tagSet, "B"), "over:/tagSets/B");
}

TEST(ListMerge, AListOfAnotherKindOrFamilyTakesNoPlace) {
    struct Case {
        char const * base;
        char const * over;
        char const * fault; ///< empty where both go together
    };
    constexpr Case cases[] = {
        {R"("prefixLists": {"P": {"family": "v4", "entries": []}})",
         R"("prefixLists": {"P": {"family": "v6", "entries": []}})",
         "over:/prefixLists/P: \"P\" is a v6 prefix list here and a v4 one where it is declared, "
         "base:/prefixLists/P"},
        {R"("tagSets": {"T": []})", R"("communityLists": {"T": []})",
         "over:/communityLists/T: \"T\" is a community list here and a tag set where it is "
         "declared, base:/tagSets/T"},
        {R"("tagSets": {"T": []})", R"("communityLists": {"T": []}, "tagSets": {"T": [1]})", ""},
        {R"("tagSets": {"T": []}, "communityLists": {"T": []})", R"("tagSets": {"T": [1]})", ""},
    };
    for (Case const & each : cases) {
        String fault;
        try {
            mergeLists(*listsOf(each.base, "base"), *listsOf(each.over, "over"));
        } catch (DocumentError const & error) {
            fault = error.what();
        }
        EXPECT_EQ(fault, each.fault);
    }
}

} // namespace
} // namespace Qcf::Lists
