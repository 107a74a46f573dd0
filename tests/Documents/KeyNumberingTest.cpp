#include "tests/Documents/DocumentTools.h"

#include <gtest/gtest.h>

namespace Qcf::Documents::test {

namespace {

struct NumberingCase {
    char const * name;
    String document;
    char const * keys;
};

String chain(char const * operands, char const * operators) {
    return String(R"({"class":"LogicalOperatorExpression","operatorList":)") + operators +
           R"(,"expressionList":)" + operands + "}";
}

} // namespace

TEST(KeyNumbering, FollowsTheOrderOfLogging) {
    char const * const threeOperands =
        R"([{"class":"IntIs","lhs":1,"rhs":1},{"class":"IntIs","lhs":1,"rhs":1},)"
        R"({"class":"IntIs","lhs":1,"rhs":1}])";
    NumberingCase const cases[] = {
        {"children before parents, operands in field order, the function at the end",
         documentOf(
             R"({"class":"ReturnExpression","expr":{"class":"IntLessThan","rhs":5,"lhs":"med"}})"),
         "1:Med 2:IntImmediate 3:IntLessThan 4:ReturnExpression 5:ExpressionList 6:Block "
         "7:Function"},
        {"entries in source order, then links from last to first",
         documentOf(R"(true,{"class":"SetNextHopSelfImplExpr"},false)"),
         "1:TriStateBoolImmediate 2:TriStateBoolExpression 3:SetNextHopSelfImplExpr "
         "4:TriStateBoolImmediate 5:TriStateBoolExpression 6:ExpressionList 7:ExpressionList "
         "8:ExpressionList 9:Block 10:Function"},
        {"links written as nodes count as those of an array",
         R"({"qcf":"aet/1","functions":[{"name":"f","body":{"class":"Block","stmts":
            {"class":"ExpressionList","entry":true,"next":
            {"class":"ExpressionList","entry":false,"next":null}}}}]})",
         "1:TriStateBoolImmediate 2:TriStateBoolExpression 3:TriStateBoolImmediate "
         "4:TriStateBoolExpression 5:ExpressionList 6:ExpressionList 7:Block 8:Function"},
        {"operators of a logical chain between its operands, links behind",
         documentOf(chain(threeOperands, R"(["or","or"])")),
         "1:IntImmediate 2:IntIs 3:IntIs 4:OrOperator 5:IntIs 6:OrOperator 7:ExpressionList "
         "8:ExpressionList 9:ExpressionList 10:LogicalOperatorList 11:LogicalOperatorList "
         "12:LogicalOperatorExpression 13:ExpressionList 14:Block 15:Function"},
        {"the same with operators written as nodes",
         documentOf(chain(threeOperands, R"({"class":"LogicalOperatorList","entry":
            {"class":"AndOperator"},"next":[{"class":"AndOperator","key":50}]})")),
         "1:IntImmediate 2:IntIs 3:IntIs 4:AndOperator 5:IntIs 50:AndOperator 51:ExpressionList "
         "52:ExpressionList 53:ExpressionList 54:LogicalOperatorList 55:LogicalOperatorList "
         "56:LogicalOperatorExpression 57:ExpressionList 58:Block 59:Function"},
        {"a condition, its branches, the whole",
         documentOf(R"({"class":"IfExpression","elseBlock":{"class":"Block"},
            "thenBlock":{"class":"Block"},"condition":{"class":"IntIs","lhs":1,"rhs":1}})"),
         "1:IntImmediate 2:IntIs 3:Block 4:Block 5:IfExpression 6:ExpressionList 7:Block "
         "8:Function"},
        {"elements of a set before its links",
         documentOf(R"({"class":"IntSetHasAnyImmediate","lhs":"community","rhs":[7,8]})"),
         "1:Community 2:IntImmediate 3:IntImmediate 4:IntLinkedList 5:IntLinkedList "
         "6:IntSetImmediate 7:IntSetHasAnyImmediate 8:ExpressionList 9:Block 10:Function"},
        {"a given key counts from its node's own place",
         documentOf(R"({"class":"NotExpression","key":20,"expr":
            {"class":"IntIs","lhs":{"class":"IntImmediate","key":9,"value":1,"negative":false},
             "rhs":2}})"),
         "9:IntImmediate 10:IntImmediate 11:IntIs 20:NotExpression 21:ExpressionList 22:Block "
         "23:Function"},
        {"a small given key raises nothing",
         documentOf(R"(true,{"class":"SetNextHopSelfImplExpr","key":40},
            {"class":"SetNextHopSelfImplExpr","key":3},{"class":"SetNextHopSelfImplExpr"})"),
         "1:TriStateBoolImmediate 2:TriStateBoolExpression 3:SetNextHopSelfImplExpr "
         "40:SetNextHopSelfImplExpr 41:SetNextHopSelfImplExpr 42:ExpressionList "
         "43:ExpressionList 44:ExpressionList 45:ExpressionList 46:Block 47:Function"},
        {"entries of nodes before functions",
         documentOf(R"({"ref":5})", R"({"class":"SetNextHopSelfImplExpr","key":5})"),
         "5:SetNextHopSelfImplExpr 6:ExpressionList 7:Block 8:Function"},
    };
    for (auto const & each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(keysOf(read(each.document)), each.keys);
    }
}

TEST(KeyNumbering, TheLargestKeyIsUsedOnce) {
    auto const document = [](char const * more) {
        return documentOf(more, R"({"class":"Med","key":18446744073709551615})");
    };
    EXPECT_EQ(errorOf(document("true")),
              "f.json:/functions/0/body/stmts/0: wants key above 18446744073709551615, found none "
              "that is larger");
    EXPECT_EQ(countOf(read(R"({"qcf":"aet/1","nodes":[{"class":"Med","key":18446744073709551615}],
                          "functions":[]})"),
                      "Med"),
              1U);
}

} // namespace Qcf::Documents::test
