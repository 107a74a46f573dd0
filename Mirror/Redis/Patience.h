#pragma once

#include "Mirror/Redis/RedisStore.h"

#include <chrono>
#include <thread>

namespace Qcf::Mirror {

/// Whether the server will soon answer, where it refused for now: it loads, or is busy.
bool passes(RedisRefusal const & refusal);

/// Calls `work`, and again while the server is away or will soon answer, up to the patience; each
/// try is told. Answers what `work` does. Throws what another try would end with, too, and
/// RedisConnectionError where the patience is over.
///
///     auto const version = withPatience(10s, report, [&] { return load(options); });
template <typename Work>
auto withPatience(std::chrono::milliseconds patience, Report const & report, Work const & work) {
    // NOLINTNEXTLINE(clang-analyzer-deadcode.DeadStores): read where a try fails
    auto const deadline = std::chrono::steady_clock::now() + patience;
    // Waits double, so that a server that starts is not held up by those who ask whether it has.
    for (auto pause = std::chrono::milliseconds(20);; pause *= 2) {
        String trouble;
        try {
            return work();
        } catch (RedisAccessError const &) {
            throw; // another try would end the same way
        } catch (RedisConnectionError const & error) {
            trouble = error.what();
        } catch (RedisRefusal const & refusal) {
            if (!passes(refusal)) {
                throw;
            }
            trouble = refusal.what();
        }
        if (std::chrono::steady_clock::now() + pause >= deadline) {
            throw RedisConnectionError(trouble);
        }
        report(trouble + "; trying again");
        std::this_thread::sleep_for(pause);
    }
}

} // namespace Qcf::Mirror
