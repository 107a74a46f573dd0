#include "tests/Documents/DocumentTools.h"
#include "tests/support/RecordingContext.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Qcf::Documents::test {

namespace {

using ::testing::HasSubstr;

/// Nodes upon each other by references: `text(key, reference to the one below)`. Keys leave room
/// for nodes without any between them.
template <typename Text>
String tower(U32 height, Text text) {
    String nodes = R"({"class":"IntIs","key":100,"lhs":"med","rhs":"med"})";
    String below = R"({"ref":100})";
    for (U32 i = 2; i <= height; ++i) {
        String const key = std::to_string(100 * i);
        nodes += "," + text(key, below);
        below = "{\"ref\":" + key + "}";
    }
    return documentOf(below, nodes);
}

String tall(char const * kind, U32 height) {
    return tower(height, [&](String const & key, String const & below) {
        String const node = String(R"({"class":")") + kind + R"(","key":)" + key;
        if (String(kind) == "IfExpression") {
            return node + R"(,"condition":false,"thenBlock":{"class":"Block"},"elseBlock":)" +
                   below + "}";
        }
        if (String(kind) == "Block") {
            return node + R"(,"stmts":[)" + below + "]}";
        }
        if (String(kind) == "LogicalOperatorExpression") {
            return node + R"(,"operatorList":["or"],"expressionList":[false,)" + below + "]}";
        }
        return node + R"(,"expr":)" + below + "}";
    });
}

void useAll(Program const & program) {
    auto const & function = *program.functions[0];
    auto const context = makePtr<Eval::test::RecordingContext>();
    function.eval(context);
    function.hash(0);
    EXPECT_TRUE(function.verifySanity(function.metadata()));
    EXPECT_TRUE(function.compare(PtrConst<Eval::AetNodeBase>(read(written(program)).functions[0])));
    auto const dump = makePtr<DumpContext>();
    function.dumpState(PtrConst<DumpContext>(dump), 0);
}

} // namespace

TEST(Limits, TheDeepestTreeCanBeUsed) {
    // The body stands above the tower, and an operand below it.
    U32 const height = Eval::maximumTreeDepth - 2;
    for (char const * const kind : {"NotExpression", "ExitExpression", "IfExpression", "Block",
                                    "LogicalOperatorExpression"}) {
        SCOPED_TRACE(kind);
        useAll(read(tall(kind, height)));
        EXPECT_THAT(errorOf(tall(kind, height + 1)),
                    HasSubstr("Block wants tree of at most 2048 levels, found a deeper one"));
        EXPECT_THAT(errorOf(tall(kind, 2 * height)),
                    HasSubstr(String(kind) + " wants tree of at most 2048 levels, found"));
    }
}

TEST(Limits, ADocumentMayBeNestedAsDeepAsItsParserAllows) {
    String text = "true";
    for (U32 i = 0; i < 500; ++i) {
        text = R"({"class":"NotExpression","expr":)" + text + "}";
    }
    useAll(read(documentOf(text)));
}

TEST(Limits, AChainOfCallsIsADeepTree) {
    // Each call adds itself and the body of the function.
    constexpr U32 most = (Eval::maximumTreeDepth - 1) / 2;
    String text = R"({"qcf":"aet/1","functions":[{"name":"f0","body":{"class":"Block"}})";
    for (U32 i = 1; i <= most + 1; ++i) {
        if (i == most + 1) {
            EXPECT_EQ(errorOf(text + "]}"), "");
        }
        text += R"(,{"name":"f)" + std::to_string(i) +
                R"(","body":{"class":"Block","stmts":[{"class":"FunctionCallExpression",)"
                R"("calleeName":"f)" +
                std::to_string(i - 1) + "\"}]}}";
    }
    EXPECT_THAT(errorOf(text + "]}"), HasSubstr("levels, found a deeper one"));
}

TEST(Limits, ATreeThatUnfoldsBeyondMeasureIsRefused) {
    auto const doubling = [](String const & key, String const & below) {
        return R"({"class":"Block","key":)" + key + R"(,"stmts":[)" + below + "," + below + "]}";
    };
    EXPECT_EQ(errorOf(tower(16, doubling)), "");
    EXPECT_THAT(errorOf(tower(64, doubling)),
                HasSubstr("nodes with shared ones counted at each place, found a larger one"));
}

TEST(Limits, ALongListIsNoDeepTree) {
    String set = "0";
    for (U32 i = 1; i < 200'000; ++i) {
        set += "," + std::to_string(i);
    }
    auto const program =
        read(documentOf(R"({"class":"IntInImmediateSet","lhs":"med","rhs":[)" + set + "]}"));
    EXPECT_EQ(countOf(program, "IntLinkedList"), 200'000U);
    useAll(program);
}

// Lists that many sets share would each be kept on their own.
TEST(Limits, ConstantElementsAreCountedOverTheDocument) {
    String nodes = R"({"class":"IntImmediate","key":70000,"value":1,"negative":false},)"
                   R"({"class":"IntLinkedList","key":1,"entry":1})";
    for (U32 key = 2; key <= 20'000; ++key) {
        nodes += R"(,{"class":"IntLinkedList","key":)" + std::to_string(key) +
                 R"(,"entry":1,"next":{"ref":)" + std::to_string(key - 1) + "}}";
    }
    for (U32 i = 1; i <= 1000; ++i) {
        nodes += R"(,{"class":"IntSetImmediate","cachable":true,"head":{"ref":20000},"key":)" +
                 std::to_string(100'000 + i) + "}";
    }
    EXPECT_THAT(errorOf(documentOf("", nodes)),
                HasSubstr("wants at most 16000000 elements in the document's constant lists"));
}

} // namespace Qcf::Documents::test
