#include "QcfLib/EvaluationObserver.h"

#include "tests/support/Plans.h"

#include <gtest/gtest.h>

using namespace Qcf::Eval;
using namespace Qcf::Eval::test;

namespace {

constexpr auto exiting = TerminationFlag::exitToPoa;

/// Writes down what it is told: "Block( x()=true )=unknown", "!" for what an exception left.
class Recorder final : public EvaluationObserver {
public:
    void entered(Expression const & node, EvalContext & context) override {
        open_.push_back({&node, context.functionCallDepth()});
        text_ += nameOf(node) + "( ";
    }
    void left(Expression const & node, EvalResult result, EvalContext & context) override {
        close(node, context);
        text_ += ")=" + textOf(result) + " ";
        throwIf(leavingThrows, node);
    }
    void thrown(Expression const & node, EvalContext & context) override {
        close(node, context);
        text_ += ")! ";
    }

    /// What it was told since it was asked last; nodes still open are a fault.
    String take() {
        EXPECT_TRUE(open_.empty());
        open_.clear();
        text_.resize(text_.empty() ? 0 : text_.size() - 1);
        return std::exchange(text_, {});
    }

    Expression const * leavingThrows = nullptr;

private:
    struct Open {
        Expression const * node;
        U32 callDepth;
    };
    static String nameOf(Expression const & node) {
        if (auto const * const function = as<Function>(node)) {
            return function->funcName();
        }
        String const name = node.typeData().name;
        return name.ends_with("Expression") ? name.substr(0, name.size() - 10) : name;
    }
    void close(Expression const & node, EvalContext & context) {
        ASSERT_FALSE(open_.empty());
        EXPECT_EQ(open_.back().node, &node);
        EXPECT_EQ(open_.back().callDepth, context.functionCallDepth()) << "the frame is another";
        open_.pop_back();
    }
    void throwIf(Expression const *& chosen, Expression const & node) {
        if (chosen == &node) {
            chosen = nullptr;
            throw std::runtime_error("observer");
        }
    }

    std::vector<Open> open_;
    String text_;
};

PtrConst<Expression> readsMed(U64 value) {
    return make<IntIs>(make<Attribute::Med>(), number(value));
}
PtrConst<Expression> ifElse(PtrConst<Expression> condition, Expressions const & then,
                            PtrConst<Expression> otherwise = nullptr) {
    auto thenBlock = block(then);
    return make<IfExpression>(std::move(condition), std::move(thenBlock), std::move(otherwise));
}

} // namespace

// Every node that consists of others: what is entered, in which order, and what each answers.
TEST(EvaluationObserver, SeesTheTreeThatIsWalked) {
    auto const u = scripted(QcfUnknown());
    auto const f = scripted(QcfFalse());
    auto const t = scripted(QcfTrue());
    auto const x = scripted(QcfTrue(), exiting);
    auto const callee = function({returns(f), t}, false, "g");
    auto const wantsArguments = function({t}, true, "wants");
    struct Case {
        Expressions statements;
        char const * seen;
    };
    Case const cases[] = {
        {{}, "f( Block( )=unknown )=unknown"},
        {{f, t}, "f( Block( Scripted( )=false Scripted( )=true )=unknown )=unknown"},
        {{x, t}, "f( Block( Scripted( )=true/exitToPoa )=true/exitToPoa )=true/exitToPoa"},
        {{block({u}), block({})},
         "f( Block( Block( Scripted( )=unknown )=unknown Block( )=unknown )=unknown )=unknown"},
        {{ifElse(t, {f})},
         "f( Block( If( Scripted( )=true Block( Scripted( )=false )=unknown )=unknown )=unknown "
         ")=unknown"},
        {{ifElse(f, {t})}, "f( Block( If( Scripted( )=false )=false )=unknown )=unknown"},
        {{ifElse(t, {returns(f)})},
         "f( Block( If( Scripted( )=true Block( Return( Scripted( )=false )=false/returnToCaller "
         ")=false/returnToCaller )=false/returnToCaller )=false/returnToCaller )=false"},
        {{ifElse(u, {t}, ifElse(x, {t}))},
         "f( Block( If( Scripted( )=unknown If( Scripted( )=true/exitToPoa )=true/exitToPoa "
         ")=true/exitToPoa )=true/exitToPoa )=true/exitToPoa"},
        {{make<NotExpression>(u)}, "f( Block( Not( Scripted( )=unknown )=true )=unknown )=unknown"},
        {{make<ExitExpression>(f)},
         "f( Block( Exit( Scripted( )=false )=false/exitToPoa )=false/exitToPoa )=false/exitToPoa"},
        {{logical("and", {t, u, f})},
         "f( Block( LogicalOperator( Scripted( )=true Scripted( )=unknown )=false )=unknown "
         ")=unknown"},
        {{logical("or", {f, t, f})},
         "f( Block( LogicalOperator( Scripted( )=false Scripted( )=true )=true )=unknown "
         ")=unknown"},
        {{logical("??", {u, logical("or", {u, f}), t})},
         "f( Block( LogicalOperator( Scripted( )=unknown LogicalOperator( Scripted( )=unknown "
         "Scripted( )=false )=false )=false )=unknown )=unknown"},
        {{call(callee), t},
         "f( Block( FunctionCall( g( Block( Return( Scripted( )=false )=false/returnToCaller "
         ")=false/returnToCaller )=false )=false Scripted( )=true )=unknown )=unknown"},
        {{returns(call(function({call(function({x}, false, "inner"))}, false, "outer")))},
         "f( Block( Return( FunctionCall( outer( Block( FunctionCall( inner( Block( Scripted( "
         ")=true/exitToPoa )=true/exitToPoa )=true/exitToPoa )=true/exitToPoa )=true/exitToPoa "
         ")=true/exitToPoa )=true/exitToPoa )=true/exitToPoa )=true/exitToPoa )=true/exitToPoa"},
    };
    Recorder observer;
    for (bool const plans : {false, true}) {
        PlansEnabled const switched(plans);
        auto const context = makePtr<RecordingContext>();
        for (Case const & c : cases) {
            auto const main = function(c.statements);
            main->planFor(*main);
            context->evaluationObserverIs(&observer);
            main->eval(context);
            EXPECT_EQ(observer.take(), c.seen);
            context->evaluationObserverIs(nullptr);
            main->eval(context);
            EXPECT_EQ(observer.take(), "") << "not asked for";
        }
        context->evaluationObserverIs(&observer);
        wantsArguments->eval(context);
        EXPECT_EQ(observer.take(), "wants( )=false/returnToCaller");
    }
}

// A reset clears the log and keeps the observer, and neither knows of the other.
TEST(EvaluationObserver, StandsBesideTheLog) {
    auto const context = makePtr<RecordingContext>();
    auto const f = function({ifElse(scripted(QcfTrue()), {scripted(QcfFalse())}),
                             call(function({accepts()}, false, "g")), accepts()});
    context->shouldLogEvalIs(true);
    f->eval(context);
    String const logged = logText(context->evaluationLog().get());
    Recorder observer;
    context->reset();
    context->evaluationObserverIs(&observer);
    f->eval(context);
    String const seen = observer.take();
    EXPECT_NE(seen, "");
    EXPECT_EQ(context->evaluationLog(), nullptr);
    context->reset();
    EXPECT_EQ(context->evaluationObserver(), &observer);
    EXPECT_TRUE(context->isWatched());
    context->shouldLogEvalIs(true);
    f->eval(context);
    EXPECT_EQ(logText(context->evaluationLog().get()), logged);
    EXPECT_EQ(observer.take(), seen);
    context->evaluationObserverIs(nullptr);
    EXPECT_TRUE(context->shouldLogEval());
    context->reset();
    EXPECT_FALSE(context->isWatched());
}

// From the inside out, and the frames are those of the nodes; then everything is as it was.
TEST(EvaluationObserver, IsToldOfExceptionsAtEachDepth) {
    auto const inner = function({readsMed(0), accepts()}, false, "inner");
    auto const outer = function({make<NotExpression>(call(inner))}, false, "outer");
    struct Case {
        PtrConst<Expression> statement;
        char const * seen;
    };
    Case const cases[] = {
        {readsMed(0), "f( Block( IntIs( )! )! )!"},
        {ifElse(logical("and", {scripted(QcfTrue()), readsMed(0)}), {}),
         "f( Block( If( LogicalOperator( Scripted( )=true IntIs( )! )! )! )! )!"},
        {ifElse(scripted(QcfFalse()), {}, block({returns(readsMed(0))})),
         "f( Block( If( Scripted( )=false Block( Return( IntIs( )! )! )! )! )! )!"},
        {call(outer),
         "f( Block( FunctionCall( outer( Block( Not( FunctionCall( inner( Block( IntIs( )! )! )! "
         ")! )! )! )! )! )! )!"},
    };
    Recorder observer;
    auto const context = makePtr<RecordingContext>();
    context->evaluationObserverIs(&observer);
    for (Case const & c : cases) {
        auto const f = function({c.statement, accepts()});
        context->throwAt = "medInput";
        EXPECT_THROW(f->eval(context), std::runtime_error);
        EXPECT_EQ(observer.take(), c.seen);
        context->throwAt = "";
        EXPECT_EQ(outcome(*f, context), "true");
        EXPECT_TRUE(observer.take().ends_with(")=true")) << "the observer is still there";
    }
}

// The function has been left when the route is written back.
TEST(EvaluationObserver, FindsWhatWasWrittenUntilTheFunctionIsLeft) {
    class Reader final : public EvaluationObserver {
    public:
        explicit Reader(PtrConst<Int> med) : med_(std::move(med)) {}
        void entered(Expression const & node, EvalContext & context) override {
            read(node, context);
        }
        void left(Expression const & node, EvalResult, EvalContext & context) override {
            read(node, context);
        }
        void thrown(Expression const &, EvalContext &) override { ADD_FAILURE(); }
        std::vector<U64> values;

    private:
        void read(Expression const & node, EvalContext & context) {
            if (is<IntPlusEq>(node) || is<Function>(node)) {
                values.push_back(med_->getVal(Ptr<EvalContextBase const>(&context)));
            }
        }
        PtrConst<Int> med_;
    };
    auto const med = make<Attribute::Med>();
    auto const f = function({make<IntPlusEq>(med, number(3)), accepts()});
    auto const context = makePtr<RecordingContext>();
    context->med = 4;
    Reader reader(med);
    context->evaluationObserverIs(&reader);
    context->throwAt = "medIs";
    EXPECT_THROW(f->eval(context), std::runtime_error);
    EXPECT_EQ(reader.values, (std::vector<U64>{4, 4, 7, 7}));
    context->throwAt = "";
    EXPECT_EQ(outcome(*f, context), "true; medIs 7");
}

// It ends the evaluation as an exception of an accessor does.
TEST(EvaluationObserver, MayThrowItself) {
    auto const x = scripted(QcfTrue());
    auto const f = function({make<NotExpression>(x), accepts()});
    Recorder observer;
    auto const context = makePtr<RecordingContext>();
    context->evaluationObserverIs(&observer);
    observer.leavingThrows = x.get();
    EXPECT_THROW(f->eval(context), std::runtime_error);
    EXPECT_EQ(observer.take(), "f( Block( Not( Scripted( )=true )! )! )!");
    struct Outermost final : EvaluationObserver {
        void entered(Expression const & /*node*/, EvalContext & /*context*/) override {
            throw std::runtime_error("observer");
        }
        void left(Expression const & /*node*/, EvalResult, EvalContext & /*context*/) override {}
        void thrown(Expression const & /*node*/, EvalContext & /*context*/) override {
            ADD_FAILURE() << "it was not entered";
        }
    } refusing;
    context->evaluationObserverIs(&refusing);
    EXPECT_THROW(f->eval(context), std::runtime_error);
    context->evaluationObserverIs(nullptr);
    EXPECT_EQ(outcome(*f, context), "true");
}
