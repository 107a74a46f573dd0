#include "Platform/Render/JsonDocument.h"
#include "Platform/Render/RendererV2.h"
#include "QcfLib/QcfDebugEvaluationLog.h"
#include "QcfLib/QcfEval.h"

#include <cerrno>
#include <chrono>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace Qcf {
namespace {

using Debug::EvaluationLog;
using Debug::evaluationLogFactory;
using Eval::EvalResult;
using Eval::TerminationFlag;
using Eval::TriStateBoolValue;
using LogBase = Routing::Policy::EvaluationLogBase;

/// A chain of records with the keys from `first` on, all true.
Ptr<EvaluationLog> chain(U64 first, std::size_t length) {
    Ptr<EvaluationLog> head;
    for (std::size_t i = length; i-- > 0;) {
        auto const record = evaluationLogFactory(first + i, EvalResult::fromBool(true), nullptr);
        record->nextLogIs(head);
        head = record;
    }
    return head;
}

String rendered(EvaluationLog const & log) {
    String text;
    RendererV2 renderer(text);
    renderer.beginObject();
    log.toJson(&renderer);
    renderer.endObject();
    return text;
}

String entry(U64 key, String const & more = "") {
    return R"({"aetNodeKey":)" + std::to_string(key) +
           R"(,"result":"true","termination":"noTermination")" + more + "}";
}

TEST(DebugEvaluationLog, recordHoldsWhatItWasGiven) {
    auto const callee = chain(1, 1);
    auto const record = EvaluationLog::EvaluationLogIs(
        ~U64{0}, EvalResult::fromBoolWithReturn(false), Ptr<LogBase const>(callee));
    EXPECT_EQ(record->aetNodeKey(), ~U64{0});
    EXPECT_EQ(record->result().retVal(), TriStateBoolValue::false_);
    EXPECT_EQ(record->result().termination(), TerminationFlag::returnToCaller);
    EXPECT_EQ(record->functionCallLog().get(), callee.get());
    EXPECT_EQ(record->nextLog(), nullptr);
    EXPECT_EQ(record->policyType(), EvaluationLog::policyTypeQcf);
    EXPECT_EQ(sizeof(EvaluationLog), 40U);
}

TEST(DebugEvaluationLog, everyResultAndTerminationHasItsText) {
    constexpr char const * results[] = {"unknown", "false", "true"};
    constexpr char const * terminations[] = {"noTermination", "returnToCaller", "exitToPoa"};
    for (U8 result = 0; result < 3; ++result) {
        for (U8 termination = 0; termination < 3; ++termination) {
            auto const value = EvalResult(static_cast<TriStateBoolValue>(result))
                                   .with(static_cast<TerminationFlag>(termination));
            String text;
            RendererV2 renderer(text);
            evaluationLogFactory(5, value, nullptr)->toJsonImpl(&renderer);
            EXPECT_EQ(text, String(R"({"aetNodeKey":5,"result":")") + results[result] +
                                R"(","termination":")" + terminations[termination] + "\"}");
        }
    }
    auto const invalid =
        evaluationLogFactory(5, EvalResult(static_cast<TriStateBoolValue>(3)), nullptr);
    EXPECT_DEATH(rendered(*invalid), "invalid TriStateBoolValue");
}

TEST(DebugEvaluationLog, callsNestInKeyOrder) {
    EXPECT_EQ(rendered(*chain(1, 3)),
              R"({"entries":[)" + entry(1) + "," + entry(2) + "," + entry(3) + "]}");

    auto const inner = evaluationLogFactory(8, EvalResult::fromBool(true), chain(1, 2));
    auto const head = chain(4, 1);
    head->nextLogIs(evaluationLogFactory(9, EvalResult::fromBool(true), inner));
    String const innermost = R"({"entries":[)" + entry(1) + "," + entry(2) + "]}";
    String const middle = R"({"entries":[)" + entry(8, R"(,"functionCallLog":)" + innermost) + "]}";
    EXPECT_EQ(rendered(*head), R"({"entries":[)" + entry(4) + "," +
                                   entry(9, R"(,"functionCallLog":)" + middle) + "]}");
}

TEST(DebugEvaluationLog, anotherEnginesLogWritesItself) {
    class Other final : public LogBase {
    public:
        U32 policyType() const override { return 1; }
        void toJson(RendererV2 * renderer) const override {
            renderer->key("sequence");
            renderer->value(U64{10});
        }
        void toJsonOnFd(unsigned) const override {}
    };
    auto const record = evaluationLogFactory(3, EvalResult::fromBool(true), makePtr<Other>());
    EXPECT_EQ(rendered(*record),
              R"({"entries":[)" + entry(3, R"(,"functionCallLog":{"sequence":10})") + "]}");
}

TEST(DebugEvaluationLog, aLongChainIsRenderedAndFreedWithoutRecursion) {
    auto const live = Slab<EvaluationLog>::tracker().live();
    {
        auto const log = chain(1, 300'000);
        EXPECT_GT(rendered(*log).size(), 300'000 * entry(1).size());
    }
    EXPECT_EQ(Slab<EvaluationLog>::tracker().live(), live);
}

/// Both ends of a pipe, as small as the system makes one.
struct Pipe {
    Pipe() {
        EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
        ::fcntl(ends[1], F_SETPIPE_SZ, 4096);
    }
    ~Pipe() {
        close(0);
        close(1);
    }
    void close(int end) {
        if (ends[end] >= 0) {
            ::close(std::exchange(ends[end], -1));
        }
    }
    int ends[2] = {-1, -1};
};

String readSlowly(int fd) {
    String all;
    char piece[3000];
    for (;;) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        ssize_t const count = ::read(fd, piece, sizeof piece);
        if (count <= 0) {
            return all;
        }
        all.append(piece, static_cast<std::size_t>(count));
    }
}

TEST(DebugEvaluationLog, aSlowReaderGetsTheWholeDocument) {
    auto const log = chain(1, 5000);
    String const expected = rendered(*log) + "\n";
    for (bool const blocking : {true, false}) {
        Pipe pipe;
        ::fcntl(pipe.ends[1], F_SETFL, blocking ? 0 : O_NONBLOCK);
        String got;
        std::thread reader([&] { got = readSlowly(pipe.ends[0]); });
        log->toJsonOnFd(static_cast<unsigned>(pipe.ends[1]));
        pipe.close(1);
        reader.join();
        EXPECT_EQ(got, expected) << (blocking ? "blocking" : "non-blocking");
    }
}

TEST(DebugEvaluationLog, aDescriptorThatFailsIsAnError) {
    auto const errorOf = [](EvaluationLog const & log, int fd) {
        try {
            log.toJsonOnFd(static_cast<unsigned>(fd));
        } catch (std::system_error const & error) {
            return error.code().value();
        }
        return 0;
    };
    Pipe readerGone;
    readerGone.close(0);
    EXPECT_EQ(errorOf(*chain(1, 1), readerGone.ends[1]), EPIPE);
    ::fcntl(readerGone.ends[1], F_SETFL, O_NONBLOCK);
    EXPECT_EQ(errorOf(*chain(1, 5000), readerGone.ends[1]), EPIPE);

    Pipe pipe;
    EXPECT_EQ(errorOf(*chain(1, 1), pipe.ends[0]), EBADF) << "the reading end";
    int const full = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
    ASSERT_GE(full, 0);
    EXPECT_EQ(errorOf(*chain(1, 1), full), ENOSPC);
    ::close(full);
}

TEST(DebugEvaluationLog, aReaderThatGoesAwayMidwayIsAnErrorNotAHang) {
    Pipe pipe;
    ::fcntl(pipe.ends[1], F_SETFL, O_NONBLOCK);
    std::thread reader([&] {
        char piece[1000];
        EXPECT_GT(::read(pipe.ends[0], piece, sizeof piece), 0);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        pipe.close(0);
    });
    EXPECT_THROW(chain(1, 5000)->toJsonOnFd(static_cast<unsigned>(pipe.ends[1])),
                 std::system_error);
    reader.join();
}

TEST(DebugEvaluationLog, anEvaluationExplainsItself) {
    using namespace Eval; // NOLINT(google-build-using-namespace): this test builds a tree
    auto const immediate = triStateBoolImmediateFactory(1, TriStateBoolValue::true_);
    auto const truth = [&](U64 key) { return triStateBoolExpressionFactory(key, immediate); };
    auto const body = [](U64 key, PtrConst<Expression> statement) {
        return blockFactory(key + 1, expressionListFactory(key, std::move(statement), nullptr));
    };
    auto const callee = functionFactory(6, "callee", {}, {}, {}, false,
                                        body(4, returnExpressionFactory(3, truth(2))));
    auto const call = functionCallExpressionFactory(7, "callee", callee, nullptr, 0);
    auto const condition = ifExpressionFactory(11, call, body(9, truth(8)), nullptr);
    auto const caller = functionFactory(14, "caller", {}, {}, {}, false, body(12, condition));

    auto const context = makePtr<EvalContext>(nullptr, nullptr, nullptr);
    context->reset();
    context->shouldLogEvalIs(true);
    Ptr<EvalContextBase> const base = context;
    EXPECT_EQ(caller->eval(base).retVal(), TriStateBoolValue::unknown);

    auto const document = JsonDocument::parse(rendered(*context->evaluationLog()), "log");
    auto const entries = *document.root().find("entries");
    std::vector<U64> keys;
    for (auto const & record : entries) {
        keys.push_back(*record.find("aetNodeKey")->asU64());
    }
    EXPECT_EQ(keys, (std::vector<U64>{7, 8, 10, 11, 13, 14}));
    auto const nested = entries.at(0).find("functionCallLog")->find("entries");
    ASSERT_TRUE(nested);
    EXPECT_EQ(nested->size(), 4U) << "operand, return, body, function";
    EXPECT_EQ(nested->at(1).find("termination")->asString(), "noTermination");
}

} // namespace
} // namespace Qcf
