#include "Lists/PatternShape.h"

#include "Lists/Pattern.h"

#include <gtest/gtest.h>

namespace Qcf::Lists {
namespace {

TEST(PatternShapes, TellWhatMayBeSearchedForWithOthers) {
    struct Case {
        Joining joining;
        std::vector<char const *> expressions;
    };
    Case const cases[] = {
        {Joining::any,
         {"_65001_", "^65001$", "65001", "_(174|701|(?:2914|3257))_", "_1_2_", ":666$", "65000:1",
          "_12?_", ".*_65001_.*", "^1_.*$", "", "()", "a|b"}},
        {Joining::few,
         {"_42[0-9]{8}_", "_(0|6449[6-9]|64[5-9][0-9]{2}|65[0-9]{3})_", "^1299_[0-9]+_(174|701)_",
          "^[0-9]+_[0-9]+_7$", "^1:\\d+$", "_1[0-9]?_", "_6[45][0-9]{3,4}$", "_1[0-9]*"}},
        // Loops in which others may begin, and what stands behind them.
        {Joining::alone,
         {"7.{20}12345", "_[0-9]*123[0-9]*_[0-9]*456x", "_[0-9]*1_", "7[0-9]{20}1", "1[0-9]", "1*2",
          "_1_.*_2_", "(_1)+", "_(1)*2_", "_([0-9]+|1)2_", "_(1|[0-9]+)2_", "_((1[0-9]*))2_",
          "_[0-9]+_[0-9]+_1_", "_1[0-9]_|1[0-9]"}},
        // What is told in other ways than those of lists.
        {Joining::alone,
         {"[^0-9]1", "(?i)a", "\\Q1", "(?P<n>1)", "\\b1", "[_]1", "1.2", "1{", "x{2}", "[0-9",
          "\\.", "^*"}},
    };
    for (Case const & c : cases) {
        for (char const * const expression : c.expressions) {
            EXPECT_EQ(joiningOf(asPathExpression(expression)), c.joining) << expression;
        }
    }
}

} // namespace
} // namespace Qcf::Lists
