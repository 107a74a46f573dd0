#include "Documents/Analysis.h"
#include "Documents/ConstantAnswer.h"
#include "Documents/Flow.h"
#include "Documents/Places.h"
#include "tests/Documents/DocumentTools.h"
#include "tests/Documents/JsonMutator.h"
#include "tests/support/RandomDocument.h"
#include "tests/support/RecordingContext.h"

#include <gtest/gtest.h>

/// What the analysis claims, held against evaluation.
namespace Qcf::Documents::test {

namespace {

using Eval::test::RecordingContext;
using Qcf::test::RandomDocument;

bool isTrue(Eval::Expression const & node, Ptr<RecordingContext> const & context) {
    return node.eval(context).retVal() == Eval::TriStateBoolValue::true_;
}

/// What a comparison of the MED with a constant answers for the least and the largest MED and those
/// around the constant; nothing when the answers differ.
std::optional<bool> answerOverMeds(Eval::Expression const & comparison, S64 constant) {
    constexpr S64 largest = 4294967295;
    std::optional<bool> answer;
    for (S64 const med : {S64{0}, largest, constant - 1, constant, constant + 1, -constant}) {
        if (med < 0 || med > largest) {
            continue;
        }
        auto const context = makePtr<RecordingContext>();
        context->med = static_cast<U64>(med);
        bool const one = isTrue(comparison, context);
        if (answer && *answer != one) {
            return std::nullopt;
        }
        answer = one;
    }
    return answer;
}

} // namespace

TEST(AnalysisOfComparisons, IsConstantExactlyWhereEvaluationIs) {
    for (char const * const name :
         {"IntIs", "IntLessThan", "IntLessThanEq", "IntGreaterThan", "IntGreaterThanEq"}) {
        for (S64 const constant : {S64{-4294967296}, S64{-1}, S64{0}, S64{1}, S64{4294967294},
                                   S64{4294967295}, S64{4294967296}, S64{4294967297}}) {
            for (bool const constantFirst : {false, true}) {
                String const number = std::to_string(constant);
                String const text = R"({"class":"ReturnExpression","expr":{"class":")" +
                                    String(name) + R"(","lhs":)" +
                                    (constantFirst ? number : R"("med")") + R"(,"rhs":)" +
                                    (constantFirst ? R"("med")" : number) + "}}";
                auto const program = read(documentOf(text));
                auto const & first = *program.functions[0]->body()->stmts()->entry();
                auto const & comparison =
                    *dynamic_cast<Eval::ReturnExpression const &>(first).expr();
                EXPECT_EQ(constantAnswer(comparison), answerOverMeds(comparison, constant)) << text;
            }
        }
    }
}

TEST(AnalysisOfRandomDocuments, IsTrueOfTheirEvaluation) {
    U32 leaving = 0;
    for (U32 seed = 0; seed < 300; ++seed) {
        SCOPED_TRACE(seed);
        auto const program = read(RandomDocument(seed).functions(3));
        auto const & main = *program.find("main");
        auto const context = makePtr<RecordingContext>();
        context->matchAnswer = seed % 2 == 0;
        context->med = seed % 5 * 50;
        auto const termination = main.body()->eval(context).termination();
        Flow const flow = FlowAnalysis().of(*main.body());
        using enum Eval::TerminationFlag;
        EXPECT_TRUE(flow.completes || termination != noTermination);
        EXPECT_TRUE(flow.returns || termination != returnToCaller);
        leaving += flow.completes ? 0 : 1;
    }
    EXPECT_GT(leaving, 0U);
    EXPECT_LT(leaving, 300U);
}

TEST(AnalysisOfRandomDocuments, DamagedOnesGiveTheErrorThatEndsAStrictReading) {
    constexpr U32 rounds = 3000;
    U32 inFunctions = 0;
    JsonMutator values(7);
    for (U32 round = 0; round < rounds; ++round) {
        RandomDocument random(round % 24, {.references = true, .depth = 2});
        String const text = values.mutate(random.functions(2));
        String const strict = errorOf(text);
        Places places;
        std::vector<UnreadFunction> unread;
        try {
            Program const program =
                readProgram(text, "f.json", {.places = &places, .unread = &unread});
            EXPECT_EQ(unread.empty() ? "" : unread.front().error.what(), strict);
            for (Remark const & remark : analyse(program.functions)) {
                EXPECT_TRUE(places.of(*remark.node, *remark.function).starts_with("f.json:/"));
            }
        } catch (DocumentError const & error) {
            EXPECT_EQ(error.what(), strict);
        }
        inFunctions += unread.empty() ? 0 : 1;
    }
    EXPECT_GT(inFunctions, rounds / 10);
}

} // namespace Qcf::Documents::test
