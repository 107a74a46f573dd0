#include "Mirror/Redis/RedisHistory.h"

#include "Mirror/MirrorError.h"
#include "Mirror/Redis/RedisFollower.h"
#include "Mirror/Redis/RedisWriter.h"
#include "tests/Mirror/MirrorTools.h"
#include "tests/Mirror/Redis/RedisServer.h"

#include <csignal>
#include <thread>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Qcf::Mirror {
namespace {

using namespace std::chrono_literals;
using test::alike;
using test::flatDocument;
using test::policy;
using test::RedisServer;
using test::TestFunction;

class RedisHistory : public testing::Test {
protected:
    void SetUp() override {
        QCF_NEEDS_REDIS();
        server.emplace();
        connection.emplace(server->options());
    }

    RedisWriter writer(WriterSettings settings = {}) {
        return {server->options(), "edge", lines.sink(), std::move(settings)};
    }
    std::vector<KeptVersion> history() { return readHistory(*connection, keys); }
    std::vector<U64> keptNumbers() {
        std::vector<U64> numbers;
        for (KeptVersion const & kept : history()) {
            numbers.push_back(kept.version.number);
        }
        return numbers;
    }
    /// The functions of a kept version as a document; why it cannot be had instead.
    String documentOf(KeptVersion const & kept) {
        try {
            auto const replica = loadKeptVersion(*connection, keys, kept, nullptr, lines.sink());
            return flatDocument(*replica->status());
        } catch (MirrorError const & error) {
            return error.what();
        }
    }

    std::optional<RedisServer> server;
    std::optional<RedisConnection> connection;
    RedisKeys keys{"edge"};
    test::Lines lines;
};

/// Twelve functions of which the first changes with each version, or all of them.
std::vector<TestFunction> functionsOf(U64 version, bool all) {
    auto functions = alike(12, all ? version : 1);
    functions[0].value = version;
    return functions;
}

// Small and large batches, with a snapshot for every version and with one now and then: each kept
// version is what it was when it was published, down to the keys of its nodes.
TEST_F(RedisHistory, everyKeptVersionCanBeReadAsItWas) {
    struct {
        U64 smallSnapshot;
        bool all;
    } const cases[] = {{U64{256} << 10, true}, {0, true}, {0, false}};
    for (auto const & each : cases) {
        server->command({"FLUSHALL"});
        std::vector<String> documents{""};
        auto writer = this->writer({.smallSnapshot = each.smallSnapshot, .keptVersions = 6});
        for (U64 version = 1; version <= 25; ++version) {
            writer.publish(policy(functionsOf(version, each.all)));
            documents.push_back(flatDocument(writer.status()));
            for (KeptVersion const & kept : history()) {
                ASSERT_EQ(documentOf(kept), documents[kept.version.number])
                    << "version " << kept.version.number << " at " << version << lines.all();
            }
            ASSERT_EQ(history().size(), std::min<U64>(version, 6));
            ASSERT_EQ(history().back().version.number, version);
        }
    }
    EXPECT_EQ(lines.all(), "");
}

TEST_F(RedisHistory, whatNoKeptVersionNeedsIsLetGo) {
    auto writer = this->writer({.keptVersions = 3});
    U64 most = 0;
    for (U64 version = 1; version <= 30; ++version) {
        writer.publish(policy(functionsOf(version, true)));
        most = std::max(most, readStatus(*connection, keys).streamEntries);
    }
    // Of each version start, nodes and end; three versions and the one that they build upon.
    EXPECT_LE(most, 16U);
    EXPECT_LE(connection->command({"HLEN", keys.keptSnapshots}).number(), 3U);
    auto const all = connection->command({"KEYS", "*"});
    EXPECT_LE(all.size(), 7U + 3U) << "snapshots are left behind";

    // The number is the name's, and not that of one writer.
    this->writer().publish(policy(alike(2, 1)));
    EXPECT_EQ(keptNumbers(), (std::vector<U64>{29, 30, 31}));
    this->writer({.keptVersions = 1}).publish(policy(alike(2, 2)));
    EXPECT_EQ(keptNumbers(), std::vector<U64>{32});
}

TEST_F(RedisHistory, aRecordTellsWhatWasPublished) {
    auto writer = this->writer();
    auto const first = writer.publish(policy(alike(2, 1)));
    auto const kept = history();
    ASSERT_EQ(kept.size(), 1U);
    EXPECT_EQ(kept[0].version, first.version);
    EXPECT_EQ(kept[0].functions, 2U);
    EXPECT_EQ(kept[0].nodes, first.nodes);
    EXPECT_GT(kept[0].published, 1'600'000'000U);
    EXPECT_NE(kept[0].writer, "");
    EXPECT_EQ(kept[0].note, "");
    writer.publish(policy(alike(2, 1)));
    EXPECT_EQ(history().size(), 1U) << "nothing was published";
}

TEST_F(RedisHistory, goingBackIsAPublication) {
    auto writer = this->writer();
    std::vector<VersionId> versions;
    for (U64 value = 1; value <= 4; ++value) {
        versions.push_back(writer.publish(policy(alike(2 + value, value))).version);
    }
    FollowedStore mirror("edge");
    RedisFollower follower(server->options(), mirror, lines.sink(),
                           {.reader = "one", .checkInterval = 20ms});
    auto const kept = history();
    auto const second = loadKeptVersion(*connection, keys, kept[1], nullptr, lines.sink());
    auto const outcome = this->writer().restore(*second);
    EXPECT_TRUE(outcome.changed);
    EXPECT_EQ(outcome.version.number, 5U);
    EXPECT_EQ(outcome.version.digest, versions[1].digest);
    EXPECT_EQ(outcome.functions, 4U);
    EXPECT_EQ(history().back().note, "rollback to version 2");
    for (int i = 0; i < 500 && mirror.version() != outcome.version; ++i) {
        follower.poll(10ms);
    }
    ASSERT_EQ(mirror.version(), outcome.version) << lines.all();
    EXPECT_EQ(mirror.status().startOfDedupedFunctionUpdatesMarker(), 5U);
    EXPECT_EQ(mirror.status().endOfDedupedFunctionUpdatesMarker(), 5U);
    EXPECT_FALSE(this->writer().restore(*second).changed) << "it is live";

    // And forward again, to what was rolled back.
    auto const fourth = loadKeptVersion(*connection, keys, history()[3], nullptr, lines.sink());
    EXPECT_EQ(this->writer().restore(*fourth).version.digest, versions[3].digest);
    EXPECT_EQ(keptNumbers(), (std::vector<U64>{1, 2, 3, 4, 5, 6}));
}

// A writer that dies after any step leaves a history whose versions can all be read, and the next
// one notes what it did not.
TEST_F(RedisHistory, aWriterMayDieAfterAnyStep) {
    bool died = true;
    for (int fatal = 1; died; ++fatal) {
        U64 const value = 10 * static_cast<U64>(fatal);
        pid_t const child = ::fork();
        if (child == 0) {
            int steps = 0;
            WriterSettings settings;
            settings.smallSnapshot = fatal % 2 == 0 ? 0 : settings.smallSnapshot;
            settings.afterStep = [&](char const *) {
                if (++steps == fatal) {
                    ::kill(::getpid(), SIGKILL);
                }
            };
            RedisWriter(
                server->options(), "edge", [](String const &) {}, settings)
                .publish(policy(alike(3, value)));
            ::_exit(0);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        died = WIFSIGNALED(status);
        auto const dead = readState(*connection, keys).version;
        auto const last = this->writer().publish(policy(alike(3, value + 1))).version;
        auto const kept = history();
        ASSERT_EQ(kept.back().version, last) << fatal;
        ASSERT_TRUE(dead.number == 0 || (kept.size() > 1 && kept[kept.size() - 2].version == dead))
            << fatal;
        for (KeptVersion const & each : kept) {
            ASSERT_EQ(documentOf(each).substr(0, 1), "{") << fatal << documentOf(each);
        }
    }
}

// What others put under the keys costs at most the versions that it stood for.
TEST_F(RedisHistory, damageIsToldAndMended) {
    struct {
        char const * what;
        std::vector<String> command;
    } const damages[] = {
        {"a text for the history", {"SET", keys.history, "x"}},
        {"a text for the kept snapshots", {"SET", keys.keptSnapshots, "x"}},
        {"junk for a record", {"HSET", keys.history, "2", "{"}},
        {"a version above all", {"HSET", keys.history, "99999999999999999999", "{}"}},
        {"a number that is none", {"HSET", keys.history, "two", "{}"}},
        {"a snapshot that is not there", {"HSET", keys.keptSnapshots, "2", "1-1"}},
        {"a position that is none", {"HSET", keys.keptSnapshots, "2", "here"}},
        {"no history", {"DEL", keys.history}},
    };
    U64 value = 0;
    for (auto const & damage : damages) {
        SCOPED_TRACE(damage.what);
        for (int i = 0; i < 3; ++i) {
            writer().publish(policy(alike(3, ++value)));
        }
        server->command(RedisConnection::Arguments(damage.command.begin(), damage.command.end()));
        auto writer = this->writer();
        auto const version = writer.publish(policy(alike(3, ++value))).version;
        auto const kept = history();
        ASSERT_FALSE(kept.empty());
        EXPECT_EQ(kept.back().version, version);
        EXPECT_EQ(documentOf(kept.back()), flatDocument(writer.status()));
        EXPECT_EQ(kept[kept.size() - 2].version.number, version.number - 1);
        EXPECT_EQ(documentOf(kept[kept.size() - 2]).substr(0, 1), "{") << lines.all();
    }
    // Nothing to begin with any more: no version is made of less.
    server->command({"DEL", keys.snapshot});
    server->command({"DEL", keys.keptSnapshots});
    server->command({"XTRIM", keys.changes, "MAXLEN", "1"});
    EXPECT_EQ(documentOf(history().front()).find("edge: version"), 0U);
}

} // namespace
} // namespace Qcf::Mirror
