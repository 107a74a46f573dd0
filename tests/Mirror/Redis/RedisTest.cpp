#include "Mirror/Redis/RedisFollower.h"
#include "Mirror/Redis/RedisWriter.h"
#include "tests/Mirror/MirrorTools.h"
#include "tests/Mirror/Redis/RedisServer.h"

#include <cstdlib>
#include <thread>

#include <gtest/gtest.h>
#include <unistd.h>

namespace Qcf::Mirror {
namespace {

using namespace std::chrono_literals;
using test::alike;
using test::flatDocument;
using test::Lines;
using test::policy;
using test::RedisServer;

/// A mirror with its follower, impatient as tests want it.
struct Follower {
    explicit Follower(RedisServer const & server, String name = "reader")
        : follower(server.options(), mirror, lines.sink(),
                   {.reader = std::move(name), .checkInterval = 20ms, .retryDelay = 5ms}) {}

    /// Polls until the mirror holds the version; false when that takes too long.
    bool reaches(VersionId const & version) {
        auto const end = std::chrono::steady_clock::now() + 5s;
        while (mirror.version() != version) {
            if (std::chrono::steady_clock::now() > end) {
                return false;
            }
            follower.poll(0ms);
            std::this_thread::sleep_for(1ms);
        }
        return mirror.view().current()->id() == version;
    }
    void pollFor(std::chrono::milliseconds time) {
        auto const end = std::chrono::steady_clock::now() + time;
        while (std::chrono::steady_clock::now() < end) {
            follower.poll(0ms);
            std::this_thread::sleep_for(1ms);
        }
    }

    Lines lines;
    FollowedStore mirror{"edge"};
    RedisFollower follower;
};

class Redis : public testing::Test {
protected:
    void SetUp() override {
        QCF_NEEDS_REDIS();
        server.emplace();
    }

    RedisWriter writer(WriterSettings settings = {}) {
        return {server->options(), "edge", lines.sink(), std::move(settings)};
    }

    std::optional<RedisServer> server;
    Lines lines;
};

TEST_F(Redis, publishesWhatDiffersAndReadersFollow) {
    auto writer = this->writer();
    auto const first = writer.publish(policy(alike(20, 1)));
    EXPECT_TRUE(first.changed);
    EXPECT_EQ(first.version.number, 1U);
    EXPECT_EQ(first.functions, 20U);

    Follower follower(*server);
    ASSERT_TRUE(follower.reaches(first.version)) << follower.lines.all();
    EXPECT_EQ(flatDocument(follower.mirror.status()), flatDocument(writer.status()));

    auto functions = alike(20, 1);
    functions[4].value = 2;
    auto const second = writer.publish(policy(functions));
    EXPECT_EQ(second.counts.functionsSet, 1U);
    EXPECT_LT(second.bytes, first.bytes / 5) << "a change of one function moves only its nodes";
    ASSERT_TRUE(follower.reaches(second.version));
    EXPECT_EQ(flatDocument(follower.mirror.status()), flatDocument(writer.status()));
    EXPECT_FALSE(writer.publish(policy(functions)).changed);
    EXPECT_EQ(follower.lines.all(), "") << "nothing to tell of";

    // A writer of another process goes on from what is there.
    auto other = this->writer();
    EXPECT_FALSE(other.publish(policy(functions)).changed);
    functions[5].value = 3;
    auto const third = other.publish(policy(functions));
    EXPECT_EQ(third.version.number, 3U);
    EXPECT_EQ(third.counts.functionsSet, 1U);
    ASSERT_TRUE(follower.reaches(third.version));
    EXPECT_EQ(flatDocument(follower.mirror.status()), flatDocument(other.status()));
}

TEST_F(Redis, anEmptyPolicyCanBePublished) {
    auto const outcome = writer().publish(policy({}));
    EXPECT_TRUE(outcome.changed);
    Follower follower(*server);
    EXPECT_TRUE(follower.reaches(outcome.version));
}

TEST_F(Redis, aSecondWriterFencesTheFirstOff) {
    auto first = writer();
    first.publish(policy(alike(2, 1)));
    auto second = writer();
    auto const version = second.publish(policy(alike(2, 2))).version;
    EXPECT_THROW(first.publish(policy(alike(2, 3))), FencedError);
    Follower follower(*server);
    ASSERT_TRUE(follower.reaches(version));

    // In the middle of a batch, too: nothing of the first one's shows.
    auto third = writer();
    std::optional<VersionId> intruder;
    auto interrupted = writer({.afterStep = [&](char const * step) {
        if (String(step) == "start" && !intruder) {
            intruder = third.publish(policy(alike(2, 4))).version;
        }
    }});
    EXPECT_THROW(interrupted.publish(policy(alike(2, 5))), FencedError);
    ASSERT_TRUE(follower.reaches(*intruder)) << follower.lines.all();
    EXPECT_EQ(flatDocument(follower.mirror.status()), flatDocument(third.status()));
    EXPECT_TRUE(follower.lines.tell("given up by its writer"));
}

TEST_F(Redis, statusTellsOfWriterReadersAndMarkers) {
    RedisConnection connection(server->options());
    RedisKeys const keys("edge");
    EXPECT_FALSE(readStatus(connection, keys).state.exists());
    auto writer = this->writer();
    auto const version = writer.publish(policy(alike(2, 1))).version;
    {
        Follower one(*server, "one");
        Follower two(*server, "two");
        ASSERT_TRUE(one.reaches(version) && two.reaches(version));
        auto const status = readStatus(connection, keys);
        EXPECT_EQ(status.state.version, version);
        EXPECT_EQ(status.state.startMarker, 1U);
        EXPECT_EQ(status.state.endMarker, 1U);
        EXPECT_EQ(status.state.functions, 2U);
        EXPECT_EQ(status.state.nodes, writer.status().nodes().size());
        EXPECT_EQ(status.snapshot.id, version.id);
        EXPECT_EQ(status.epoch, 1U);
        ASSERT_EQ(status.readers.size(), 2U);
        EXPECT_EQ(status.readers[0].name, "one");
        EXPECT_EQ(status.readers[1].version, 1U);
        EXPECT_EQ(status.readers[1].digest, version.digest.toString());
        EXPECT_EQ(status.readers[1].position, status.state.position.toString());
    }
    EXPECT_EQ(readStatus(connection, keys).readers.size(), 0U) << "they said good-bye";
    server->command({"HSET", keys.readers, "odd", "not ours"});
    EXPECT_EQ(readStatus(connection, keys).readers.at(0).position, "unknown");
}

TEST_F(Redis, aServerThatDiesComesBackWithEverything) {
    auto writer = this->writer();
    writer.publish(policy(alike(3, 1)));
    auto const second = writer.publish(policy(alike(3, 2))).version;
    Follower follower(*server);
    ASSERT_TRUE(follower.reaches(second));
    server->kill();
    follower.pollFor(50ms);
    EXPECT_FALSE(follower.follower.connected());
    EXPECT_TRUE(follower.lines.tell("keeping version 2")) << follower.lines.all();
    std::size_t const told = follower.lines.lines.size();
    follower.pollFor(50ms);
    EXPECT_EQ(follower.lines.lines.size(), told) << "told once";
    EXPECT_EQ(follower.mirror.view().current()->id(), second);
    EXPECT_THROW(this->writer({.patience = 30ms}).publish(policy(alike(3, 3))),
                 RedisConnectionError);

    server->start();
    auto const third = writer.publish(policy(alike(3, 3)));
    EXPECT_EQ(third.version.number, 3U);
    EXPECT_EQ(third.counts.functionsSet, 3U);
    ASSERT_TRUE(follower.reaches(third.version));
    EXPECT_TRUE(follower.lines.tell("connected again"));
}

TEST_F(Redis, aCutConnectionIsMadeAgain) {
    auto writer = this->writer();
    writer.publish(policy(alike(3, 1)));
    Follower follower(*server);
    for (U64 value = 2; value < 10; ++value) {
        server->command({"CLIENT", "KILL", "TYPE", "normal"});
        auto const version = writer.publish(policy(alike(3, value))).version;
        EXPECT_EQ(version.number, value);
        server->command({"CLIENT", "KILL", "TYPE", "normal"});
        ASSERT_TRUE(follower.reaches(version)) << follower.lines.all();
    }
}

struct Damage {
    char const * what;
    std::function<void(RedisServer &, RedisKeys const &)> inflict;
    char const * told; ///< "" when nothing need be
};

// After each damage, readers that were there and new ones reach what the next publication says.
TEST_F(Redis, whateverIsDamagedIsToldAndMended) {
    std::vector<Damage> const damages{
        {"trimmed stream",
         [](RedisServer & s, RedisKeys const & k) {
             s.command({"XTRIM", k.changes, "MAXLEN", "0"});
         },
         ""},
        {"foreign entry",
         [](RedisServer & s, RedisKeys const & k) {
             s.command({"XADD", k.changes, "*", "x", "y"});
         },
         "none of ours"},
        {"entry that looks like ours",
         [](RedisServer & s, RedisKeys const & k) {
             s.command({"XADD", k.changes, "*", "b", "feed", "n", "0", "k", "start", "d", "{}\n"});
         },
         "start"},
        {"piece of no batch",
         [](RedisServer & s, RedisKeys const & k) {
             s.command({"XADD", k.changes, "*", "b", "feed", "n", "7", "k", "part", "d", "{}\n"});
         },
         "out of place"},
        {"whole stream gone",
         [](RedisServer & s, RedisKeys const & k) {
             s.command({"DEL", k.changes});
         },
         ""},
        {"stream of another type",
         [](RedisServer & s, RedisKeys const & k) {
             s.command({"DEL", k.changes});
             s.command({"SET", k.changes, "x"});
         },
         "holds another type"},
        {"snapshot gone",
         [](RedisServer & s, RedisKeys const & k) {
             s.command({"DEL", k.snapshot});
         },
         ""},
        {"snapshot damaged",
         [](RedisServer & s, RedisKeys const & k) {
             s.command({"HSET", k.snapshot, "piece 1", "{}\n"});
         },
         ""},
        {"state gone",
         [](RedisServer & s, RedisKeys const & k) {
             s.command({"DEL", k.state});
         },
         "any more"},
        {"all gone", [](RedisServer & s, RedisKeys const &) { s.command({"FLUSHALL"}); },
         "any more"},
    };
    RedisKeys const keys("edge");
    auto writer = this->writer({.patience = 500ms});
    U64 value = 1;
    auto last = writer.publish(policy(alike(3, value))).version;
    for (Damage const & damage : damages) {
        Follower follower(*server);
        ASSERT_TRUE(follower.reaches(last)) << damage.what << "\n" << follower.lines.all();
        damage.inflict(*server, keys);
        follower.pollFor(80ms);
        EXPECT_EQ(follower.mirror.view().current()->id(), last) << damage.what;
        EXPECT_TRUE(*damage.told == '\0' || follower.lines.tell(damage.told))
            << damage.what << "\n"
            << follower.lines.all();
        auto next = this->writer();
        last = next.publish(policy(alike(3, ++value))).version;
        ASSERT_TRUE(follower.reaches(last)) << damage.what << "\n" << follower.lines.all();
        EXPECT_EQ(flatDocument(follower.mirror.status()), flatDocument(next.status()));
        Follower fresh(*server, "fresh");
        ASSERT_TRUE(fresh.reaches(last)) << damage.what << "\n" << fresh.lines.all();
    }
}

// A reader that missed part of a batch, with no snapshot to go by, waits for the next publication.
TEST_F(Redis, aBatchWithAHoleIsNeverApplied) {
    RedisKeys const keys("edge");
    auto writer = this->writer({.smallSnapshot = 0});
    auto const first = writer.publish(policy(alike(12, 1))).version;
    Follower follower(*server);
    ASSERT_TRUE(follower.reaches(first));
    auto functions = alike(12, 1);
    functions[0].value = 2; // small enough that no snapshot is due
    auto const second = writer.publish(policy(functions));
    ASSERT_FALSE(second.snapshot);
    auto const entries = server->command({"XREVRANGE", keys.changes, "+", "-"});
    ASSERT_EQ(entries.at(0).at(1).at(5).text(), "end");
    server->command({"XDEL", keys.changes, entries.at(1).at(0).text()});
    follower.pollFor(100ms);
    EXPECT_EQ(follower.mirror.version(), first);
    EXPECT_TRUE(follower.lines.tell("cannot be put together")) << follower.lines.all();
    EXPECT_TRUE(follower.lines.tell("keeping version 1"));

    auto const repaired = this->writer().publish(policy(functions));
    EXPECT_TRUE(repaired.changed) << "what nobody can read is published anew";
    EXPECT_GT(repaired.version.number, second.version.number);
    EXPECT_TRUE(lines.tell("published anew"));
    ASSERT_TRUE(follower.reaches(repaired.version)) << follower.lines.all();
}

TEST_F(Redis, aForeignEntryWithinABatchDoesNotSpoilIt) {
    RedisKeys const keys("edge");
    auto writer = this->writer({.afterStep = [&](char const *) {
        server->command({"XADD", keys.changes, "*", "who", "knows"});
    }});
    Follower follower(*server);
    for (U64 value = 1; value < 4; ++value) {
        auto const version = writer.publish(policy(alike(3, value))).version;
        ASSERT_TRUE(follower.reaches(version)) << follower.lines.all();
        EXPECT_EQ(flatDocument(follower.mirror.status()), flatDocument(writer.status()));
    }
}

TEST_F(Redis, theStreamIsTrimmedBehindSnapshots) {
    auto writer = this->writer({.keptVersions = 2});
    for (U64 value = 1; value <= 30; ++value) {
        writer.publish(policy(alike(3, value)));
    }
    RedisConnection connection(server->options());
    EXPECT_LE(readStatus(connection, RedisKeys("edge")).streamEntries, 10U);
    Follower follower(*server);
    EXPECT_TRUE(follower.reaches(readState(connection, RedisKeys("edge")).version));
}

TEST(RedisAccess, passwords) {
    QCF_NEEDS_REDIS();
    RedisServer server({"--requirepass", "s3cret"});
    auto options = server.options();
    EXPECT_THROW(RedisConnection{options}, RedisConnectionError);
    options.password = "wrong";
    EXPECT_THROW(RedisConnection{options}, RedisConnectionError);
    auto const good = RedisOptions::parse("unix://:s3cret@" + server.socket().string());
    EXPECT_EQ(RedisConnection(good).command({"PING"}).text(), "PONG");
    auto named = good;
    named.user = "default";
    EXPECT_EQ(RedisConnection(named).command({"PING"}).text(), "PONG");
}

/// A certificate of its own authority for 127.0.0.1, and a port that is free.
bool makeCertificate(std::filesystem::path const & folder) {
    String const at = folder.string();
    return std::system(("openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj /CN=qcf-test "
                        "-addext subjectAltName=IP:127.0.0.1 -keyout " +
                        at + "/key.pem -out " + at + "/cert.pem >/dev/null 2>&1")
                           .c_str()) == 0;
}

TEST(RedisAccess, tls) {
    QCF_NEEDS_REDIS();
    auto const folder =
        std::filesystem::temp_directory_path() / ("qcf-tls-" + std::to_string(::getpid()));
    std::filesystem::create_directory(folder);
    if (!makeCertificate(folder)) {
        GTEST_SKIP() << "no openssl command to make a certificate with";
    }
    String const cert = (folder / "cert.pem").string();
    String const port = std::to_string(20000 + ::getpid() % 20000);
    RedisServer const server({"--port", "0", "--tls-port", port, "--tls-cert-file", cert,
                              "--tls-key-file", (folder / "key.pem").string(), "--tls-ca-cert-file",
                              cert, "--tls-auth-clients", "optional"});
    auto options = RedisOptions::parse("rediss://127.0.0.1:" + port);
    EXPECT_THROW(RedisConnection{options}, RedisConnectionError) << "an authority of nobody's";
    options.caFile = cert;
    String const big(300'000, 'x');
    {
        RedisConnection connection(options);
        connection.command({"SET", "big", big});
        EXPECT_EQ(connection.command({"GET", "big"}).text(), big);
    }
    options.certificateFile = cert;
    options.keyFile = (folder / "key.pem").string();
    EXPECT_EQ(RedisConnection(options).command({"PING"}).text(), "PONG");
    options.host = "localhost";
    EXPECT_THROW(RedisConnection{options}, RedisConnectionError) << "a name not in it";
    options.verifyServer = false;
    EXPECT_EQ(RedisConnection(options).command({"PING"}).text(), "PONG");
    options.tls = false;
    EXPECT_THROW(RedisConnection{options}, RedisConnectionError) << "plain text to a TLS port";
    options.tls = true;
    options.caFile = (folder / "missing.pem").string();
    try {
        RedisConnection const connection(options);
        ADD_FAILURE() << "an authority that is not there";
    } catch (RedisConnectionError const & error) {
        EXPECT_NE(String(error.what()).find("missing.pem: No such file"), String::npos)
            << error.what();
    }
    std::filesystem::remove_all(folder);
}

TEST(RedisAccess, whoeverDoesNotAnswerIsGivenUp) {
    auto options = RedisOptions::parse("redis://127.0.0.1:1");
    EXPECT_THROW(RedisConnection{options}, RedisConnectionError);
    EXPECT_THROW(RedisConnection{RedisOptions::parse("unix:///nonexistent/socket")},
                 RedisConnectionError);
    EXPECT_THROW(RedisConnection{RedisOptions::parse("unix:///" + String(300, 'x'))},
                 RedisConnectionError);
    EXPECT_THROW(RedisConnection{RedisOptions::parse("redis://no-such-host.invalid")},
                 RedisConnectionError);
    QCF_NEEDS_REDIS();
    RedisServer const server;
    options = server.options();
    options.replyTimeout = 50ms;
    RedisConnection connection(options);
    auto const start = std::chrono::steady_clock::now();
    EXPECT_THROW(connection.command({"XREAD", "BLOCK", "0", "STREAMS", "none", "$"}),
                 RedisConnectionError);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 2s);
}

} // namespace
} // namespace Qcf::Mirror
