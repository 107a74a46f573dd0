#pragma once

#include "Platform/Framework/Types.h"

#include <cstddef>
#include <memory>
#include <stdexcept>

namespace Qcf::Lists {

/// A file of routes that cannot be read at all: it is missing, is a folder, or holds neither of
/// the known formats. The text is one line and starts with the file's name.
class FileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Bytes that arrive in order: a file, a decompressor over one, a text in memory.
class ByteStream {
public:
    virtual ~ByteStream() = default;

    /// Writes up to `size` bytes to `to` and answers how many; 0 only at the end, for good.
    virtual std::size_t read(U8 * to, std::size_t size) = 0;

    /// Why the stream ended before its time ("gzip data are cut"), empty where it is whole.
    String const & fault() const { return fault_; }
    /// What else is to be told of a stream that is whole: that something follows the end of
    /// compressed data. Known at the end.
    String const & note() const { return note_; }

protected:
    String fault_;
    String note_;
};

/// The file at `path`, "-" for standard input. Throws FileError when it cannot be opened.
std::unique_ptr<ByteStream> openFileStream(String const & path);

/// A stream over bytes that it owns.
std::unique_ptr<ByteStream> makeMemoryStream(String bytes);

/// A window over a stream: what is looked at stands in one piece in memory, nothing is copied for
/// the reader, and memory follows the largest piece ever asked for, not the stream.
///
/// Offsets count decompressed bytes. Used by one thread at a time.
class ByteSource {
public:
    /// Looks at the first bytes and puts a decompressor before a gzip or bzip2 stream.
    explicit ByteSource(std::unique_ptr<ByteStream> stream);

    /// Makes the next `size` bytes stand at `data()`; false when the stream ends before.
    /// Moves what `data()` pointed to.
    bool ensure(std::size_t size) { return size <= available() || fill(size); }

    U8 const * data() const { return buffer_.get() + begin_; }
    /// How many bytes stand at `data()` now.
    std::size_t available() const { return end_ - begin_; }
    /// Steps over bytes that are available.
    void skip(std::size_t size);

    /// Where `data()` is in the decompressed stream.
    U64 offset() const { return offset_; }
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
