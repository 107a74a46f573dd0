#include "Lists/AheadStream.h"

#include <algorithm>
#include <cstring>
#include <utility>

/// Two queues of pieces between the reader and the thread, both bounded. Whoever waits is woken by
/// any change of either.
namespace Qcf::Lists {

namespace {

constexpr std::size_t inputSize = std::size_t{64} << 10;
constexpr std::size_t outputSize = std::size_t{256} << 10;
/// Of data that hardly shrink, as many bytes wait on either side.
constexpr std::size_t mostInput = 16;
constexpr std::size_t mostOutput = 4;

} // namespace

class AheadStream::Input final : public ByteStream {
public:
    explicit Input(AheadStream & ahead) : ahead_(ahead) {}

    std::size_t read(U8 * to, std::size_t size) override {
        Lock lock(ahead_.mutex_);
        ahead_.starving_ = true;
        ahead_.changed_.notify_all();
        ahead_.changed_.wait(lock, [this] {
            return !ahead_.input_.empty() || ahead_.inputEnded_ || ahead_.stopped_;
        });
        ahead_.starving_ = false;
        if (ahead_.input_.empty() || ahead_.stopped_) {
            // Whoever set the end has left the stream below alone since.
            fault_ = ahead_.from_->fault();
            return 0;
        }
        Bytes const & first = ahead_.input_.front();
        std::size_t const got = std::min(size, first.size() - at_);
        std::memcpy(to, first.data() + at_, got);
        at_ += got;
        if (at_ == first.size()) {
            ahead_.input_.pop_front();
            at_ = 0;
        }
        return got;
    }

private:
    AheadStream & ahead_;
    std::size_t at_ = 0; ///< bytes of the first piece that were read
};

AheadStream::AheadStream(std::unique_ptr<ByteStream> from, String head, Make make)
    : from_(std::move(from)),
      decompressor_(make(std::make_unique<Input>(*this), std::move(head))),
      thread_([this] { work(); }) {}

AheadStream::~AheadStream() {
    {
        std::lock_guard const lock(mutex_);
        stopped_ = true;
    }
    changed_.notify_all();
    thread_.join();
}

void AheadStream::work() {
    std::exception_ptr failure;
    try {
        for (bool more = true; more;) {
            Bytes piece;
            more = decompress(piece);
            handOver(std::move(piece));
        }
    } catch (...) {
        failure = std::current_exception();
    }
    std::lock_guard const lock(mutex_);
    failure_ = failure;
    outputEnded_ = true;
    changed_.notify_all();
}

// A piece that is not full goes out before more input is waited for: the reader gets whatever the
// compressed data have yielded so far.
bool AheadStream::decompress(Bytes & piece) {
    piece.resize(outputSize);
    std::size_t size = 0;
    bool more = true;
    do {
        std::size_t const got = decompressor_->read(piece.data() + size, piece.size() - size);
        size += got;
        more = got != 0;
    } while (more && size < piece.size() && !lacksInput());
    piece.resize(size);
    return more;
}

bool AheadStream::lacksInput() {
    std::lock_guard const lock(mutex_);
    return input_.empty() && !inputEnded_;
}

void AheadStream::handOver(Bytes piece) {
    Lock lock(mutex_);
    changed_.wait(lock, [this] { return output_.size() < mostOutput || stopped_; });
    if (!piece.empty() && !stopped_) {
        output_.push_back(std::move(piece));
        changed_.notify_all();
    }
}

std::size_t AheadStream::read(U8 * to, std::size_t size) {
    Lock lock(mutex_);
    for (;;) {
        feed(lock);
        if (!output_.empty()) {
            return take(to, size);
        }
        if (outputEnded_) {
            return finish();
        }
        // Nothing comes any more of what was handed over: now it is worth waiting for the source.
        bool const starves = starving_ && input_.empty() && !inputEnded_;
        if (starves) {
            feedOne(lock);
        } else {
            changed_.wait(lock);
        }
    }
}

void AheadStream::feed(Lock & lock) {
    while (input_.size() < mostInput && !inputEnded_ && from_->isReady()) {
        feedOne(lock);
    }
}

// Read without the lock: the thread goes on meanwhile.
void AheadStream::feedOne(Lock & lock) {
    lock.unlock();
    Bytes piece(inputSize);
    piece.resize(from_->read(piece.data(), piece.size()));
    lock.lock();
    if (piece.empty()) {
        inputEnded_ = true;
    } else {
        input_.push_back(std::move(piece));
    }
    changed_.notify_all();
}

std::size_t AheadStream::take(U8 * to, std::size_t size) {
    Bytes const & first = output_.front();
    std::size_t const got = std::min(size, first.size() - taken_);
    std::memcpy(to, first.data() + taken_, got);
    taken_ += got;
    if (taken_ == first.size()) {
        output_.pop_front();
        taken_ = 0;
        changed_.notify_all();
    }
    return got;
}

std::size_t AheadStream::finish() {
    if (failure_) {
        std::rethrow_exception(failure_);
    }
    fault_ = decompressor_->fault();
    note_ = decompressor_->note();
    return 0;
}

} // namespace Qcf::Lists
