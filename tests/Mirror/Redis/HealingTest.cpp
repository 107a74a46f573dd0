#include "Mirror/Redis/LoadedStore.h"
#include "Mirror/Redis/RedisWriter.h"
#include "tests/Mirror/ListTools.h"
#include "tests/Mirror/Redis/RedisReader.h"
#include "tests/Mirror/Redis/RedisServer.h"

#include <thread>

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

/// What a store is to outlive: servers that take nothing, keys that hold anything, answers that
/// claim too much.
namespace Qcf::Mirror {
namespace {

using namespace std::chrono_literals;
using test::alike;
using test::Lines;
using test::policy;
using test::RedisServer;
using Reader = test::RedisReader;

struct Refusing {
    char const * what;
    std::vector<String> command;
    char const * user; ///< "" for the one who may do everything
    char const * told;
};

TEST(Healing, aReaderThatMayNotWriteGetsItsData) {
    QCF_NEEDS_REDIS();
    Refusing const cases[] = {
        {"an account that reads alone",
         {"ACL", "SETUSER", "looker", "on", ">pw", "~*", "+hgetall", "+hmget", "+xread"},
         "looker",
         "NOPERM"},
        {"a full server", {"CONFIG", "SET", "maxmemory", "1"}, "", "OOM"},
        {"a replica", {"REPLICAOF", "127.0.0.1", "1"}, "", "READONLY"},
        {"a record of another type", {"SET", "qcf:{edge}:readers", "x"}, "", "WRONGTYPE"},
    };
    for (Refusing const & each : cases) {
        SCOPED_TRACE(each.what);
        RedisServer const server;
        Lines lines;
        auto const version = RedisWriter(server.options(), "edge", lines.sink())
                                 .publish(policy(alike(3, 1)))
                                 .version;
        server.command({each.command.begin(), each.command.end()});
        auto options = server.options();
        if (*each.user != '\0') {
            options.user = each.user;
            options.password = "pw";
        }
        Reader reader(options);
        ASSERT_TRUE(reader.reaches(version)) << reader.lines.all();
        reader.pollFor(60ms);
        EXPECT_TRUE(reader.follower.connected());
        EXPECT_EQ(reader.lines.lines.size(), 1U) << "told once: " << reader.lines.all();
        EXPECT_TRUE(reader.lines.tell(each.told)) << reader.lines.all();
    }
}

struct Mess {
    char const * what;
    std::vector<std::vector<String>> commands;
};

// After whatever stands there, one publication makes all of it right, for those who were there and
// for those who come.
TEST(Healing, thePublicationAfterAMessIsRight) {
    QCF_NEEDS_REDIS();
    String const at = "qcf:{edge}:";
    String const most = "18446744073709551615";
    Mess const messes[] = {
        {"writer of another type", {{"DEL", at + "writer"}, {"SET", at + "writer", "x"}}},
        {"changes of another type", {{"DEL", at + "changes"}, {"SADD", at + "changes", "x"}}},
        {"state of another type", {{"DEL", at + "state"}, {"LPUSH", at + "state", "x"}}},
        {"snapshot of another type", {{"DEL", at + "snapshot"}, {"SET", at + "snapshot", "x"}}},
        {"staging of another type", {{"SET", at + "snapshot.next", "x"}}},
        {"readers of another type", {{"DEL", at + "readers"}, {"SET", at + "readers", "x"}}},
        {"an epoch at its maximum", {{"HSET", at + "writer", "epoch", "9223372036854775807"}}},
        {"an epoch that is no number", {{"HSET", at + "writer", "epoch", "x"}}},
        {"bytes that are no number", {{"HSET", at + "state", "bytes", "x"}}},
        {"bytes at their maximum", {{"HSET", at + "state", "bytes", "9223372036854775807"}}},
        {"a version at its maximum", {{"HSET", at + "state", "version", most}}},
        {"a version beyond it", {{"HSET", at + "state", "version", most + "0"}}},
        {"a position that is none", {{"HSET", at + "state", "position", "x"}}},
        {"a position at its maximum", {{"HSET", at + "state", "position", most + "-" + most}}},
        {"another id", {{"HSET", at + "state", "id", "x"}}},
        {"another digest", {{"HSET", at + "state", "digest", "x"}}},
        {"parts of the state", {{"HDEL", at + "state", "id", "digest"}}},
        {"a stream that can take no more", {{"XADD", at + "changes", most + "-" + most, "x", "y"}}},
        {"a snapshot of no pieces", {{"HSET", at + "snapshot", "pieces", most}}},
        {"a snapshot that leads nowhere", {{"HSET", at + "snapshot", "position", "x"}}},
        {"a snapshot from the future", {{"HSET", at + "snapshot", "position", most + "-0"}}},
        {"a snapshot that names another", {{"HSET", at + "snapshot", "id", "x"}}},
        {"a stuck reader", {{"HSET", at + "readers", "r", most + " {\"stuck\":true}"}}},
    };
    RedisServer const server;
    Lines lines;
    U64 value = 1;
    auto last = RedisWriter(server.options(), "edge", lines.sink()).publish(policy(alike(3, 1)));
    for (Mess const & mess : messes) {
        SCOPED_TRACE(mess.what);
        Reader reader(server.options());
        ASSERT_TRUE(reader.reaches(last.version)) << reader.lines.all();
        for (auto const & command : mess.commands) {
            server.command({command.begin(), command.end()});
        }
        reader.pollFor(60ms);
        EXPECT_LE(reader.lines.lines.size(), 3U) << "told once: " << reader.lines.all();
        auto const next = RedisWriter(server.options(), "edge", lines.sink(), {.patience = 100ms})
                              .publish(policy(alike(3, ++value)));
        EXPECT_GT(next.version.number, last.version.number);
        ASSERT_TRUE(reader.reaches(next.version)) << reader.lines.all() << lines.all();
        Reader fresh(server.options());
        ASSERT_TRUE(fresh.reaches(next.version)) << fresh.lines.all();
        last = next;
    }
}

// Where a snapshot is large, not every version brings a new one; but what those who come begin with
// is right after any publication, the same content published again included.
TEST(Healing, aDamagedSnapshotIsWrittenAnew) {
    QCF_NEEDS_REDIS();
    RedisKeys const keys("edge");
    std::vector<String> const damages[] = {
        {"HDEL", keys.snapshot, "piece 1"},
        {"HSET", keys.snapshot, "piece 1", "{}"},
        {"HSET", keys.snapshot, "pieces", "1"},
        {"HSET", keys.snapshot, "position", "18446744073709551615-0"},
        {"HSET", keys.snapshot, "position", "0-0"},
        {"DEL", keys.snapshot},
        {"HSET", keys.state, "position", "x"},
    };
    RedisServer const server;
    for (auto const & damage : damages) {
        for (U64 const next : {1U, 2U}) {
            SCOPED_TRACE(damage.back() + " of " + damage[0]);
            server.command({"FLUSHALL"});
            Lines lines;
            auto functions = alike(30, 1);
            RedisWriter(server.options(), "edge", lines.sink(), {.smallSnapshot = 0})
                .publish(policy(functions));
            functions[0].value = next;
            server.command({damage.begin(), damage.end()});
            auto const version =
                RedisWriter(server.options(), "edge", lines.sink(), {.smallSnapshot = 0})
                    .publish(policy(functions))
                    .version;
            Reader fresh(server.options());
            ASSERT_TRUE(fresh.reaches(version)) << fresh.lines.all() << lines.all();
        }
    }
}

// The stream of the next version then has lower positions than the reader's, who hears nothing.
TEST(Healing, aReaderBehindTheEndOfTheStreamLooksForTheNextOne) {
    QCF_NEEDS_REDIS();
    RedisServer const server;
    Lines lines;
    RedisKeys const keys("edge");
    FollowedStore mirror("edge");
    RedisFollower follower(server.options(), mirror, lines.sink(),
                           {.reader = "reader", .checkInterval = 5s});
    auto const follow = [&](VersionId const & version) {
        auto const end = std::chrono::steady_clock::now() + 3s;
        while (mirror.version() != version && std::chrono::steady_clock::now() < end) {
            follower.poll(10ms);
        }
        return mirror.version() == version;
    };
    auto const publish = [&](U64 value) {
        return RedisWriter(server.options(), "edge", lines.sink())
            .publish(policy(alike(3, value)))
            .version;
    };
    ASSERT_TRUE(follow(publish(1)));
    server.command({"XADD", keys.changes, "18446744073709551615-18446744073709551615", "x", "y"});
    // What has come is looked at, and found to be of no version.
    for (int i = 0; i < 3; ++i) {
        follower.poll(10ms);
    }
    EXPECT_TRUE(follow(publish(2))) << lines.all();
}

// A real version with the last number: what to do is told, and nothing wraps.
TEST(Healing, theLastVersionIsTheLast) {
    QCF_NEEDS_REDIS();
    RedisServer const server;
    Lines lines;
    RedisKeys const keys("edge");
    auto const first =
        RedisWriter(server.options(), "edge", lines.sink()).publish(policy(alike(3, 1)));
    server.command({"HSET", keys.state, "version", std::to_string(lastVersion - 1)});
    auto const last =
        RedisWriter(server.options(), "edge", lines.sink()).publish(policy(alike(3, 2)));
    EXPECT_EQ(last.version.number, lastVersion);
    try {
        RedisWriter(server.options(), "edge", lines.sink()).publish(policy(alike(3, 3)));
        FAIL() << "a version after the last";
    } catch (MirrorError const & error) {
        EXPECT_NE(String(error.what()).find("redis-cli DEL qcf:{edge}:state"), String::npos)
            << error.what();
    }
    Reader reader(server.options());
    ASSERT_TRUE(reader.reaches(last.version));
    server.command({"DEL", keys.state, keys.snapshot, keys.changes});
    auto const anew =
        RedisWriter(server.options(), "edge", lines.sink()).publish(policy(alike(3, 3)));
    EXPECT_EQ(anew.version.number, 1U);
    EXPECT_TRUE(reader.reaches(anew.version)) << reader.lines.all();
}

TEST(Healing, functionsAndListsSwitchTogether) {
    QCF_NEEDS_REDIS();
    RedisServer const server;
    Lines lines;
    Reader reader(server.options());
    RedisWriter writer(server.options(), "edge", lines.sink());
    auto const records = [](U64 tag) {
        return test::listRecords(R"({"tagSets": {"T": [)" + std::to_string(tag) + "]}}");
    };
    for (U64 value = 1; value < 6; ++value) {
        auto const outcome = writer.publish(policy(alike(3, value / 2)), records(value));
        ASSERT_TRUE(outcome.changed);
        EXPECT_EQ(outcome.listCounts.set, 1U);
        EXPECT_EQ(outcome.counts.changed(), value % 2 == 0 || value == 1);
        ASSERT_TRUE(reader.reaches(outcome.version)) << reader.lines.all();
        auto const version = reader.mirror.view().current();
        EXPECT_TRUE(version->lists()->tagSets.at("T")->tags().contains(static_cast<U32>(value)));
        EXPECT_FALSE(writer.publish(policy(alike(3, value / 2)), records(value)).changed);
    }
    // One who comes late, by the snapshot, and another writer that goes on from there.
    auto const outcome = RedisWriter(server.options(), "edge", lines.sink())
                             .publish(policy(alike(3, 2)), records(9));
    EXPECT_EQ(outcome.counts.functionsSet, 0U);
    EXPECT_EQ(outcome.listCounts.entriesAdded, 1U);
    Reader late(server.options());
    ASSERT_TRUE(late.reaches(outcome.version)) << late.lines.all();
    EXPECT_EQ(late.mirror.view().current()->lists()->tagSets.size(), 1U);
}

/// A server that answers everything with the same bytes, at once or one after each pause.
class LyingServer {
public:
    explicit LyingServer(String answer, std::chrono::milliseconds pause = 0ms)
        : answer_(std::move(answer)), pause_(pause) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path_ = "/tmp/qcf-liar-" + std::to_string(::getpid());
        ::unlink(path_.c_str());
        path_.copy(address.sun_path, sizeof address.sun_path - 1);
        fd_ = ::socket(AF_UNIX, SOCK_STREAM, 0);
        static_cast<void>(::bind(fd_, reinterpret_cast<sockaddr *>(&address), sizeof address));
        ::listen(fd_, 5);
        thread_ = std::thread([this] { serve(); });
    }
    ~LyingServer() {
        ::shutdown(fd_, SHUT_RDWR);
        thread_.join();
        ::close(fd_);
        ::unlink(path_.c_str());
    }
    RedisOptions options() const { return RedisOptions::parse("unix://" + path_); }

private:
    void serve() const {
        for (int client = 0; (client = ::accept(fd_, nullptr, nullptr)) >= 0; ::close(client)) {
            char request[4096];
            while (::recv(client, request, sizeof request, 0) > 0) {
                if (!answer(client)) {
                    break;
                }
            }
        }
    }
    bool answer(int client) const {
        std::size_t const step = pause_ == 0ms ? answer_.size() : 1;
        for (std::size_t at = 0; at < answer_.size(); at += step) {
            if (::send(client, answer_.data() + at, step, MSG_NOSIGNAL) < 0) {
                return false;
            }
            std::this_thread::sleep_for(pause_);
        }
        return true;
    }

    String answer_;
    std::chrono::milliseconds pause_;
    String path_;
    int fd_ = -1;
    std::thread thread_;
};

TEST(Healing, answersThatClaimTooMuchCostNothing) {
    for (char const * const answer : {"*2147483647\r\n", "$536870912\r\nx", "*16000001\r\n"}) {
        LyingServer const server(answer);
        try {
            RedisConnection const connection(server.options());
            FAIL() << "taken: " << answer;
        } catch (RedisConnectionError const & error) {
            EXPECT_NE(String(error.what()).find("an answer of more than"), String::npos)
                << error.what();
        }
    }
}

// As the first pieces of a batch that only a later build understands, and whose writer died.
TEST(Healing, whatCannotBeReadIsToldOnceOrTwice) {
    QCF_NEEDS_REDIS();
    RedisServer const server;
    Lines lines;
    RedisWriter writer(server.options(), "edge", lines.sink());
    auto const first = writer.publish(policy(alike(2, 1))).version;
    Reader reader(server.options());
    ASSERT_TRUE(reader.reaches(first));
    auto const append = [&](char const * number, char const * kind, char const * text) {
        server.command(
            {"XADD", "qcf:{edge}:changes", "*", "b", "later", "n", number, "k", kind, "d", text});
        reader.pollFor(30ms);
    };
    append("0", "start", R"({"start":{"format":99,"version":2,"id":"later","base":""}})");
    for (char const * const number : {"1", "2", "3", "4"}) {
        append(number, "part", "{}");
    }
    EXPECT_TRUE(reader.lines.tell("found one of format 99"));
    EXPECT_LE(reader.lines.lines.size(), 3U) << reader.lines.all();
    EXPECT_EQ(reader.mirror.version(), first);
    EXPECT_TRUE(reader.reaches(writer.publish(policy(alike(2, 2))).version)) << reader.lines.all();
}

TEST(Healing, aServerThatTakesAllAndKeepsNothingIsSeen) {
    LyingServer const server("+OK\r\n");
    Lines lines;
    EXPECT_THROW(RedisWriter(server.options(), "edge", lines.sink()).publish(policy(alike(1, 1))),
                 MirrorError);
}

TEST(Healing, anAnswerThatTricklesIsGivenUp) {
    LyingServer const server("$20000\r\n" + String(20000, 'x'), 5ms);
    auto options = server.options();
    options.replyTimeout = 200ms;
    auto const start = std::chrono::steady_clock::now();
    EXPECT_THROW(RedisConnection{options}.command({"GET", "x"}), RedisConnectionError);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 20s) << "all of it would take 100 s";
}

TEST(Healing, whatIsWrongForGoodEndsAtOnce) {
    QCF_NEEDS_REDIS();
    RedisServer const server({"--requirepass", "s3cret"});
    auto options = server.options();
    for (char const * const password : {"", "wrong"}) {
        options.password = password;
        Reader reader(options);
        EXPECT_THROW(reader.follower.poll(0ms), RedisAccessError);
        Lines lines;
        auto const start = std::chrono::steady_clock::now();
        EXPECT_THROW(RedisWriter(options, "edge", lines.sink()).publish(policy(alike(1, 1))),
                     RedisAccessError);
        EXPECT_LT(std::chrono::steady_clock::now() - start, 1s) << "no patience with that";
    }
    // Once it has worked, a password that changes is waited for.
    options.password = "s3cret";
    RedisConnection admin(options);
    Reader reader(options);
    reader.follower.poll(0ms);
    admin.command({"CONFIG", "SET", "requirepass", "other"});
    admin.command({"CLIENT", "KILL", "TYPE", "normal", "SKIPME", "yes"});
    reader.pollFor(30ms);
    EXPECT_FALSE(reader.follower.connected());
    EXPECT_TRUE(reader.lines.tell("WRONGPASS")) << reader.lines.all();
    admin.command({"CONFIG", "SET", "requirepass", "s3cret"});
    reader.pollFor(30ms);
    EXPECT_TRUE(reader.follower.connected());
}

} // namespace
} // namespace Qcf::Mirror
