#pragma once

#include "Lists/ByteStream.h"

#include <vector>

#include <lzma.h>

/// Compressed streams as they arrive, and what is read of them.
namespace Qcf::Lists::test {

/// One xz stream of the bytes.
inline String xzipped(String const & bytes) {
    String out(lzma_stream_buffer_bound(bytes.size()), '\0');
    std::size_t size = 0;
    lzma_easy_buffer_encode(0, LZMA_CHECK_CRC32, nullptr,
                            reinterpret_cast<U8 const *>(bytes.data()), bytes.size(),
                            reinterpret_cast<U8 *>(out.data()), &size, out.size());
    out.resize(size);
    return out;
}

/// What a stream gave.
struct Content {
    String bytes;
    String fault;
    String note;

    bool operator==(Content const &) const = default;
};

/// Reads what is compressed in these bytes, `piece` bytes at most at a time.
Content contentOf(String const & compressed, U32 threads, std::size_t piece = 100'000);
/// The same of any stream.
Content contentOf(std::unique_ptr<ByteStream> from, U32 threads, std::size_t piece = 100'000);

/// About so many bytes that shrink, though not to nothing.
String someBytes(std::size_t size, U32 seed = 1);

} // namespace Qcf::Lists::test
