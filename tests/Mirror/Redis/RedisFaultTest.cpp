#include "Mirror/Redis/RedisFollower.h"
#include "Mirror/Redis/RedisWriter.h"
#include "tests/Mirror/ListTools.h"
#include "tests/Mirror/MirrorTools.h"
#include "tests/Mirror/Redis/RedisServer.h"

#include <csignal>
#include <random>
#include <thread>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Qcf::Mirror {
namespace {

using namespace std::chrono_literals;
using test::flatDocument;
using test::policy;
using test::TestFunction;

/// The lists of a version: a set of one tag, the value of its functions.
std::vector<Lists::ListRecord> listsOf(std::vector<TestFunction> const & functions) {
    return test::listRecords(R"({"tagSets": {"T": [)" + std::to_string(functions.front().value) +
                             "]}}");
}

/// Forks a process that publishes and is killed right after its `fatalStep`-th step, from 1;
/// answers whether it was, or was done before.
bool publishAndDie(RedisOptions const & options, std::vector<TestFunction> const & functions,
                   int fatalStep, WriterSettings settings = {}) {
    pid_t const child = ::fork();
    if (child == 0) {
        int steps = 0;
        settings.afterStep = [&](char const *) {
            if (++steps == fatalStep) {
                ::kill(::getpid(), SIGKILL);
            }
        };
        try {
            RedisWriter(
                options, "edge", [](String const &) {}, settings)
                .publish(policy(functions), listsOf(functions));
        } catch (std::exception const &) {
            ::_exit(1);
        }
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFSIGNALED(status);
}

/// A process that follows until it is killed.
pid_t forkReader(RedisOptions const & options) {
    pid_t const child = ::fork();
    if (child == 0) {
        FollowedStore mirror("edge");
        RedisFollower follower(options, mirror, [](String const &) {}, {.reader = "doomed"});
        for (;;) {
            follower.poll(5ms);
        }
    }
    return child;
}

/// What a reader sees must be one of the published policies, whole: all functions set one value,
/// and the lists have it.
class Witness {
public:
    explicit Witness(RedisOptions options)
        : follower(std::move(options), mirror, lines.sink(),
                   {.reader = "witness", .checkInterval = 10ms, .retryDelay = 2ms}) {}

    void poll() {
        follower.poll(0ms);
        auto const version = mirror.view().current();
        std::optional<U64> value;
        for (auto const * const named : version->functions().inOrder()) {
            context->reset();
            ASSERT_TRUE(named->value.function->eval(base).isTrue());
            ASSERT_EQ(context->med, context->localPref);
            ASSERT_EQ(value.value_or(context->med), context->med) << "of two versions";
            value = context->med;
        }
        if (value) {
            ASSERT_TRUE(version->lists()->tagSets.at("T")->contains(static_cast<U32>(*value)))
                << "functions and lists of two versions";
        }
    }
    void reach(VersionId const & version) {
        auto const end = std::chrono::steady_clock::now() + 10s;
        while (mirror.version() != version && std::chrono::steady_clock::now() < end) {
            poll();
        }
        ASSERT_EQ(mirror.version(), version) << lines.all();
    }

    test::Lines lines;
    FollowedStore mirror{"edge"};
    RedisFollower follower;
    Ptr<test::TestContext> context = makePtr<test::TestContext>();
    Ptr<Eval::EvalContextBase> base = context;
};

std::vector<TestFunction> functionsOf(U64 value) { return test::alike(2 + value % 7, value); }

TEST(RedisFaults, aWriterMayDieAfterAnyStep) {
    QCF_NEEDS_REDIS();
    test::RedisServer const server;
    Witness witness(server.options());
    U64 value = 1;
    int step = 1;
    for (bool died = true; died; ++step) {
        value += 2;
        died = publishAndDie(server.options(), functionsOf(value), step);
        for (int i = 0; i < 5; ++i) {
            witness.poll();
        }
        RedisWriter writer(server.options(), "edge", [](String const &) {});
        auto const next = functionsOf(value + 1);
        auto const outcome = writer.publish(policy(next), listsOf(next));
        ASSERT_TRUE(outcome.changed) << step;
        witness.reach(outcome.version);
        ASSERT_EQ(flatDocument(witness.mirror.status()), flatDocument(writer.status())) << step;
    }
    // lead, note, start, at least one part, end, note; start, three parts and end of the snapshot;
    // forget.
    EXPECT_GE(step, 12);
}

/// Random faults between and within publications; at the end of each round nothing is lost.
class FaultRounds {
public:
    explicit FaultRounds(U32 seed) : random_(seed) {}

    void round() {
        ++value_;
        fault();
        for (U64 i = random_() % 4; i > 0; --i) {
            witness_.poll();
        }
        publish();
    }
    void end() {
        publish();
        witness_.reach(last_);
        EXPECT_EQ(flatDocument(witness_.mirror.status()), flatDocument(writer_->status()));
        EXPECT_EQ(witness_.mirror.view().current()->functions().size(), functionsOf(value_).size());
    }

private:
    static constexpr int faultCount = 11;

    void fault() {
        switch (random_() % faultCount) {
        case 0:
        case 1:
        case 2: {
            WriterSettings settings;
            settings.smallSnapshot = random_() % 2 == 0 ? 0 : settings.smallSnapshot;
            publishAndDie(server_.options(), functionsOf(random_() % 1000),
                          1 + static_cast<int>(random_() % 12), settings);
            break;
        }
        case 3:
            server_.kill();
            witness_.poll();
            server_.start();
            break;
        case 4:
            server_.command({"CLIENT", "KILL", "TYPE", "normal"});
            break;
        case 5:
            server_.command({"XTRIM", keys_.changes, "MAXLEN", std::to_string(random_() % 5)});
            break;
        case 6:
            server_.command({"XADD", keys_.changes, "*", "b", "x", "n", "1", "k", "part", "d", ""});
            break;
        case 7:
            deleteEntry();
            break;
        case 8:
            server_.command({"HSET", keys_.snapshot, "piece 1", "damage"});
            break;
        case 9:
            server_.command({"DEL", random_() % 2 == 0 ? keys_.snapshot : keys_.state});
            break;
        default:
            killReader();
            break;
        }
    }

    void deleteEntry() {
        auto const entries = server_.command({"XRANGE", keys_.changes, "-", "+"});
        if (entries.size() != 0) {
            auto const entry = entries.at(random_() % entries.size());
            server_.command({"XDEL", keys_.changes, entry.at(0).text()});
        }
    }

    void killReader() {
        pid_t const reader = forkReader(server_.options());
        std::this_thread::sleep_for(std::chrono::milliseconds(random_() % 10));
        ::kill(reader, SIGKILL);
        ::waitpid(reader, nullptr, 0);
    }

    void publish() {
        // A writer of a process that lives on, or of a new one.
        if (!writer_ || random_() % 3 == 0) {
            writer_.emplace(server_.options(), "edge", [](String const &) {});
        }
        auto const functions = functionsOf(value_);
        try {
            last_ = writer_->publish(policy(functions), listsOf(functions)).version;
        } catch (FencedError const &) {
            writer_.emplace(server_.options(), "edge", [](String const &) {});
            last_ = writer_->publish(policy(functions), listsOf(functions)).version;
        }
        witness_.poll();
        if (random_() % 4 == 0) {
            witness_.reach(last_);
        }
    }

    std::mt19937 random_;
    test::RedisServer server_;
    RedisKeys keys_{"edge"};
    Witness witness_{server_.options()};
    std::optional<RedisWriter> writer_;
    U64 value_ = 1000;
    VersionId last_;
};

TEST(RedisFaults, twoHundredAndFiftyRoundsOfRandomFaults) {
    QCF_NEEDS_REDIS();
    FaultRounds rounds(20260);
    for (int i = 0; i < 250 && !testing::Test::HasFatalFailure(); ++i) {
        SCOPED_TRACE(i);
        rounds.round();
    }
    rounds.end();
}

} // namespace
} // namespace Qcf::Mirror
