#include "Mirror/Redis/RedisConnection.h"

#include "Mirror/Redis/Pace.h"
#include "Platform/Framework/Assert.h"

#include <algorithm>
#include <array>
#include <charconv>

#include <hiredis.h>

/// The library makes the texts of commands and takes those of answers apart. The bytes go over
/// RedisSocket and not over the library's own connection, so that every wait has an end.
namespace Qcf::Mirror {

bool RedisRefusal::is(std::string_view code) const {
    return std::string_view(what()).starts_with(code);
}

bool RedisReply::isNull() const { return !reply_ || reply_->type == REDIS_REPLY_NIL; }
bool RedisReply::isError() const { return reply_ && reply_->type == REDIS_REPLY_ERROR; }

std::size_t RedisReply::size() const {
    return reply_ && reply_->type == REDIS_REPLY_ARRAY ? reply_->elements : 0;
}

RedisReply RedisReply::at(std::size_t i) const {
    // A part that keeps the whole answer alive.
    return i < size() ? RedisReply({reply_, reply_->element[i]}) : RedisReply();
}

std::string_view RedisReply::text() const {
    bool const hasText = reply_ && (reply_->type == REDIS_REPLY_STRING ||
                                    reply_->type == REDIS_REPLY_STATUS || isError());
    return hasText ? std::string_view(reply_->str, static_cast<std::size_t>(reply_->len))
                   : std::string_view();
}

std::optional<U64> RedisReply::number() const {
    if (reply_ && reply_->type == REDIS_REPLY_INTEGER && reply_->integer >= 0) {
        return static_cast<U64>(reply_->integer);
    }
    // Hashes hold numbers as texts.
    auto const digits = text();
    U64 value = 0;
    auto const read = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    bool const whole =
        !digits.empty() && read.ec == std::errc() && read.ptr == digits.data() + digits.size();
    return whole ? std::optional(value) : std::nullopt;
}

std::map<String, String, std::less<>> RedisReply::pairs() const {
    std::map<String, String, std::less<>> pairs;
    // A key without a value at the end is left out.
    for (std::size_t i = 0; i + 1 < size(); i += 2) {
        pairs.emplace(String(at(i).text()), String(at(i + 1).text()));
    }
    return pairs;
}

namespace {

/// Refusals that come from who asks, and not from how the server is at the moment.
bool isOfAccess(RedisRefusal const & refusal) {
    constexpr std::array codes{"WRONGPASS",
                               "NOAUTH",
                               "NOPERM",
                               "ERR AUTH",
                               "ERR Client sent AUTH",
                               "ERR invalid password",
                               "ERR DB index",
                               "ERR invalid DB"};
    return std::any_of(codes.begin(), codes.end(),
                       [&](char const * code) { return refusal.is(code); });
}

} // namespace

RedisConnection::RedisConnection(RedisOptions options)
    : options_(std::move(options)),
      socket_(options_),
      reader_(redisReaderCreate(), redisReaderFree) {
    // Or somebody else would be signed in than was meant.
    if (options_.password.empty() && !options_.user.empty()) {
        throw RedisConnectionError("redis at " + options_.place() + ": user " + options_.user +
                                   " wants a password");
    }
    try {
        // Without a user in the form that servers without users know, too.
        if (!options_.password.empty()) {
            options_.user.empty() ? command({"AUTH", options_.password})
                                  : command({"AUTH", options_.user, options_.password});
        }
        if (options_.database != 0) {
            command({"SELECT", std::to_string(options_.database)});
        }
        // Shows that the server takes commands: a refusal here counts as no connection. An account
        // may lack the right to ask this and have all that it needs.
        try {
            command({"PING"});
        } catch (RedisRefusal const & refusal) {
            if (!refusal.is("NOPERM")) {
                throw;
            }
        }
    } catch (RedisRefusal const & refusal) {
        String const line = "redis at " + options_.place() + ": " + refusal.what();
        if (isOfAccess(refusal)) {
            throw RedisAccessError(line);
        }
        throw RedisConnectionError(line);
    }
}

RedisConnection::~RedisConnection() = default;

RedisReply RedisConnection::command(Arguments const & arguments, std::chrono::milliseconds longer) {
    std::vector<char const *> texts;
    std::vector<std::size_t> sizes;
    for (std::string_view const argument : arguments) {
        // An empty view may be without an address, which the library does not take.
        texts.push_back(argument.data() == nullptr ? "" : argument.data());
        sizes.push_back(argument.size());
    }
    char * formatted = nullptr;
    int const length = redisFormatCommandArgv(&formatted, static_cast<int>(texts.size()),
                                              texts.data(), sizes.data());
    QCF_ASSERT_TEXT(length >= 0, "a command can be formatted");
    std::unique_ptr<char, void (*)(char *)> const command(formatted, &redisFreeCommand);
    // In one piece: the server starts when it has the whole command.
    socket_.write({formatted, static_cast<std::size_t>(length)}, options_.replyTimeout);
    RedisReply reply = receive(options_.replyTimeout + longer);
    if (reply.isError()) {
        throw RedisRefusal(String(reply.text()));
    }
    return reply;
}

RedisReply RedisConnection::receive(std::chrono::milliseconds timeout) {
    bounds_.begin();
    Pace pace(timeout);
    // One command, one answer: the next whole answer is the one that is waited for.
    for (;;) {
        void * reply = nullptr;
        if (redisReaderGetReply(reader_.get(), &reply) != REDIS_OK) {
            throw RedisConnectionError("redis at " + options_.place() +
                                       ": what answers is no redis server");
        }
        if (reply != nullptr) {
            return RedisReply(std::shared_ptr<redisReply const>(
                static_cast<redisReply *>(reply),
                [](redisReply const * each) { freeReplyObject(const_cast<redisReply *>(each)); }));
        }
        if (pace.isLost()) {
            throw RedisConnectionError("redis at " + options_.place() + ": answers less than " +
                                       std::to_string(Pace::slowest) + " bytes a second");
        }
        auto const bytes = socket_.read(timeout);
        pace.moved(bytes.size());
        if (String const why = bounds_.take(bytes); !why.empty()) {
            throw RedisConnectionError("redis at " + options_.place() + ": " + why);
        }
        redisReaderFeed(reader_.get(), bytes.data(), bytes.size());
    }
}

} // namespace Qcf::Mirror
