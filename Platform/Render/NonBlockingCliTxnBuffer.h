#pragma once

#include "Platform/Framework/Types.h"

#include <deque>
#include <memory>
#include <string_view>

/// Output on its way to a file descriptor: grows in chunks as it is appended to and shrinks as the
/// descriptor takes it. Belongs to one thread.
///
///     NonBlockingCliTxnBuffer buffer;
///     buffer.append("text");
///     while (buffer.writeSome(fd)) {
///     }
///
/// Nothing is moved once it stands in a chunk, and what was taken frees its chunks: memory follows
/// what waits, not what went through.
class NonBlockingCliTxnBuffer {
public:
    /// `chunkSize` bytes are what is allocated and written at once.
    explicit NonBlockingCliTxnBuffer(std::size_t chunkSize = 4096);

    /// Adds at the end.
    void append(char c) {
        if (end_ == chunkSize_) [[unlikely]] {
            addChunk();
        }
        chunks_.back()[end_++] = c;
    }
    void append(std::string_view text);

    /// Bytes not yet written.
    std::size_t size() const noexcept;
    /// Whether everything was written.
    bool empty() const noexcept { return size() == 0; }

    /// Writes as much as the descriptor takes, and waits once, however long, where it would block.
    /// Answers whether data remain; call it again then. A descriptor that fails raises
    /// std::system_error, and what was not written remains; a closed pipe or socket raises that
    /// too, and never SIGPIPE.
    bool writeSome(int fd);
    /// Writes everything.
    void flush(int fd);

private:
    /// Room for more at the end.
    void addChunk();
    /// Lets go of bytes that were written.
    void consume(std::size_t count);

    std::size_t chunkSize_;
    std::deque<std::unique_ptr<char[]>> chunks_;
    std::size_t begin_ = 0; // in the first chunk
    std::size_t end_;       // in the last one; chunkSize_ when there is none
};
