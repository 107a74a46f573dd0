#include "tests/Documents/DocumentTools.h"

#include <gtest/gtest.h>

namespace Qcf::Documents::test {

namespace {

struct ErrorCase {
    String document;
    char const * error;
};

void expectErrors(std::initializer_list<ErrorCase> cases) {
    for (ErrorCase const & each : cases) {
        EXPECT_EQ(errorOf(each.document), String("f.json:") + each.error) << each.document;
    }
}

} // namespace

TEST(DocumentErrors, OfTheDocumentItself) {
    expectErrors({
        {"[]", ": wants object, found empty array"},
        {R"({"functions":[]})", ": wants key \"qcf\", found none"},
        {R"({"qcf":"lists/1","functions":[]})", "/qcf: qcf wants \"aet/1\", found \"lists/1\""},
        {R"({"qcf":"aet/1"})", ": wants key \"functions\", found none"},
        {R"({"qcf":"aet/1","functions":{}})",
         "/functions: functions wants array, found empty object"},
        {R"({"qcf":"aet/1","functions":[],"nodes":7})",
         "/nodes: nodes wants array, found number 7"},
        {R"({"qcf":"aet/1","functions":[],"node":[]})",
         "/node: wants only keys qcf, nodes, functions, found unknown key \"node\"; did you mean "
         "\"nodes\"?"},
        {R"({"qcf":"aet/1","functions":[5]})",
         "/functions/0: functions wants object, found number 5"},
        {R"({"qcf":"aet/1","functions":[{"body":{"class":"Block"}}]})",
         "/functions/0: Function.funcName wants String, found none"},
        {R"({"qcf":"aet/1","functions":[{"name":"f"}]})",
         "/functions/0: Function.body wants Block, found none"},
        {R"({"qcf":"aet/1","functions":[{"name":"f","body":true}]})",
         "/functions/0/body: Function.body wants Block, found true"},
        {R"({"qcf":"aet/1","functions":[{"name":"f","body":{"class":"Block"}},
            {"name":"f","body":{"class":"Block"}}]})",
         "/functions/1/name: Function.funcName wants name that no other function has, found \"f\""},
        {R"({"qcf":"aet/1","functions":[{"name":"f","body":{"class":"Block"},"class":"Function"}]})",
         "/functions/0/class: Function wants only keys key, name, metadata, features, "
         "accessedAttributes, argumentsExpected, body, found unknown key \"class\""},
        {R"({"qcf":"aet/1","nodes":[{"ref":1}],"functions":[]})",
         "/nodes/0: node wants object with \"class\" or \"ref\", found object"},
    });
}

TEST(DocumentErrors, OfChildren) {
    expectErrors({
        {documentOf(R"({"class":"IntAssign","lhs":"afi","rhs":1})"),
         "/functions/0/body/stmts/0/lhs: IntAssign.lhs wants IntModifiable, found Afi (\"afi\")"},
        {documentOf(R"({"class":"IntAssign","lhs":5,"rhs":1})"),
         "/functions/0/body/stmts/0/lhs: IntAssign.lhs wants IntModifiable, found number 5"},
        {documentOf(R"({"class":"IntAssign","lhs":"med","rhs":"meed"})"),
         "/functions/0/body/stmts/0/rhs: IntAssign.rhs wants Int, found \"meed\"; did you mean "
         "\"med\"?"},
        {documentOf(R"({"class":"IntAssign","lhs":"med"})"),
         "/functions/0/body/stmts/0: IntAssign.rhs wants Int, found none"},
        {documentOf(R"({"class":"IntAssign","lhs":"med","rhs":null})"),
         "/functions/0/body/stmts/0/rhs: IntAssign.rhs wants Int, found null"},
        {documentOf(R"({"class":"IntAssign","lhs":"med","rhs":1,"ths":1})"),
         "/functions/0/body/stmts/0/ths: IntAssign wants only keys key, lhs, rhs, found unknown "
         "key \"ths\"; did you mean \"lhs\"?"},
        {documentOf(R"({"class":"IntAsign"})"),
         "/functions/0/body/stmts/0/class: ExpressionList.entry wants name of a node class, as qcf "
         "nodes "
         "lists them, found \"IntAsign\"; did you mean \"IntAssign\"?"},
        {documentOf(R"({"class":"IntModifiable"})"),
         "/functions/0/body/stmts/0/class: ExpressionList.entry wants name of a node class, as qcf "
         "nodes "
         "lists them, found \"IntModifiable\""},
        {documentOf(R"({"clas":"Med"})"),
         "/functions/0/body/stmts/0: ExpressionList.entry wants Expression, found object"},
        {documentOf(R"({"class":"Med"})"),
         "/functions/0/body/stmts/0: ExpressionList.entry wants Expression, found Med"},
        {documentOf("null"), "/functions/0/body/stmts/0: ExpressionList.entry wants Expression, "
                             "found null"},
        {documentOf(R"({"class":"Block","stmts":{"class":"IntLinkedList"}})"),
         "/functions/0/body/stmts/0/stmts: Block.stmts wants ExpressionList, found IntLinkedList"},
        {documentOf(R"({"class":"Block","stmts":true})"),
         "/functions/0/body/stmts/0/stmts: Block.stmts wants ExpressionList, found true"},
        {documentOf(R"({"class":"LogicalOperatorExpression","operatorList":[]})"),
         "/functions/0/body/stmts/0/operatorList: LogicalOperatorExpression.operatorList wants "
         "LogicalOperatorList, found empty array"},
        {documentOf(R"({"class":"LogicalOperatorExpression","operatorList":["xor"]})"),
         "/functions/0/body/stmts/0/operatorList/0: LogicalOperatorList.entry wants "
         "LogicalOperator, found \"xor\""},
        {documentOf(R"({"class":"LogicalOperatorExpression","expressionList":[]})"),
         "/functions/0/body/stmts/0: LogicalOperatorExpression.operatorList wants "
         "LogicalOperatorList, found none"},
    });
}

TEST(DocumentErrors, OfReferencesAndKeys) {
    expectErrors({
        {documentOf(R"({"ref":99})"),
         "/functions/0/body/stmts/0/ref: ExpressionList.entry wants key "
         "of an earlier node, found key 99 of none"},
        {documentOf(R"({"ref":9})", R"({"class":"Med","key":9})"),
         "/functions/0/body/stmts/0: ExpressionList.entry wants Expression, found Med (key 9)"},
        {documentOf(R"({"ref":9,"key":1})", R"({"class":"ExitExpression","expr":true,"key":9})"),
         "/functions/0/body/stmts/0: ExpressionList.entry wants only key ref, found 2 keys"},
        {documentOf(R"({"ref":0})"), "/functions/0/body/stmts/0/ref: wants integer from 1 to "
                                     "18446744073709551615, found number "
                                     "0"},
        {documentOf(R"({"ref":5},{"class":"ExitExpression","expr":true,"key":5})"),
         "/functions/0/body/stmts/0/ref: ExpressionList.entry wants key of an earlier node, found "
         "key 5 of none"},
        {documentOf("", R"({"class":"Med","key":0})"),
         "/nodes/0/key: wants integer from 1 to 18446744073709551615, found number 0"},
        {documentOf("", R"({"class":"Med","key":"1"})"),
         "/nodes/0/key: wants integer from 1 to 18446744073709551615, found \"1\""},
        {documentOf("", R"({"class":"Med","key":4},{"class":"Tag","key":4})"),
         "/nodes/1/key: wants key of its own, found key 4 again"},
        {documentOf("", R"({"class":"Med"},{"class":"Tag","key":1})"),
         "/nodes/1/key: wants key of its own, found key 1 again"},
        {documentOf("", R"({"class":"NotExpression","key":2,"expr":true})"),
         "/nodes/0/key: wants key of its own, found key 2 again"},
    });
}

TEST(DocumentErrors, OfScalars) {
    auto const immediate = [](char const * className, char const * value) {
        return documentOf("", String(R"({"class":")") + className + R"(","value":)" + value + "}");
    };
    expectErrors({
        {documentOf("", R"({"class":"IntImmediate","negative":true})"),
         "/nodes/0: IntImmediate.value wants U64, found none"},
        {documentOf("",
                    R"({"class":"IntImmediate","value":18446744073709551616,"negative":false})"),
         "/nodes/0/value: IntImmediate.value wants integer from 0 to 18446744073709551615, found "
         "number 18446744073709551616"},
        {documentOf("", R"({"class":"IntImmediate","value":-1,"negative":false})"),
         "/nodes/0/value: IntImmediate.value wants integer from 0 to 18446744073709551615, found "
         "number -1"},
        {documentOf("", R"({"class":"IntImmediate","value":1.0,"negative":false})"),
         "/nodes/0/value: IntImmediate.value wants integer from 0 to 18446744073709551615, found "
         "number 1.0"},
        {documentOf("", R"({"class":"IntImmediate","value":1,"negative":0})"),
         "/nodes/0/negative: IntImmediate.negative wants true or false, found number 0"},
        {documentOf("", R"({"class":"IntVariable","name":"x","argVectorIndex":256})"),
         "/nodes/0/argVectorIndex: IntVariable.argVectorIndex wants integer from 0 to 255, found "
         "number 256"},
        {documentOf("", R"({"class":"IntVariable","name":7,"argVectorIndex":1})"),
         "/nodes/0/name: IntVariable.name wants string, found number 7"},
        {documentOf("", R"({"class":"PrefixListImmediate","name":"P","isV4":true,
                            "indexInAet":65536})"),
         "/nodes/0/indexInAet: PrefixListImmediate.indexInAet wants integer from 0 to 65535, found "
         "number 65536"},
        {immediate("BandwidthImmediate", "1e39"),
         "/nodes/0/value: BandwidthImmediate.value wants number within the range of a 32-bit "
         "float, found number 1e39"},
        {immediate("TriStateBoolImmediate", "\"yes\""),
         "/nodes/0/value: TriStateBoolImmediate.value wants \"true\", \"false\" or \"unknown\", "
         "found \"yes\""},
        {immediate("IpAddressImmediate", "\"10.0.0.256\""),
         "/nodes/0/value: IpAddressImmediate.value wants IP address, found \"10.0.0.256\""},
        {immediate("IpPrefixImmediate", "\"10.0.0.1/8\""),
         "/nodes/0/value: IpPrefixImmediate.value wants prefix without host bits, found "
         "\"10.0.0.1/8\""},
        {immediate("MacAddressImmediate", "\"00:1c:73\""),
         "/nodes/0/value: MacAddressImmediate.value wants MAC address, found \"00:1c:73\""},
        {immediate("EsiImmediate", "\"00\""),
         "/nodes/0/value: EsiImmediate.value wants null or ten octets joined by colons, found "
         "\"00\""},
        {immediate("CommunityValueImmediate", "\"65000:1\""),
         "/nodes/0/value: CommunityValueImmediate.value wants large or extended community, found "
         "\"65000:1\""},
        {immediate("CommunityValueImmediate", R"({"value":1,"type":4294967296})"),
         "/nodes/0/value/type: CommunityValueImmediate.value.type wants integer from 0 to "
         "4294967295, found number 4294967296"},
        {immediate("ResolutionRibsImmediate", R"({"entries":[1]})"),
         "/nodes/0/value: ResolutionRibsImmediate.value wants key \"useDefault\", found none"},
        {documentOf(R"({"class":"IntInImmediateSet","lhs":"med","rhs":["65536:1"]})"),
         "/functions/0/body/stmts/0/rhs/0: IntLinkedList.entry wants Int, found \"65536:1\""},
        {documentOf(R"({"class":"AsPathPrepend","lhs":"as_path","rhs":["65000:1"]})"),
         "/functions/0/body/stmts/0/rhs/0: IntLinkedList.entry wants Int, found \"65000:1\""},
        {documentOf(R"({"class":"IpPrefixIs","lhs":"prefix","rhs":"10.0.0.1/8"})"),
         "/functions/0/body/stmts/0/rhs: IpPrefixIs.rhs wants IpPrefix, found \"10.0.0.1/8\""},
    });
}

TEST(DocumentErrors, OfFunctionMembers) {
    auto const function = [](String const & member) {
        return R"({"qcf":"aet/1","functions":[{"name":"f","body":{"class":"Block"},)" + member +
               "}]}";
    };
    expectErrors({
        {function(R"("metadata":{"commListUsed":{}})"),
         "/functions/0/metadata/commListUsed: Function.metadata wants only keys commListsUsed, "
         "extCommListsUsed, largeCommListsUsed, tagSetsUsed, asPathAccessListsUsed, "
         "V4PrefixListsUsed, V6PrefixListsUsed, DynPrefixListsUsed, roaTablesUsed, tunnelRibsUsed, "
         "dynPrefixListsUsed, found unknown key \"commListUsed\"; did you mean \"commListsUsed\"?"},
        {function(R"("metadata":{"commListsUsed":["CL"]})"),
         "/functions/0/metadata/commListsUsed: Function.metadata.commListsUsed wants object from "
         "name to slot, found array"},
        {function(R"("metadata":{"commListsUsed":{"CL":70000}})"),
         "/functions/0/metadata/commListsUsed/CL: Function.metadata.commListsUsed wants integer "
         "from 0 to 65535, found number 70000"},
        {function(R"("metadata":{"commListsUsed":{"A":1,"B":1}})"),
         "/functions/0/metadata: metadata.commListsUsed wants \"B\" at slot 1 throughout the "
         "document, found \"A\" there"},
        {R"({"qcf":"aet/1","functions":[
            {"name":"f","body":{"class":"Block"},"metadata":{"tagSetsUsed":{"T":1}}},
            {"name":"g","body":{"class":"Block"},"metadata":{"tagSetsUsed":{"T":2}}}]})",
         "/functions/1/metadata: metadata.tagSetsUsed wants \"T\" at slot 2 throughout the "
         "document, found slot 1"},
        {function(R"("features":"a")"),
         "/functions/0/features: Function.features wants array of strings, found \"a\""},
        {function(R"("accessedAttributes":{"read":["bgp.best_path"]})"),
         "/functions/0/accessedAttributes/read/0: Function.accessedAttributes.read wants name of "
         "an attribute-set flag, as qcf schema lists them, found \"bgp.best_path\"; did you mean "
         "\"bgp_best_path\"?"},
        {function(R"("accessedAttributes":{"write":["afi"]})"),
         "/functions/0/accessedAttributes/write/0: Function.accessedAttributes.write wants name "
         "of an attribute-set flag, as qcf schema lists them, found \"afi\""},
        {function(R"("argumentsExpected":1)"),
         "/functions/0/argumentsExpected: Function.argumentsExpected wants true or false, found "
         "number 1"},
    });
}

// What would end the process when it is evaluated is refused when it is read.
TEST(DocumentErrors, OfTreesThatCannotBeEvaluated) {
    auto const called = [](String const & body, String const & arguments) {
        return R"({"qcf":"aet/1","functions":[{"name":"g","body":{"class":"Block","stmts":[)" +
               body + R"(]}},{"name":"f","body":{"class":"Block","stmts":[
                {"class":"FunctionCallExpression","calleeName":"g","argListHead":)" +
               arguments + "}]}}]}";
    };
    String const reads =
        R"({"class":"IntIs","lhs":{"class":"IntVariable","name":"x","argVectorIndex":1},"rhs":1})";
    expectErrors({
        {documentOf(R"({"class":"NotExpression","expr":{"class":"ReturnExpression","expr":true}})"),
         "/functions/0/body/stmts/0: NotExpression.expr wants operand that does not return, found "
         "one that can"},
        {documentOf(R"({"class":"IfExpression","thenBlock":{"class":"Block"},"condition":
            {"class":"Block","stmts":[true,{"class":"SetNextHopSelfImplExpr"}]}})"),
         "/functions/0/body/stmts/0: IfExpression.condition wants operand that does not return, "
         "found one that can"},
        {documentOf(R"({"class":"IntInImmediateSetWithRanges","lhs":1,"lowerBounds":[1,2],
            "upperBounds":[3]})"),
         "/functions/0/body/stmts/0: IntInImmediateSetWithRanges wants as many lower bounds as "
         "upper bounds, found 2 and 1"},
        {called(reads, "[1]"), "/functions/1/body/stmts/0: call of g wants 2 integer arguments at "
                               "least, found 1"},
        {called(reads, "[true,1]"),
         "/functions/1/body/stmts/0: call of g wants 2 integer arguments "
         "at least, found 1"},
        {called(R"({"class":"AsPathRemoveImplExpr"})", "[]"),
         "/functions/1/body/stmts/0: call of g wants 1 integer set as argument at least, found 0"},
        {called(R"({"class":"AsPathRemoveImplExpr"})", R"(["community"])"),
         "/functions/1/body/stmts/0: call of g wants IntSetImmediate as argument 1 of 1, "
         "found Community"},
        {called(R"({"class":"AsPathReplaceImplExpr"})",
                R"([-1,{"class":"IntSetImmediate","head":null,"cachable":true}])"),
         "/functions/1/body/stmts/0: call of g wants integer of 32 bits as argument 1 of 2, "
         "found -1"},
        {called("true", R"([{"class":"IntSetImmediate","cachable":false,"head":
            [{"class":"IntVariable","name":"x","argVectorIndex":0}]}])"),
         "/functions/1/body/stmts/0/argListHead/0: FunctionArgumentList.entry wants value that "
         "does not depend on the caller's own arguments, found IntSetImmediate"},
        {documentOf(R"({"class":"FunctionCallExpression","calleeName":"h"})"),
         "/functions/0/body/stmts/0/calleeName: FunctionCallExpression.calleePtr wants Function "
         "that stands before its callers, found no earlier function \"h\""},
        {documentOf(R"({"class":"FunctionCallExpression","calleeName":"f"})"),
         "/functions/0/body/stmts/0/calleeName: FunctionCallExpression.calleePtr wants Function "
         "that stands before its callers, found no earlier function \"f\""},
    });
}

} // namespace Qcf::Documents::test
