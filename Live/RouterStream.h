#pragma once

#include "Live/Recording.h"
#include "Live/RouterSet.h"

#include <optional>

namespace Qcf::Live {

/// The bytes of one connection, which come in pieces of any size.
///
///     std::size_t const size = read(stream.room());
///     stream.came(size);
///
/// Keeps what is left of a message until the rest has come, of at most BmpFrame::maxSize bytes.
/// Belongs to the thread of the routers.
class RouterStream {
public:
    /// `recordings` is a folder where the stream is kept; empty for none. The routers must outlive
    /// it.
    RouterStream(RouterSet & routers, String address, String recordings = {});

    /// Where the next bytes may be put.
    std::span<U8> room();
    /// So many bytes were put there. Throws Damage where no message begins, and LimitReached.
    void came(std::size_t size);
    /// Since when a message has begun that is not whole, by the routers' time.
    std::optional<std::chrono::milliseconds> waitsSince() const { return waitsSince_; }
    /// So that the recording has all that came.
    void flush();
    /// The connection has ended; not `inOrder` where messages may have been lost.
    void ended(bool inOrder) { connection_.ended(inOrder); }

    /// Of what was read whole.
    U64 offset() const { return connection_.offset(); }
    /// Null before the first message.
    LiveRouter * router() { return connection_.router(); }

private:
    void record(std::size_t size);
    void recordingFailed(std::exception const & fault);

    RouterSet & routers_;
    Connection connection_;
    String recordings_;
    std::unique_ptr<Recording> recording_;
    std::vector<U8> buffer_;
    std::size_t begin_ = 0; ///< of the bytes that were not taken
    std::size_t end_ = 0;
    std::optional<std::chrono::milliseconds> waitsSince_;
};

} // namespace Qcf::Live
