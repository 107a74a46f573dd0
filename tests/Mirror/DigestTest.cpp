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
