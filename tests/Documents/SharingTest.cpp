#include "tests/Documents/DocumentTools.h"

#include <gtest/gtest.h>

namespace Qcf::Documents::test {

namespace {

/// A statement that holds the value of a set.
String has(String const & set) {
    return R"({"class":"IntSetHasAnyImmediate","lhs":"community","rhs":)" + set + "}";
}

struct SharingCase {
    char const * name;
    String document;
    char const * className;
    std::size_t count;
};

} // namespace

TEST(Sharing, ValuesAndTheirListsAreSharedAndNothingElse) {
    char const * const call =
        R"({"class":"FunctionCallExpression","calleeName":"g","argListHead":[1,"med"]})";
    String const calls =
        R"({"qcf":"aet/1","functions":[{"name":"g","body":{"class":"Block"}},
            {"name":"f","body":{"class":"Block","stmts":[)" +
        String(call) + "," + call + "]}}]}";
    SharingCase const cases[] = {
        {"attributes by name and by class", documentOf(R"({"class":"IntIs","lhs":"med","rhs":
            {"class":"Med"}})"),
         "Med", 1},
        {"equal sets in both forms",
         documentOf(has("[1,2]") + "," +
                    has(R"({"class":"IntSetImmediate","head":[1,2],"cachable":true})")),
         "IntSetImmediate", 1},
        {"links of a common tail", documentOf(has("[1,2,3]") + "," + has("[9,2,3]")),
         "IntLinkedList", 4},
        {"sets of another order differ", documentOf(has("[1,2]") + "," + has("[2,1]")),
         "IntSetImmediate", 2},
        {"sets that differ in the flag alone",
         documentOf(has("[1]") + "," +
                    has(R"({"class":"IntSetImmediate","head":[1],"cachable":false})")),
         "IntSetImmediate", 2},
        {"signs differ", documentOf(R"({"class":"IntIs","lhs":0,"rhs":-0})"), "IntImmediate", 2},
        {"floats by their bits", documentOf(R"({"class":"BandwidthIs","lhs":0.0,"rhs":-0.0})"),
         "BandwidthImmediate", 2},
        {"arguments of calls", calls, "FunctionArgumentList", 2},
        {"the calls themselves are not", calls, "FunctionCallExpression", 2},
        {"expressions", documentOf("true,true"), "TriStateBoolExpression", 2},
        {"expressions by reference", documentOf(R"({"class":"SetNextHopSelfImplExpr","key":9},
            {"ref":9})"),
         "SetNextHopSelfImplExpr", 1},
        {"a value with a key of its own stays itself", documentOf(R"({"class":"IntIs","lhs":1,"rhs":
            {"class":"IntImmediate","key":9,"value":1,"negative":false}})"),
         "IntImmediate", 2},
        {"but stands for later ones without", documentOf(R"({"class":"IntIs","rhs":1,"lhs":
            {"class":"IntImmediate","key":9,"value":1,"negative":false}})"),
         "IntImmediate", 1},
        {"sets over lists that are kept apart by keys are one",
         documentOf(
             has(R"({"class":"IntSetImmediate","head":[{"class":"IntImmediate","key":30,"value":1,
                "negative":false}],"cachable":true})") +
             "," +
             has(R"({"class":"IntSetImmediate","head":{"class":"IntLinkedList","key":40,"entry":
                {"class":"IntImmediate","key":39,"value":1,"negative":false}},"cachable":true})")),
         "IntSetImmediate", 1},
        {"names of lists by family",
         documentOf(
             R"({"class":"IpPrefixMatchPrefixList","lhs":"prefix","rhs":
                {"class":"PrefixListImmediate","name":"P","isV4":true}},
               {"class":"IpPrefixMatchPrefixList","lhs":"prefix","rhs":
                {"class":"PrefixListImmediate","name":"P","isV4":false}})"),
         "PrefixListImmediate", 2},
    };
    for (auto const & each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(countOf(read(each.document), each.className), each.count);
    }
}

TEST(Sharing, ANodeStandsForLaterOnesUnderItsOwnKey) {
    auto const program =
        read(documentOf(R"({"class":"IntIs","lhs":3,"rhs":3})",
                        R"({"class":"IntImmediate","key":7,"value":3,"negative":false})"));
    EXPECT_EQ(keysOf(program), "7:IntImmediate 8:IntIs 9:ExpressionList 10:Block 11:Function");
}

} // namespace Qcf::Documents::test
