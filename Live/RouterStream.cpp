#include "Live/RouterStream.h"

#include <algorithm>
#include <utility>

namespace Qcf::Live {

namespace {

/// Room for what one read brings: some hundreds of messages, which are evaluated in a millisecond
/// or two.
constexpr std::size_t piece = std::size_t{64} << 10;

} // namespace

RouterStream::RouterStream(RouterSet & routers, String address, String recordings)
    : routers_(routers),
      connection_(routers, std::move(address)),
      recordings_(std::move(recordings)),
      buffer_(piece) {}

std::span<U8> RouterStream::room() {
    std::copy(buffer_.begin() + static_cast<std::ptrdiff_t>(begin_),
              buffer_.begin() + static_cast<std::ptrdiff_t>(end_), buffer_.begin());
    end_ -= std::exchange(begin_, 0);
    // Long messages are seldom: only who sends one has room for it.
    std::size_t const wanted = BmpFrame::wanted({buffer_.data(), end_});
    if (buffer_.size() < wanted) {
        buffer_.resize(wanted);
    }
    return std::span(buffer_).subspan(end_, std::min(piece, buffer_.size() - end_));
}

void RouterStream::came(std::size_t size) {
    end_ += size;
    U64 const before = offset();
    std::exception_ptr fault;
    try {
        connection_.take({buffer_.data() + begin_, end_ - begin_});
    } catch (...) {
        // What was read before it is kept as well.
        fault = std::current_exception();
    }
    auto const used = static_cast<std::size_t>(offset() - before);
    record(used);
    begin_ += used;
    if (fault) {
        std::rethrow_exception(fault);
    }
    if (begin_ == end_) {
        waitsSince_.reset();
    } else if (used > 0 || !waitsSince_) {
        waitsSince_ = routers_.now();
    }
}

void RouterStream::record(std::size_t size) {
    if (recordings_.empty() || size == 0 || router() == nullptr) {
        return;
    }
    try {
        if (!recording_) {
            recording_ = std::make_unique<Recording>(recordings_, router()->name());
        }
        recording_->write({buffer_.data() + begin_, size});
    } catch (std::runtime_error const & fault) {
        recordingFailed(fault);
    }
}

void RouterStream::flush() {
    try {
        if (recording_) {
            recording_->flush();
        }
    } catch (std::runtime_error const & fault) {
        recordingFailed(fault);
    }
}

/// Watching goes on without it.
void RouterStream::recordingFailed(std::exception const & fault) {
    recording_.reset();
    recordings_.clear();
    routers_.listener().note({router()->name()},
                             String("recording of this connection ends: ") + fault.what());
}

} // namespace Qcf::Live
