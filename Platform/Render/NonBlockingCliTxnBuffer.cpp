#include "Platform/Render/NonBlockingCliTxnBuffer.h"

#include "Platform/Framework/Assert.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <system_error>

#include <poll.h>
#include <sys/uio.h>

/// Output in chunks, so that what a slow reader has not taken yet need not lie in one piece, and is
/// never moved when more comes.
namespace {

/// Keeps SIGPIPE from the calling thread for a while. One that a write raised meanwhile is taken
/// away; one that was pending before stays.
class WithoutSigpipe {
public:
    WithoutSigpipe() noexcept {
        sigemptyset(&sigpipe_);
        sigaddset(&sigpipe_, SIGPIPE);
        sigset_t pending;
        sigpending(&pending);
        wasPending_ = sigismember(&pending, SIGPIPE) == 1;
        // Of this thread alone: the process's handling of signals is the embedder's.
        pthread_sigmask(SIG_BLOCK, &sigpipe_, &before_);
    }
    WithoutSigpipe(WithoutSigpipe const &) = delete;
    WithoutSigpipe & operator=(WithoutSigpipe const &) = delete;
    ~WithoutSigpipe() {
        if (raised_ && !wasPending_) {
            timespec const now{};
            // The signal of our own write is taken off before it can be delivered.
            while (sigtimedwait(&sigpipe_, nullptr, &now) < 0 && errno == EINTR) {
            }
        }
        pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }
    void raised() noexcept { raised_ = true; }

private:
    sigset_t sigpipe_{};
    sigset_t before_{};
    bool wasPending_ = false;
    bool raised_ = false;
};

enum class Wait { writable, broken };

Wait waitUntilWritable(int fd) {
    pollfd entry{fd, POLLOUT, 0};
    // Without a limit: how long a reader may take is not decided here.
    while (::poll(&entry, 1, -1) < 0) {
        if (errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), "poll");
        }
    }
    return (entry.revents & POLLOUT) != 0 ? Wait::writable : Wait::broken;
}

} // namespace

NonBlockingCliTxnBuffer::NonBlockingCliTxnBuffer(std::size_t chunkSize)
    : chunkSize_(chunkSize), end_(chunkSize) {
    QCF_ASSERT(chunkSize > 0);
}

void NonBlockingCliTxnBuffer::addChunk() {
    chunks_.push_back(std::make_unique<char[]>(chunkSize_));
    end_ = 0;
}

void NonBlockingCliTxnBuffer::append(std::string_view text) {
    while (!text.empty()) {
        // The first append finds the end of a full chunk that does not exist: memory is taken when
        // needed.
        if (end_ == chunkSize_) {
            addChunk();
        }
        std::size_t const count = std::min(text.size(), chunkSize_ - end_);
        std::memcpy(chunks_.back().get() + end_, text.data(), count);
        end_ += count;
        text.remove_prefix(count);
    }
}

std::size_t NonBlockingCliTxnBuffer::size() const noexcept {
    return chunks_.empty() ? 0 : (chunks_.size() - 1) * chunkSize_ + end_ - begin_;
}

void NonBlockingCliTxnBuffer::consume(std::size_t count) {
    // Whole chunks that were written are freed at once.
    begin_ += count;
    while (!chunks_.empty() && begin_ >= chunkSize_) {
        chunks_.pop_front();
        begin_ -= chunkSize_;
    }
    if (!chunks_.empty() && empty()) { // the last chunk is kept for what comes next
        begin_ = 0;
        end_ = 0;
    }
}

bool NonBlockingCliTxnBuffer::writeSome(int fd) {
    WithoutSigpipe guard;
    bool broken = false;
    while (!empty()) {
        // Several chunks a call; what is left goes with the next one.
        std::array<iovec, 16> parts{};
        std::size_t const used = std::min(parts.size(), chunks_.size());
        for (std::size_t i = 0; i < used; ++i) {
            // The first chunk may be written in part, and the last one filled in part.
            std::size_t const from = i == 0 ? begin_ : 0;
            std::size_t const to = i + 1 == chunks_.size() ? end_ : chunkSize_;
            parts[i] = {chunks_[i].get() + from, to - from};
        }
        ssize_t const written = ::writev(fd, parts.data(), static_cast<int>(used));
        if (written > 0) {
            consume(static_cast<std::size_t>(written));
            continue;
        }
        // Nothing written and no error would be tried again for ever.
        int const error = written == 0 ? EIO : errno;
        if (error == EINTR) {
            continue;
        }
        if ((error != EAGAIN && error != EWOULDBLOCK) || broken) {
            if (error == EPIPE) {
                guard.raised();
            }
            throw std::system_error(error, std::generic_category(), "write");
        }
        // What poll calls broken is tried once more, for the error that tells why.
        broken = waitUntilWritable(fd) == Wait::broken;
        if (!broken) {
            return true;
        }
    }
    return false;
}

void NonBlockingCliTxnBuffer::flush(int fd) {
    while (writeSome(fd)) {
    }
}
