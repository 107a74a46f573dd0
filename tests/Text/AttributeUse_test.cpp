#include "QcfLib/AttributeUse.h"
#include "tests/support/PolicyText.h"

#include <gtest/gtest.h>

using namespace Qcf;       // NOLINT(google-build-using-namespace): what is under test
using namespace Qcf::Eval; // NOLINT(google-build-using-namespace): what is under test

// What is assigned is not read; what a callee uses, its caller uses.
TEST(AttributeUse, FollowsFromTheTree) {
    struct Case {
        char const * body;
        char const * used;
    } const cases[] = {
        {"return true", ""},
        {"return med > 5", "med = read\n"},
        {"med = 5; return true", "med = write\n"},
        {"med += 5; return true", "med = read/write\n"},
        {"med = local_preference; return true", "local_preference = read\nmed = write\n"},
        {"if med is 1 { med = 5 }\n return true", "med = read/write\n"},
        {"community add { 65000:1 }\n return true", "community = read/write\n"},
        {"return callee()", "local_preference = write\nweight = read\n"},
        {"if not callee() { med = 1 }\n return true",
         "local_preference = write\nmed = write\nweight = read\n"},
        {"return prefix.length > 24", "prefix = read\n"},
    };
    for (Case const & one : cases) {
        Text::Sources sources;
        auto const policy = test::readPolicy(
            "function callee() { local_preference = 7; return weight is 2 }\nfunction f() { " +
                String(one.body) + " }",
            sources);
        EXPECT_EQ(attributesUsed(*policy.program().find("f")).toStrep(), one.used) << one.body;
    }
}

TEST(AttributeUse, TellsWhatIsNotOffered) {
    auto const used = attributesNamed({"med", "as_path", "isis_levels"}, {"med", "weight"});
    struct Case {
        AccessibleAttributes offered;
        char const * lacking;
    } const cases[] = {
        {{}, "as_path = read\nisis.levels = read\nmed = read/write\nweight = write\n"},
        {attributesNamed({"med", "as_path", "weight"}, {"med"}),
         "isis.levels = read\nweight = write\n"},
        {attributesNamed({"med", "as_path", "isis_levels", "prefix"}, {"med", "weight"}), ""},
    };
    for (Case const & one : cases) {
        EXPECT_EQ(attributesLacking(used, one.offered).toStrep(), one.lacking);
    }
    EXPECT_THROW(attributesNamed({"nothing"}, {}), std::out_of_range);
    EXPECT_THROW(attributesNamed({}, {"prefix"}), std::out_of_range);
}
