#pragma once

#include "Command/RedisArguments.h"
#include "Mirror/Redis/RedisFollower.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <thread>

/// Follows a published name on a thread of its own, so that a long table does not keep the agent
/// from the news.
///
///     Following following(redis);
///     while (auto const version = following.next(last, atMost)) { ... }
class Following {
public:
    /// Told each time the server was asked, on the following thread: whether it answered, and its
    /// newest version, 0 for none.
    using Asked = std::function<void(bool answered, U64 published)>;

    /// Throws what is wrong with the arguments.
    explicit Following(RedisArguments const & redis, Asked asked = {});

    /// The next version after the one of the id `last`, or the same again when files are to be read
    /// again; null when a stop was asked for or the time is over. Throws what is wrong with the
    /// access, if there never was a connection.
    PtrConst<Qcf::Mirror::PolicyVersion> next(String const & last, std::chrono::seconds atMost);

    /// Why there is no connection at the moment; empty while there is one.
    String trouble();
    /// The newest version that the server was seen to have, 0 for none.
    U64 published();

private:
    void run(std::stop_token const & stop);
    /// Notes what came of asking the server.
    void asked();

    Asked tellAsked_;
    std::mutex mutex_;
    std::exception_ptr fault_; ///< what ended the following
    bool asked_ = false;       ///< whether the first poll is done
    String trouble_;
    U64 published_ = 0;
    std::condition_variable news_;
    Qcf::Mirror::FollowedStore mirror_;
    Qcf::Mirror::RedisFollower follower_;
    // The last member, so that it starts when all else is there, and is joined before anything
    // goes.
    std::jthread thread_;
};
