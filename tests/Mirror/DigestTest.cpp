#include "Mirror/FunctionComparison.h"
#include "Mirror/StatusFunctions.h"
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

FunctionTable tableOf(Documents::Program const & program) {
    AllFunctionStatus::Functions named;
    for (auto const & each : program.functions) {
        named.emplace(each->funcName(), each);
    }
    return test::tableOf(named);
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

/// The digest over functions f0, f1, ..., each of which says its own name.
Digest treeOf(U32 count) {
    Digester digester;
    std::vector<FunctionTable::Change> changes;
    for (U32 i = 0; i < count; ++i) {
        String const name = "f" + std::to_string(i);
        digester.add(name);
        changes.push_back({name, NamedFunction{nullptr, digester.finish()}});
    }
    return FunctionTable().with(std::move(changes)).summary().digest();
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
    FunctionTable const table = tableOf(program);
    // As versions of earlier formats have it.
    EXPECT_EQ(flatDigest(table).toString(),
              "ab9370482a8a42ffbc815fd9f6461e0a3503f3f0456c6b2630b0971505d67de3");
    EXPECT_EQ(treeOf(1).toString(),
              "12af5f0b3432b405fac6bbbe0a6c936b744a7f090d0877cbe83687ad93ce5efb");
    EXPECT_EQ(treeOf(100).toString(),
              "9337950f544f6e3030a6c2e08b14cb64f21f93e38f5bdead8f6ffb6b682993ad");
    EXPECT_EQ(FunctionTable().summary().digest().toString(),
              "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
}

// A status may have a function under any name, and is asked again after each change.
TEST(Digest, whatIsKeptOfAStatusIsWhatALookAtAllOfItFinds) {
    auto const status = allFunctionStatusFactory("test");
    auto const first = test::policy({{"b", 1}, {"d", 2, "b"}, {"f", 3}});
    status->aetIs("b", first.find("b"));
    StatusFunctions functions(status);
    auto const isKept = [&] {
        return functions.table().summary().digest() == test::digestOf(status->aet()) &&
               functions.table().size() == status->aet().size();
    };
    EXPECT_TRUE(isKept());
    status->aetIs("other", first.find("b"));
    status->aetIs("d", first.find("f"));
    status->aetIs("f", first.find("d"));
    EXPECT_TRUE(isKept());
    status->aetIs("g", first.find("f"));
    status->aetDel("g");
    status->aetDel("d");
    EXPECT_TRUE(isKept());

    StatusFunctions::Changes changes;
    changes["b"] = nullptr;
    changes["unknown"] = nullptr;
    changes["new"] = first.find("f");
    FunctionTable const after = functions.changed(functions.table(), changes);
    EXPECT_NE(after.summary().digest(), functions.table().summary().digest());
    status->aetDel("b");
    status->aetIs("new", first.find("f"));
    EXPECT_EQ(after.summary().digest(), test::digestOf(status->aet()));
    EXPECT_TRUE(isKept());
    status->reset();
    EXPECT_TRUE(isKept());
}

TEST(Digest, calleesAndNamesCount) {
    Digest const caller = digestOf(policyText({{"a", 1}, {"b", 2, "a"}}), "b");
    EXPECT_EQ(digestOf(policyText({{"c", 7}, {"a", 1}, {"b", 2, "a"}}), "b"), caller);
    EXPECT_NE(digestOf(policyText({{"a", 3}, {"b", 2, "a"}}), "b"), caller);
    EXPECT_NE(digestOf(policyText({{"x", 1}, {"b", 2, "x"}}), "b"), caller);

    auto const whole = [](std::vector<test::TestFunction> const & functions) {
        return tableOf(test::policy(functions)).summary().digest();
    };
    EXPECT_EQ(whole({{"a", 1}, {"b", 2}}), whole({{"b", 2}, {"a", 1}}));
    EXPECT_NE(whole({{"a", 1}, {"b", 2}}), whole({{"a", 2}, {"b", 1}}));
    EXPECT_NE(whole({{"a", 1}}), whole({}));
}

} // namespace
} // namespace Qcf::Mirror
