#include "Command/Following.h"

#include "Command/Log.h"
#include "Command/Signals.h"

using namespace std::chrono_literals;

Following::Following(RedisArguments const & redis, Asked asked)
    : tellAsked_(std::move(asked)),
      mirror_(redis.name, redis.signer()),
      // It tells of what is not as it should be, and of its end.
      follower_(redis.options(), mirror_, tellWarning),
      thread_([this](std::stop_token const & stop) { run(stop); }) {}

PtrConst<Qcf::Mirror::PolicyVersion> Following::next(String const & last,
                                                     std::chrono::seconds atMost) {
    // By the clock that nobody sets, lest a corrected time of day ends the waiting.
    auto const end = std::chrono::steady_clock::now() + atMost;
    std::unique_lock lock(mutex_);
    // Once at least the server is asked, however short the time is.
    while (!stopIsAsked() && (!asked_ || std::chrono::steady_clock::now() < end)) {
        if (fault_) {
            std::rethrow_exception(fault_);
        }
        auto version = mirror_.view().current();
        // As long as nothing was published the id is empty, as `last` is at the beginning.
        String const & id = version->id().id;
        if (id != last || (reloadIsAsked() && !id.empty())) {
            return version;
        }
        // Not without limit: a signal notifies nobody, and news may come between the look and
        // the wait.
        news_.wait_for(lock, 50ms);
    }
    return nullptr;
}

String Following::trouble() {
    std::lock_guard const lock(mutex_);
    return trouble_;
}

U64 Following::published() {
    std::lock_guard const lock(mutex_);
    return published_;
}

// The wait bounds how long the end of the process takes, since a poll is not broken off.
void Following::run(std::stop_token const & stop) {
    try {
        while (!stop.stop_requested()) {
            bool const isNew = follower_.poll(200ms);
            asked();
            if (isNew) {
                news_.notify_all();
            }
        }
    } catch (Qcf::Mirror::RedisAccessError const &) {
        std::lock_guard const lock(mutex_);
        fault_ = std::current_exception();
        news_.notify_all();
    }
}

void Following::asked() {
    if (tellAsked_) {
        tellAsked_(follower_.trouble().empty(), follower_.published());
    }
    std::lock_guard const lock(mutex_);
    asked_ = true;
    published_ = follower_.published();
    trouble_ = follower_.trouble();
}
