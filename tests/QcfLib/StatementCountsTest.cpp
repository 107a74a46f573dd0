#include "QcfLib/StatementCounts.h"

#include "Documents/Program.h"
#include "tests/support/CountingObserver.h"
#include "tests/support/Plans.h"
#include "tests/support/RandomDocument.h"
#include "tests/support/RandomRoute.h"

#include <thread>

#include <gtest/gtest.h>

using namespace Qcf::Eval;
using namespace Qcf::Eval::test;

namespace {

/// Plans that count, for the time of a test.
class Counting {
public:
    Counting() { StatementCounts::enabledIs(true); }
    Counting(Counting const &) = delete;
    Counting & operator=(Counting const &) = delete;
    ~Counting() { StatementCounts::enabledIs(false); }
};

using Counts = std::map<CountingObserver::Node, CountingObserver::Count>;

/// Without what was never entered.
Counts countsOf(std::vector<PtrConst<Function>> const & functions) {
    auto const all = StatementCounts::now();
    Counts counts;
    for (auto const & function : functions) {
        for (StatementCount const & count : all.of(*function)) {
            if (count.entries + count.verdicts != 0) {
                counts[{function.get(), count.node}] = {count.entries, count.verdicts};
            }
        }
    }
    return counts;
}

String textOf(Counts const & counts) {
    String text;
    for (auto const & [place, count] : counts) {
        text += place.first->funcName() + " " + referenceText(*place.second) + " " +
                std::to_string(count.entries) + "/" + std::to_string(count.verdicts) + "\n";
    }
    return text;
}

PtrConst<Expression> medBelow(U64 limit) {
    return make<IntLessThan>(make<Attribute::Med>(), number(limit));
}
PtrConst<Expression> setMed(U64 med) {
    return make<IntAssign>(make<Attribute::Med>(), number(med));
}
PtrConst<Expression> ifElse(PtrConst<Expression> condition, Expressions const & then,
                            PtrConst<Expression> otherwise = nullptr) {
    auto thenBlock = block(then);
    return make<IfExpression>(std::move(condition), std::move(thenBlock), std::move(otherwise));
}
PtrConst<Expression> rejects() { return returns(always(QcfFalse())); }
PtrConst<Expression> exits(PtrConst<Expression> operand) {
    return make<ExitExpression>(std::move(operand));
}
PtrConst<Expression> negation(PtrConst<Expression> operand) {
    return make<NotExpression>(std::move(operand));
}
/// It passes an argument that is known only when it is made, so that the callee gets a frame.
PtrConst<Expression> callOnFrame(PtrConst<Function> callee) {
    return call(std::move(callee), {make<Attribute::Med>()});
}

/// Evaluates with MED from 0 up.
void evaluate(Function const & function, Ptr<RecordingContext> const & context, U64 routes) {
    for (U64 med = 0; med < routes; ++med) {
        context->reset();
        context->med = med;
        function.eval(context);
    }
}

/// Asks of a function and all that it calls.
void collectFunctions(AetNodeBase const & node, std::vector<PtrConst<Function>> & functions) {
    if (auto const * const function = as<Function>(node)) {
        functions.emplace_back(function);
    }
    node.typeData().visitChildren(node, [&](FieldInfo const &, AetNodeBase const * child) {
        if (child != nullptr) {
            collectFunctions(*child, functions);
        }
    });
}

} // namespace

// The shapes of lines, branches and calls, each as a plan counts it and as an observer does.
TEST(StatementCounts, AreThoseOfAnObserver) {
    auto const small =
        function({ifElse(medBelow(4), {rejects()}), returns(medBelow(7))}, true, "small");
    auto const silent = function({setMed(1)}, true, "silent");
    auto const leaving =
        function({ifElse(medBelow(3), {exits(medBelow(2))}), accepts()}, true, "leaving");
    auto const passing = function({returns(callOnFrame(small))}, true, "passing");
    auto const odd = function(
        {returns(logical("or", {ifElse(medBelow(2), {}), exits(medBelow(5))}))}, true, "odd");
    PtrConst<Expression> table;
    for (U64 i = 0; i < 5; ++i) {
        table = ifElse(make<IntInImmediateSet>(make<Attribute::Med>(), intSet({i, i + 3})),
                       {setMed(i), i == 2 ? accepts() : setMed(9)}, table);
    }
    std::vector<Expressions> cases{
        {},
        {accepts()},
        {ifElse(medBelow(5), {setMed(1)}), accepts()},
        {ifElse(medBelow(5), {rejects()}), setMed(1), accepts(), setMed(2)},
        {ifElse(medBelow(5), {rejects()}, block({setMed(1)})), setMed(3)},
        {ifElse(medBelow(2), {rejects()}, ifElse(medBelow(5), {setMed(1)}, accepts())), setMed(3)},
        {table, setMed(1), accepts()},
        {block({ifElse(medBelow(2), {exits(medBelow(1))}), setMed(1)}), block({}), accepts()},
    };
    for (bool const onFrame : {false, true}) {
        auto const calls = [&](PtrConst<Function> const & callee) {
            return onFrame ? callOnFrame(callee) : call(callee);
        };
        for (auto const & callee : {small, silent, leaving, passing, odd}) {
            cases.push_back({calls(callee), accepts()});
            cases.push_back({returns(calls(callee))});
            cases.push_back({exits(negation(calls(callee)))});
            cases.push_back({ifElse(calls(callee), {accepts()}, ifElse(calls(callee), {setMed(1)})),
                             setMed(2), rejects()});
            for (char const * const op : {"and", "or", "??"}) {
                cases.push_back({returns(logical(op, {calls(callee), medBelow(6)}))});
                cases.push_back({returns(logical(op, {medBelow(6), calls(callee)}))});
                cases.push_back({returns(logical(op, {calls(callee), always(QcfTrue())}))});
            }
        }
    }
    Counting const counting;
    auto const context = makePtr<RecordingContext>();
    auto const watched = makePtr<RecordingContext>();
    CountingObserver observer;
    watched->evaluationObserverIs(&observer);
    std::vector<PtrConst<Function>> functions; // all of them, since callees count on
    for (std::size_t i = 0; i < cases.size(); ++i) {
        auto const main = function(cases[i], false, "main");
        auto const outer = function(
            {ifElse(callOnFrame(main), {setMed(1)}), call(main), returns(callOnFrame(main))}, false,
            "outer");
        for (auto const & function : {main, outer}) {
            evaluate(*function, watched, 10);
            evaluate(*function, context, 10);
        }
        collectFunctions(*outer, functions);
        ASSERT_EQ(textOf(countsOf(functions)), textOf(observer.counts)) << "case " << i;
        EXPECT_NE(main->planFor(*main).countLayout(), nullptr);
    }
}

TEST(StatementCounts, AreThoseOfAnObserverOverRandomDocuments) {
    Counting const counting;
    auto const context = makePtr<ListContext>();
    auto const watched = makePtr<ListContext>();
    U64 verdicts = 0;
#ifdef NDEBUG
    constexpr U32 documents = 10'000;
#else
    constexpr U32 documents = 1'500;
#endif
    for (U32 seed = 0; seed < documents; ++seed) {
        Qcf::test::RandomDocument::Options const options{
            .references = seed % 4 == 3, .calls = seed % 5 != 4, .depth = 1 + seed % 4};
        String const text = Qcf::test::RandomDocument(seed, options).functions(1 + seed % 4);
        auto const program = Qcf::Documents::readProgram(text, "f.json");
        CountingObserver observer;
        watched->evaluationObserverIs(&observer);
        std::vector<PtrConst<Function>> functions;
        for (auto const & function : program.functions) {
            functions.emplace_back(function);
            if (function->argumentsExpected() || !program.faultOf(*function).eval.empty()) {
                continue;
            }
            for (U32 route = 0; route < 3; ++route) {
                for (auto const & one : {watched, context}) {
                    RandomRoute(U64{seed} << 8 | route).fill(*one);
                    one->reset();
                    one->calls.clear();
                    function->eval(one);
                }
                ++verdicts;
            }
        }
        ASSERT_EQ(textOf(countsOf(functions)), textOf(observer.counts)) << "seed " << seed << text;
    }
    EXPECT_GT(verdicts, documents);
}

TEST(StatementCounts, OfSeveralThreadsAddUp) {
    Counting const counting;
    auto const callee = function({ifElse(medBelow(50), {rejects()}), accepts()}, true, "g");
    auto const f =
        function({ifElse(callOnFrame(callee), {setMed(1)}), returns(callOnFrame(callee))});
    constexpr U64 routes = 1000;
    for (U64 threads = 1; threads <= 3; ++threads) {
        auto const before = StatementCounts::now().of(*f);
        {
            std::vector<std::jthread> running;
            for (U64 i = 0; i < threads; ++i) {
                running.emplace_back([&] { evaluate(*f, makePtr<RecordingContext>(), routes); });
            }
            StatementCounts::now(); // may be asked at any time
        }
        auto const after = StatementCounts::now().of(*f);
        ASSERT_EQ(after.size(), 4U);
        EXPECT_EQ(after[0].entries - before[0].entries, threads * routes);
        EXPECT_EQ(after[2].entries - before[2].entries, threads * (routes - 50)) << "set med";
        EXPECT_EQ(after[0].verdicts + after[3].verdicts, 0U) << "the callee decides";
    }
    auto const inCallee = StatementCounts::now().of(*callee);
    ASSERT_EQ(inCallee.size(), 4U);
    EXPECT_EQ(inCallee[2].verdicts, 6 * routes) << "med was set to 1 or is below 50";
    EXPECT_EQ(inCallee[3].verdicts, 0U) << "it decided nothing but the condition";
}

// Indices are used again: counts of a plan that is gone must not show in another.
TEST(StatementCounts, AreGoneWithTheirFunction) {
    Counting const counting;
    auto const context = makePtr<RecordingContext>();
    for (int i = 0; i < 50; ++i) {
        auto const f = function({ifElse(medBelow(3), {rejects()}), accepts()});
        evaluate(*f, i % 2 == 0 ? context : makePtr<RecordingContext>(), 10);
        auto const counts = StatementCounts::now().of(*f);
        ASSERT_EQ(counts.size(), 4U);
        EXPECT_EQ(counts[1].entries, 10U);
        EXPECT_EQ(counts[2].verdicts, 3U);
        EXPECT_EQ(counts[3].verdicts, 7U);
        evaluate(*function({accepts()}), context, 1); // which lets go of the other
    }
}

// Whichever way a context comes to a plan that another one has made: there is room for its
// counters.
TEST(StatementCounts, AreTakenByContextsThatMeetAPlanLate) {
    PlansEnabled const on(true);
    Expressions many;
    for (U64 i = 0; i < 100; ++i) {
        many.push_back(ifElse(medBelow(i), {setMed(i)}));
    }
    many.push_back(accepts());
    CountingObserver observer;
    std::vector<PtrConst<Function>> functions;
    for (int way = 0; way < 4; ++way) {
        auto const f = function(many);
        auto const context = makePtr<RecordingContext>();
        evaluate(*f, context, way == 3 ? 0 : 2); // by the ordinary plan
        Counting const counting;
        evaluate(*f, makePtr<RecordingContext>(), 5);
        if (way == 1) {
            context->evaluationObserverIs(&observer);
            evaluate(*f, context, 2);
            context->evaluationObserverIs(nullptr);
        } else if (way == 2) {
            context->reset();
            context->throwAt = "medInput";
            EXPECT_THROW(f->eval(context), std::runtime_error);
            context->throwAt = "";
        }
        U64 const before = StatementCounts::now().of(*f)[0].entries;
        evaluate(*f, context, 7);
        EXPECT_EQ(StatementCounts::now().of(*f)[0].entries, before + 7) << way;
        functions.push_back(f); // its counters stay taken
    }
}

// The ordinary plan is another one, and has no counting step.
TEST(StatementCounts, CostNothingWhenNobodyAsks) {
    PlansEnabled const on(true);
    auto const context = makePtr<RecordingContext>();
    auto const f = function({ifElse(medBelow(3), {rejects()}), accepts()});
    std::size_t const steps = f->planFor(*f).stepCount();
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(f->planFor(*f).countLayout(), nullptr);
        EXPECT_EQ(f->planFor(*f).stepCount(), steps);
        evaluate(*f, context, 10);
        Counting const counting;
        evaluate(*f, context, 10);
        EXPECT_EQ(StatementCounts::now().of(*f)[0].entries, 10U * static_cast<U64>(i + 1));
        EXPECT_GT(f->planFor(*f).stepCount(), steps);
    }
}
