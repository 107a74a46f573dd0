#pragma once

#include "Mirror/Redis/RedisSocket.h"
#include "Mirror/Redis/ReplyBounds.h"

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
///
/// What is asked of an answer of another kind is empty, never an error: whoever needs a value
/// checks that it is there. Cheap to copy.
class RedisReply {
public:
    RedisReply() = default;
    /// Takes part in the answer.
    explicit RedisReply(std::shared_ptr<redisReply const> reply) : reply_(std::move(reply)) {}

    /// Nothing: a key or a field that is not there.
    bool isNull() const;
    /// A refusal, as the server gives it; `command` throws those.
    bool isError() const;
    /// Elements of an array; 0 for anything else.
    std::size_t size() const;
    /// An element of an array, which must have it.
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

/// A connection to a server, signed in and in its database.
///
///     RedisConnection connection(RedisOptions::parse("redis://localhost"));
///     RedisReply const reply = connection.command({"HGET", "key", "field"});
///
/// Faults throw RedisConnectionError, after which the connection is of no more use: make another
/// one; an answer beyond the bounds is such a fault. Every wait has an end, so that a server that
/// hangs cannot hang the caller. Belongs to one thread.
class RedisConnection {
public:
    /// Connects, signs in and chooses the database. A server that does not let it in is a
    /// RedisAccessError.
    explicit RedisConnection(RedisOptions options);
    ~RedisConnection();
    RedisConnection(RedisConnection const &) = delete;
    RedisConnection & operator=(RedisConnection const &) = delete;

    /// The words of a command; any bytes, which need to live only during the call.
    using Arguments = std::vector<std::string_view>;

    /// Sends a command and waits for its answer, `longer` than usual for one that blocks. Throws
    /// RedisRefusal for an error.
    RedisReply command(Arguments const & arguments, std::chrono::milliseconds longer = {});

    RedisOptions const & options() const { return options_; }

private:
    /// Waits for the next whole answer.
    RedisReply receive(std::chrono::milliseconds timeout);

    RedisOptions options_;
    RedisSocket socket_;
    ReplyBounds bounds_;
    std::unique_ptr<redisReader, void (*)(redisReader *)> reader_;
};

} // namespace Qcf::Mirror
