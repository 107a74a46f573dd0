#include "Agent/Evaluation/ParallelEvaluation.h"

#include "Agent/Routes/JsonLinesReader.h"
#include "Agent/Tables/RouteFile.h"
#include "Platform/Render/DocumentError.h"
#include "QcfLib/ClientPlugin/QcfEvalAttributeTypes.h"
#include "QcfLib/QcfEval.h"
#include "tests/Agent/Mrt/MrtTools.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <thread>

#include <gtest/gtest.h>

namespace Qcf::Agent::test {
namespace {

struct TestError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Hands out routes whose med is their number, and throws in place of one of them.
class NumberedRoutes final : public RouteReader {
public:
    explicit NumberedRoutes(U64 routes, U64 faultAt = ~U64{0})
        : routes_(routes), faultAt_(faultAt) {}

    bool next(Route & route) override {
        if (statistics_.routes == faultAt_) {
            throw TestError("reader");
        }
        if (statistics_.routes == routes_) {
            return false;
        }
        route.clear();
        route.med = statistics_.routes++;
        return true;
    }
    ReadStatistics const & statistics() const override { return statistics_; }

private:
    U64 routes_;
    U64 faultAt_;
    ReadStatistics statistics_;
};

/// `local_preference = med; return true`
PtrConst<Eval::Function> copyMed() {
    auto const assign = Eval::intAssignFactory(3, Eval::Attribute::localPrefFactory(1),
                                               Eval::Attribute::medFactory(2));
    auto const accept = Eval::returnExpressionFactory(
        6, Eval::triStateBoolExpressionFactory(
               5, Eval::triStateBoolImmediateFactory(4, Eval::QcfTrue())));
    auto const statements =
        Eval::expressionListFactory(8, assign, Eval::expressionListFactory(7, accept, nullptr));
    return Eval::functionFactory(10, "copy_med", FunctionMetadata(),
                                 Routing::Policy::RouteMapFeatures(), Eval::AccessibleAttributes(),
                                 false, Eval::blockFactory(9, statements));
}

/// Throws when it is asked for the med of one route.
class TestContext final : public AgentContextBase {
public:
    explicit TestContext(U64 faultAt)
        : AgentContextBase(nullptr, nullptr, nullptr), faultAt_(faultAt) {}

    U64 medInput() const override {
        if (route().med == faultAt_) {
            throw TestError("context");
        }
        return route().med;
    }

private:
    U64 faultAt_;
};

struct Seen {
    std::vector<U64> delivered; ///< the local preferences that were flushed
    std::set<std::thread::id> threads;
    U64 logged = 0;
    U64 faultAt = ~U64{0}; ///< delivering the run with this route throws
};

class TestSink final : public EvaluationSink {
public:
    explicit TestSink(Seen & seen) : seen_(seen) {}

    void take(Evaluated const & evaluated) override {
        EXPECT_EQ(evaluated.number, evaluated.route.med);
        EXPECT_TRUE(evaluated.result.isTrue());
        run_.push_back(evaluated.context.changes().localPref);
        logged_ += evaluated.context.evaluationLog() ? 1 : 0;
    }
    void deliver() override {
        for (U64 const number : run_) {
            if (number == seen_.faultAt) {
                throw TestError("sink");
            }
            seen_.delivered.push_back(number);
        }
        seen_.threads.insert(std::this_thread::get_id());
        seen_.logged += logged_;
        run_.clear();
        logged_ = 0;
    }

private:
    Seen & seen_;
    std::vector<U64> run_;
    U64 logged_ = 0;
};

struct RunCase {
    U64 routes = 5000;
    U32 threads = 1;
    U64 limit = ~U64{0};
    bool log = false;
    U64 readerFault = ~U64{0};
    U64 contextFault = ~U64{0};
    U64 sinkFault = ~U64{0};
};

/// What a run delivers; `error` is the text of what it threw.
Seen run(RunCase const & one, String & error) {
    Seen seen;
    seen.faultAt = one.sinkFault;
    NumberedRoutes reader(one.routes, one.readerFault);
    TableRun run;
    run.function = copyMed();
    run.makeContext = [&] { return makePtr<TestContext>(one.contextFault); };
    run.makeSink = [&] { return std::make_unique<TestSink>(seen); };
    run.threads = one.threads;
    run.limit = one.limit;
    run.log = one.log;
    try {
        evaluateTable(reader, run);
    } catch (TestError const & thrown) {
        error = thrown.what();
    }
    return seen;
}

std::vector<U64> upTo(U64 count) {
    std::vector<U64> numbers(count);
    for (U64 i = 0; i < count; ++i) {
        numbers[i] = i;
    }
    return numbers;
}

TEST(ParallelEvaluation, RoutesAreDeliveredInOrderWhateverTheThreads) {
    for (U32 const threads : {1U, 2U, 3U, 8U}) {
        for (U64 const routes : {U64{0}, U64{1}, U64{256}, U64{5000}}) {
            for (U64 const limit : {U64{0}, U64{1}, U64{16}, U64{300}, ~U64{0}}) {
                String error;
                Seen const seen =
                    run({.routes = routes, .threads = threads, .limit = limit, .log = limit == 300},
                        error);
                EXPECT_EQ(error, "");
                EXPECT_EQ(seen.delivered, upTo(std::min(routes, limit)));
                EXPECT_EQ(seen.logged, limit == 300 ? std::min(routes, limit) : 0);
                EXPECT_LE(seen.threads.size(), threads);
            }
        }
    }
}

TEST(ParallelEvaluation, FaultsReachTheCallerBehindTheRoutesBeforeThem) {
    for (U32 const threads : {1U, 2U, 4U}) {
        for (U64 const at : {U64{0}, U64{15}, U64{256}, U64{3000}}) {
            String error;
            EXPECT_EQ(run({.threads = threads, .readerFault = at}, error).delivered, upTo(at));
            EXPECT_EQ(error, "reader");
            EXPECT_EQ(run({.threads = threads, .contextFault = at}, error).delivered, upTo(at));
            EXPECT_EQ(error, "context");
            EXPECT_EQ(run({.threads = threads, .sinkFault = at}, error).delivered, upTo(at));
            EXPECT_EQ(error, "sink");
            // The first in the order of the table is told.
            run({.threads = threads, .readerFault = at + 1, .contextFault = at}, error);
            EXPECT_EQ(error, "context");
        }
    }
}

/// Remembers the routes by number.
class TextSink final : public EvaluationSink {
public:
    explicit TextSink(std::vector<String> & all) : all_(all) {}

    void take(Evaluated const & evaluated) override {
        run_.push_back(std::to_string(evaluated.number) + " " + routeText(evaluated.route));
    }
    void deliver() override {
        std::ranges::move(run_, std::back_inserter(all_));
        run_.clear();
    }

private:
    std::vector<String> & all_;
    std::vector<String> run_;
};

Outcome evaluate(String const & bytes, U32 threads, U64 limit) {
    Outcome outcome;
    auto const reader =
        openRoutes(Lists::makeMemoryStream(bytes), "t",
                   [&outcome](String const & line) { outcome.reports.push_back(line); });
    TableRun run;
    run.function = copyMed();
    run.makeContext = [] { return makePtr<TestContext>(~U64{0}); };
    run.makeSink = [&] { return std::make_unique<TextSink>(outcome.routes); };
    run.threads = threads;
    run.limit = limit;
    try {
        evaluateTable(*reader, run);
    } catch (DocumentError const & error) {
        outcome.reports.push_back(error.what());
    }
    outcome.statistics = reader->statistics();
    return outcome;
}

TEST(ParallelEvaluation, DamagedTablesGiveTheSameWhateverTheThreads) {
    // Records of one route to far more than a run has, damage of records and frames in between, and
    // once in a while other peers.
    String bytes;
    for (U32 i = 0; i < 3000; ++i) {
        String const one = entry(0, plainAttributes({i + 1}));
        bytes += i % 700 == 1 ? peerTable() : "";
        bytes += rib(2, "10.0.0.0/8", std::vector<String>(i == 1500 ? 3000 : 1 + i % 3, one));
        bytes += i % 100 == 0 ? record(13, 2, "short") : "";
        bytes += i % 900 == 5 ? "noise" : "";
    }
    Outcome const all = evaluate(bytes, 1, ~U64{0});
    EXPECT_GT(all.routes.size(), 8000);
    EXPECT_EQ(all.reports.size(), 21) << "the last tells how many were not told";
    Outcome const some = evaluate(bytes, 1, 2345);
    EXPECT_EQ(some.routes.size(), 2345);
    for (U32 const threads : {2U, 3U, 8U}) {
        EXPECT_EQ(evaluate(bytes, threads, ~U64{0}), all);
        EXPECT_EQ(evaluate(bytes, threads, 2345), some);
    }
}

TEST(ParallelEvaluation, LinesGiveTheSameUpToTheFirstBadOneWhateverTheThreads) {
    struct Case {
        char const * what;
        U64 badLine; ///< from 1
        String bad;
        U64 routes;
    };
    Case const cases[] = {
        {"no bad line", 0, "", 20000},
        {"no route", 12345, "{\"med\": -1}", 12344},
        {"the first line", 1, "{", 0},
        {"too long", 12345, String(JsonLinesReader::maxLine + 1, ' '), 12344},
    };
    for (Case const & c : cases) {
        SCOPED_TRACE(c.what);
        String text = "\n";
        for (U64 i = 1; i <= 20000; ++i) {
            text += i == c.badLine ? c.bad : "{\"med\": " + std::to_string(i) + "}";
            text += i % 100 == 0 ? "\n\n" : "\n";
        }
        text.pop_back();
        Outcome const alone = evaluate(text, 1, ~U64{0});
        EXPECT_EQ(alone.routes.size(), c.routes);
        EXPECT_EQ(alone.reports.size(), c.badLine == 0 ? 0 : 1);
        for (U32 const threads : {2U, 3U, 8U}) {
            EXPECT_EQ(evaluate(text, threads, ~U64{0}), alone);
        }
    }
}

} // namespace
} // namespace Qcf::Agent::test
