#pragma once

#include "Lists/ByteStream.h"

namespace Qcf::Lists {

/// A window over a stream: what is looked at stands in one piece in memory, nothing is copied for
/// the reader, and memory follows the largest piece ever asked for, not the stream.
///
///     ByteSource source(openFileStream(path));
///     while (source.ensure(headerSize)) {
///         ... source.data() ...
///         source.skip(headerSize);
///     }
///
/// A stream that is compressed is decompressed on the way; offsets count decompressed bytes. Used
/// by one thread at a time, whatever threads decompress.
class ByteSource {
public:
    /// Looks at the first bytes and puts a decompressor before a gzip, bzip2 or xz stream. With
    /// more than one thread it decompresses in threads of its own; what is read is the same.
    explicit ByteSource(std::unique_ptr<ByteStream> stream, U32 threads = 1);

    /// Makes the next `size` bytes stand at `data()`; false when the stream ends before, and then
    /// what is left stands there. Moves what `data()` pointed to.
    bool ensure(std::size_t size) { return size <= available() || fill(size); }

    /// The window: bytes that were not skipped. Valid until the next `ensure`.
    U8 const * data() const { return buffer_.get() + begin_; }
    /// How many bytes stand at `data()` now.
    std::size_t available() const { return end_ - begin_; }
    /// Steps over bytes that are available.
    void skip(std::size_t size);

    /// Where `data()` is in the decompressed stream.
    U64 offset() const { return offset_; }
    /// Whether a decompressor stands before the stream.
    bool compressed() const { return compressed_; }
    /// Known once `ensure` has answered false: why the stream ended early, or empty.
    String const & fault() const { return stream_->fault(); }
    /// Likewise: what follows the end of compressed data, or empty.
    String const & note() const { return stream_->note(); }

private:
    bool fill(std::size_t size);
    void makeRoom(std::size_t size);

    std::unique_ptr<ByteStream> stream_;
    std::unique_ptr<U8[]> buffer_;
    std::size_t capacity_ = 0;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
    U64 offset_ = 0;
    bool compressed_ = false;
    bool ended_ = false;
};

} // namespace Qcf::Lists
