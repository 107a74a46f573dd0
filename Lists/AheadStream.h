#pragma once

#include "Lists/ByteStream.h"

#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace Qcf::Lists {

/// Private to this folder: a decompressor in a thread of its own, which works ahead of the reader
/// by a bounded number of pieces.
///
/// The thread computes and nothing else. What is compressed is read by whoever reads the result,
/// without waiting for it as long as there is something to hand out: so a pipe is waited for just
/// as without the thread, and the end of the stream never waits for a pipe.
class AheadStream final : public ByteStream {
public:
    /// Makes the decompressor; called once, with the stream that the thread reads.
    using Make = std::unique_ptr<ByteStream> (*)(std::unique_ptr<ByteStream> stream, String head);

    AheadStream(std::unique_ptr<ByteStream> from, String head, Make make);
    AheadStream(AheadStream const &) = delete;
    AheadStream & operator=(AheadStream const &) = delete;
    /// Ends the thread after the piece that it is at.
    ~AheadStream() override;

    std::size_t read(U8 * to, std::size_t size) override;

private:
    using Bytes = std::vector<U8>;
    using Lock = std::unique_lock<std::mutex>;
    /// What the decompressor reads: the compressed pieces that were handed over.
    class Input;

    // The thread's part.
    void work();
    /// Decompresses one piece; false at the end.
    bool decompress(Bytes & piece);
    bool lacksInput();
    /// Waits for room.
    void handOver(Bytes piece);

    // The reader's part.
    /// Hands compressed pieces over as long as none has to be waited for.
    void feed(Lock & lock);
    void feedOne(Lock & lock);
    std::size_t take(U8 * to, std::size_t size);
    std::size_t finish();

    std::unique_ptr<ByteStream> from_;         ///< the reader's
    std::unique_ptr<ByteStream> decompressor_; ///< the thread's, until it has ended
    std::size_t taken_ = 0; ///< the reader's: bytes of the first output piece that were handed out

    /// Guards all below.
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Bytes> input_;
    std::deque<Bytes> output_;
    bool inputEnded_ = false;
    bool starving_ = false; ///< the thread waits for input and holds no output back
    bool outputEnded_ = false;
    bool stopped_ = false;
    std::exception_ptr failure_;

    /// The last member: it uses the others from its start to its end.
    std::thread thread_;
};

} // namespace Qcf::Lists
