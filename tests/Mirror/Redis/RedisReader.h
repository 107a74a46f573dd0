#pragma once

#include "Mirror/Redis/RedisFollower.h"
#include "tests/Mirror/MirrorTools.h"

#include <chrono>

namespace Qcf::Mirror::test {

/// A reader of the name "edge" that looks often.
struct RedisReader {
    explicit RedisReader(RedisOptions options)
        : follower(std::move(options), mirror, lines.sink(),
                   {.reader = "reader",
                    .checkInterval = std::chrono::milliseconds(10),
                    .retryDelay = std::chrono::milliseconds(2)}) {}

    /// Follows until it has the version; not for ever.
    bool reaches(VersionId const & version) {
        auto const end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
        while (mirror.version() != version && std::chrono::steady_clock::now() < end) {
            follower.poll(std::chrono::milliseconds(1));
        }
        return mirror.view().current()->id() == version;
    }
    void pollFor(std::chrono::milliseconds time) {
        auto const end = std::chrono::steady_clock::now() + time;
        while (std::chrono::steady_clock::now() < end) {
            follower.poll(std::chrono::milliseconds(1));
        }
    }

    Lines lines;
    FollowedStore mirror{"edge"};
    RedisFollower follower;
};

} // namespace Qcf::Mirror::test
