#include "QcfLib/QcfLibHelpers.h"
#include "tests/support/Plans.h"

#include <gtest/gtest.h>

using namespace Qcf;
using namespace Qcf::Eval;
using namespace Qcf::Eval::test;

// One function evaluated for route after route: what the first route found out must not hide what
// changed for the next.

namespace {

/// MED as an operand that counts how often it was asked. Plans read it past the node.
class AskedMed final : public Int {
public:
    using Int::Int;

    IntSource source() const override { return make<Attribute::Med>()->source(); }
    U64 getVal(Ptr<EvalContextBase const> const & context) const override {
        ++asked;
        return evalContext(context).medInput();
    }
    NodeClass const & typeData() const override { return scripted(QcfTrue())->typeData(); }
    bool compare(PtrConst<AetNodeBase> const & other) const override { return other == this; }
    U32 hash(U32 seed) const override { return seed; }
    String toStrep() const override { return "med"; }

    mutable U32 asked = 0;
};

/// Counts the lines that are traced while it lives.
class TracedLines {
public:
    TracedLines() {
        TraceFacility::sinkIs([this](int, String const &) { ++count_; });
        traceQcfEval.levelIs(1);
    }
    TracedLines(TracedLines const &) = delete;
    TracedLines & operator=(TracedLines const &) = delete;
    ~TracedLines() {
        traceQcfEval.levelIs(0);
        TraceFacility::sinkIs({});
    }
    U32 count() const { return count_; }

private:
    U32 count_ = 0;
};

} // namespace

TEST(NextRoute, IsLoggedAndTracedAsSoonAsThatIsWanted) {
    PlansEnabled const on(true);
    auto const context = makePtr<RecordingContext>();
    auto const f = function({make<IntAssign>(make<Attribute::Med>(), number(5)), accepts()});
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(outcome(*f, context), "true; medIs 5");
        EXPECT_EQ(context->evaluationLog(), nullptr);
        context->reset();
        context->shouldLogEvalIs(true);
        f->eval(context);
        EXPECT_NE(context->evaluationLog(), nullptr);
        TracedLines const traced;
        EXPECT_EQ(outcome(*f, context), "true; medIs 5");
        EXPECT_NE(traced.count(), 0U);
    }
}

TEST(NextRoute, IsEvaluatedByTheFormThatIsSwitchedOn) {
    auto const context = makePtr<RecordingContext>();
    auto const med = make<AskedMed>();
    auto const f = function({returns(make<IntLessThan>(med, number(10)))});
    for (bool const plans : {true, false, true, true, false, false}) {
        PlansEnabled const switched(plans);
        context->med = plans ? 7 : 17;
        med->asked = 0;
        EXPECT_EQ(outcome(*f, context), plans ? "true" : "false");
        EXPECT_EQ(med->asked, plans ? 0U : 1U);
    }
}

TEST(NextRoute, IsRefusedByAFunctionThatExpectsArguments) {
    auto const argument = make<IntVariable>("i", U8{0});
    auto const callee =
        function({make<IntAssign>(make<Attribute::Med>(), argument), accepts()}, true, "callee");
    auto const caller = function({call(callee, {number(3)}), accepts()});
    auto const context = makePtr<RecordingContext>();
    for (bool const plans : {true, false}) {
        PlansEnabled const switched(plans);
        for (int i = 0; i < 2; ++i) {
            EXPECT_EQ(outcome(*caller, context), "true; medIs 3");
            EXPECT_EQ(outcome(*callee, context), "false/returnToCaller");
            EXPECT_EQ(outcome(*callee, context), "false/returnToCaller");
        }
    }
}
