#include "Mirror/FunctionComparison.h"
#include "Mirror/FunctionDigests.h"
#include "tests/Mirror/MirrorTools.h"

#include <gtest/gtest.h>

namespace Qcf::Mirror {
namespace {

using test::policyText;

Digest digestOf(String const & document, char const * function) {
    auto const program = Documents::readProgram(document, "document");
    FunctionDigests digests;
    return digests.of(*program.find(function));
}

String function(String const & statements, String const & more = "") {
    return R"({"qcf": "aet/1", "functions": [{"name": "f", )" + more +
           R"("body": {"class": "Block", "stmts": [)" + statements +
           R"({"class": "ReturnExpression", "expr": true}]}}]})";
}

TEST(Digest, sha256InHexadecimal) {
    Digester digester;
    digester.add("ab");
    digester.add("c");
    Digest const abc = digester.finish();
    EXPECT_EQ(abc.toString(), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(Digest::parse(abc.toString()), abc);
    EXPECT_EQ(Digest::parse(abc.toString().substr(1)), std::nullopt);
    EXPECT_EQ(Digest::parse(String(64, 'g')), std::nullopt);
    digester.add("abc");
    EXPECT_EQ(digester.finish(), abc) << "starts anew after each digest";
}

TEST(Digest, keysAndSharingDoNotCount) {
    String const statement = R"({"class": "IntAssign", "lhs": "med", "rhs": 5}, )";
    String const keyed = R"({"class": "IntAssign", "key": 700, "lhs": {"class": "Med", "key": 600},
                             "rhs": {"class": "IntImmediate", "value": 5, "negative": false}}, )";
    EXPECT_EQ(digestOf(function(statement), "f"), digestOf(function(keyed), "f"));
    String const first = R"({"class": "IntAssign", "key": 9, "lhs": "med", "rhs": 5}, )";
    EXPECT_EQ(digestOf(function(statement + statement), "f"),
              digestOf(function(first + R"({"ref": 9}, )"), "f"));
}

TEST(Digest, everyDifferenceOfContentCounts) {
    std::vector<String> const documents{
        function(""),
        function(R"({"class": "IntAssign", "lhs": "med", "rhs": 5}, )"),
        function(R"({"class": "IntAssign", "lhs": "med", "rhs": 6}, )"),
        function(R"({"class": "IntAssign", "lhs": "med", "rhs": -5}, )"),
        function(R"({"class": "IntAssign", "lhs": "weight", "rhs": 5}, )"),
        function(R"({"class": "IntPlusEq", "lhs": "med", "rhs": 5}, )"),
        function(R"({"class": "IntAssign", "lhs": "med", "rhs": "input.med"}, )"),
        function(R"({"class": "IntAssign", "lhs": "med", "rhs": 5},
                    {"class": "IntAssign", "lhs": "med", "rhs": 5}, )"),
        function("", R"("argumentsExpected": true, )"),
        function("", R"("features": ["a"], )"),
        function("", R"("features": ["a", "b"], )"),
        function("", R"("features": ["a,b"], )"),
        function("", R"("metadata": {"commListsUsed": {"C": 1}}, )"),
        function("", R"("metadata": {"extCommListsUsed": {"C": 1}}, )"),
        function("", R"("accessedAttributes": {"read": ["med"]}, )"),
        function("", R"("accessedAttributes": {"write": ["med"]}, )"),
        function(R"({"class": "IfExpression", "condition": true,
                     "thenBlock": {"class": "Block", "stmts": []}}, )"),
        function(R"({"class": "IfExpression", "condition": true,
                     "thenBlock": {"class": "Block", "stmts": []},
                     "elseBlock": {"class": "Block", "stmts": []}}, )"),
    };
    std::map<String, std::size_t> seen;
    for (std::size_t i = 0; i < documents.size(); ++i) {
        auto const [at, isNew] = seen.emplace(digestOf(documents[i], "f").toString(), i);
        EXPECT_TRUE(isNew) << documents[i] << " has the digest of " << documents[at->second];
    }
    // What is compared side by side differs where digests do.
    for (std::size_t i = 0; i < documents.size(); ++i) {
        for (std::size_t j = 0; j < documents.size(); ++j) {
            auto const a = Documents::readProgram(documents[i], "document");
            auto const b = Documents::readProgram(documents[j], "document");
            EXPECT_EQ(FunctionComparison(1000).equal(*a.find("f"), *b.find("f")), i == j)
                << documents[i] << " and " << documents[j];
        }
    }
}

// Builds of all ages must agree about versions.
TEST(Digest, theBytesThatItIsOverStayAsTheyAre) {
    auto const program = Documents::readProgram(
        R"({"qcf": "aet/1", "functions": [
            {"name": "a", "features": ["x"], "body": {"class": "Block", "stmts": [
                {"class": "IntAssign", "lhs": "med", "rhs": 5},
                {"class": "IntAssign", "lhs": "local_preference", "rhs": -5},
                {"class": "ReturnExpression", "expr": true}]}},
            {"name": "b", "body": {"class": "Block", "stmts": [
                {"class": "FunctionCallExpression", "calleeName": "a"},
                {"class": "IfExpression",
                 "condition": {"class": "IntSetHasAnyImmediate", "lhs": "community",
                               "rhs": ["64512:7", 9]},
                 "thenBlock": {"class": "Block", "stmts": [
                     {"class": "IntAssign", "lhs": "med", "rhs": 5}]}},
                {"class": "ReturnExpression", "expr": true}]}}]})",
        "document");
    AllFunctionStatus::Functions named;
    for (auto const & each : program.functions) {
        named.emplace(each->funcName(), each);
    }
    EXPECT_EQ(FunctionDigests().of(named).toString(),
              "ab9370482a8a42ffbc815fd9f6461e0a3503f3f0456c6b2630b0971505d67de3");
}

TEST(Digest, whatChangesWouldMakeIsWhatTheyMake) {
    auto const before = test::policy({{"b", 1}, {"d", 2}, {"f", 3}});
    auto const after = test::policy({{"a", 1}, {"d", 5}, {"e", 6}, {"z", 7}});
    auto const functionsOf = [](Documents::Program const & program) {
        AllFunctionStatus::Functions named;
        for (auto const & each : program.functions) {
            named.emplace(each->funcName(), each);
        }
        return named;
    };
    FunctionDigests::Changes changes;
    for (char const * gone : {"b", "f", "unknown"}) {
        changes[gone] = nullptr;
    }
    for (auto const & each : after.functions) {
        changes[each->funcName()] = each;
    }
    FunctionDigests digests;
    EXPECT_EQ(digests.of(functionsOf(before), changes), digests.of(functionsOf(after)));
    EXPECT_EQ(digests.of({}, changes), digests.of(functionsOf(after)));
    EXPECT_NE(digests.of(functionsOf(before)), digests.of(functionsOf(after)));
}

TEST(Digest, calleesAndNamesCount) {
    Digest const caller = digestOf(policyText({{"a", 1}, {"b", 2, "a"}}), "b");
    EXPECT_EQ(digestOf(policyText({{"c", 7}, {"a", 1}, {"b", 2, "a"}}), "b"), caller);
    EXPECT_NE(digestOf(policyText({{"a", 3}, {"b", 2, "a"}}), "b"), caller);
    EXPECT_NE(digestOf(policyText({{"x", 1}, {"b", 2, "x"}}), "b"), caller);

    auto const whole = [](std::vector<test::TestFunction> const & functions) {
        auto const program = test::policy(functions);
        AllFunctionStatus::Functions named;
        for (auto const & each : program.functions) {
            named.emplace(each->funcName(), each);
        }
        FunctionDigests digests;
        return digests.of(named);
    };
    EXPECT_EQ(whole({{"a", 1}, {"b", 2}}), whole({{"b", 2}, {"a", 1}}));
    EXPECT_NE(whole({{"a", 1}, {"b", 2}}), whole({{"a", 2}, {"b", 1}}));
    EXPECT_NE(whole({{"a", 1}}), whole({}));
}

} // namespace
} // namespace Qcf::Mirror
