#pragma once

#include "Mirror/Redis/RedisSocket.h"

#include <initializer_list>
#include <map>
#include <optional>
#include <vector>

struct redisReader;
struct redisReply;

namespace Qcf::Mirror {

/// An answer of the server that says no: `what` is its text. The connection stays good.
class RedisRefusal : public std::runtime_error {
public:
    explicit RedisRefusal(String const & line) : std::runtime_error(line) {}
    /// Whether the server's text starts so: "FENCED", "LOADING".
    bool is(std::string_view code) const;
};

/// An answer of the server, or a part of one, which keeps the whole alive.
class RedisReply {
public:
    RedisReply() = default;
    explicit RedisReply(std::shared_ptr<redisReply const> reply) : reply_(std::move(reply)) {}

    bool isNull() const;
    bool isError() const;
    /// Elements of an array; 0 for anything else.
    std::size_t size() const;
    RedisReply at(std::size_t i) const;
    /// The text of a string, status or error; empty for anything else.
    std::string_view text() const;
    /// An integer, also one written as a text; nothing for anything else.
    std::optional<U64> number() const;
    /// Keys and values of a flat array, as HGETALL answers it.
    std::map<String, String, std::less<>> pairs() const;

private:
    std::shared_ptr<redisReply const> reply_;
};

/// A connection to a server, signed in and in its database. Faults throw RedisConnectionError,
/// after which the connection is of no more use. Belongs to one thread.
class RedisConnection {
public:
    explicit RedisConnection(RedisOptions options);
    ~RedisConnection();
    RedisConnection(RedisConnection const &) = delete;
    RedisConnection & operator=(RedisConnection const &) = delete;

    using Arguments = std::vector<std::string_view>;

    /// Sends a command and waits for its answer, `longer` than usual for one that blocks. Throws
    /// RedisRefusal for an error.
    RedisReply command(Arguments const & arguments, std::chrono::milliseconds longer = {});

    RedisOptions const & options() const { return options_; }

private:
    RedisReply receive(std::chrono::milliseconds timeout);

    RedisOptions options_;
    RedisSocket socket_;
    std::unique_ptr<redisReader, void (*)(redisReader *)> reader_;
};

} // namespace Qcf::Mirror
