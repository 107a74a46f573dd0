#include "Lists/ByteSource.h"

#include "Lists/Decompress.h"
#include "Platform/Framework/Assert.h"

#include <algorithm>
#include <cstring>
#include <utility>

/// Records of a table are read in place, whatever the size of the pieces in which a stream delivers
/// them.
namespace Qcf::Lists {

namespace {

/// Reads in pieces of this size; a window starts at twice as much.
constexpr std::size_t chunkSize = std::size_t{256} << 10;

} // namespace

ByteSource::ByteSource(std::unique_ptr<ByteStream> stream, U32 threads)
    : stream_(std::move(stream)) {
    // As many bytes as the longest mark of a format has; a shorter stream is no such format.
    constexpr std::size_t longestMagic = 6;
    ensure(longestMagic);
    auto const make = decompressorFor(data(), available());
    if (!make) {
        return;
    }
    // What was looked at goes to the decompressor; the window starts anew with what it yields.
    String head(reinterpret_cast<char const *>(data()), available());
    stream_ = make(std::move(stream_), std::move(head), threads);
    begin_ = end_ = 0;
    // The stream below may have ended while its head was read; the decompressor has all of it yet
    // to give.
    ended_ = false;
    compressed_ = true;
}

void ByteSource::skip(std::size_t size) {
    QCF_ASSERT(size <= available());
    begin_ += size;
    offset_ += size;
}

/// Twice the piece asked for: a byte is then moved once on average, however large the pieces.
void ByteSource::makeRoom(std::size_t size) {
    if (capacity_ - begin_ >= size) {
        return;
    }
    if (capacity_ >= 2 * size) {
        std::memmove(buffer_.get(), data(), available());
    } else {
        std::size_t const capacity = 2 * std::max(size, chunkSize);
        auto larger = std::make_unique_for_overwrite<U8[]>(capacity);
        if (buffer_) {
            std::memcpy(larger.get(), data(), available());
        }
        buffer_ = std::move(larger);
        capacity_ = capacity;
    }
    end_ = available();
    begin_ = 0;
}

// It asks for as much as there is room for, not for `size` alone: so most questions need no
// reading.
bool ByteSource::fill(std::size_t size) {
    if (ended_) {
        return false;
    }
    makeRoom(size);
    // A stream may hand out less than it is asked for, as a pipe does.
    while (available() < size) {
        std::size_t const got = stream_->read(buffer_.get() + end_, capacity_ - end_);
        if (got == 0) {
            ended_ = true;
            return false;
        }
        end_ += got;
    }
    return true;
}

} // namespace Qcf::Lists
