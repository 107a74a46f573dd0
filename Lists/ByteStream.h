#pragma once

#include "Platform/Framework/Types.h"

#include <cstddef>
#include <memory>
#include <stdexcept>

namespace Qcf::Lists {

/// A file of routes or lists that cannot be read at all, or a route that a file's format cannot
/// hold. The text is one line and starts with the file's or the route's name.
class FileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Bytes that arrive in order: a file, a decompressor over one, a text in memory. Used by one
/// thread at a time.
///
/// A stream never throws for what it carries. Data that are damaged or cut end it, and `fault` says
/// why: what came before is good and has been delivered.
class ByteStream {
public:
    virtual ~ByteStream() = default;

    /// Writes up to `size` bytes to `to` and answers how many; 0 only at the end, for good. May
    /// answer fewer than asked for although more follow, as a pipe does.
    virtual std::size_t read(U8 * to, std::size_t size) = 0;

    /// Whether `read` answers without waiting for others, as a pipe waits for its writer. Who has
    /// something else to do asks first.
    virtual bool isReady() { return true; }

    /// Why the stream ended before its time ("gzip data are cut"), empty where it is whole.
    String const & fault() const { return fault_; }
    /// What else is to be told of a stream that is whole: that something follows the end of
    /// compressed data. Known at the end.
    String const & note() const { return note_; }

protected:
    String fault_;
    String note_;
};

/// The file at `path`, "-" for standard input, which stays open at the end. Throws FileError when
/// it cannot be opened; that it is a folder shows when it is read.
std::unique_ptr<ByteStream> openFileStream(String const & path);

/// A stream over bytes that it owns. For tests, and for data that came another way.
std::unique_ptr<ByteStream> makeMemoryStream(String bytes);

} // namespace Qcf::Lists
