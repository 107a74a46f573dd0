#pragma once

#include "Mirror/Redis/RedisConnection.h"

#include <filesystem>
#include <vector>

namespace Qcf::Mirror::test {

/// A redis-server of the test's own: on a socket in a temporary folder, with its append-only file
/// on, so that it comes back with what it had.
class RedisServer {
public:
    /// Further arguments as for redis-server.
    explicit RedisServer(std::vector<String> arguments = {});
    ~RedisServer();
    RedisServer(RedisServer const &) = delete;
    RedisServer & operator=(RedisServer const &) = delete;

    /// Whether the machine has a redis-server at all.
    static bool available();

    /// Starts it and waits until it answers.
    void start();
    /// Ends it at once, as a power cut would.
    void kill();

    String url() const { return "unix://" + socket().string(); }
    RedisOptions options() const { return RedisOptions::parse(url()); }
    /// A command by a connection of its own.
    RedisReply command(RedisConnection::Arguments const & arguments) const;
    std::filesystem::path const & folder() const { return folder_; }
    std::filesystem::path socket() const { return folder_ / "redis.sock"; }

private:
    std::filesystem::path folder_;
    std::vector<String> arguments_;
    int pid_ = -1;
};

/// Skips the test, saying why, where there is no server to test with.
#define QCF_NEEDS_REDIS()                                                                          \
    if (!Qcf::Mirror::test::RedisServer::available()) {                                            \
        GTEST_SKIP() << "no redis-server on this machine (package redis-server)";                  \
    }                                                                                              \
    static_cast<void>(0)

} // namespace Qcf::Mirror::test
