#pragma once

#include "Platform/Framework/Types.h"

#include <bzlib.h>
#include <zlib.h>

namespace Qcf::test {

/// One gzip member of the bytes.
inline String gzipped(String const & bytes) {
    z_stream stream{};
    constexpr int gzipFormat = 16 + MAX_WBITS;
    deflateInit2(&stream, Z_BEST_SPEED, Z_DEFLATED, gzipFormat, 8, Z_DEFAULT_STRATEGY);
    String out(deflateBound(&stream, bytes.size()), '\0');
    String in = bytes;
    stream.next_in = reinterpret_cast<Bytef *>(in.data());
    stream.avail_in = static_cast<uInt>(in.size());
    stream.next_out = reinterpret_cast<Bytef *>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    deflate(&stream, Z_FINISH);
    out.resize(stream.total_out);
    deflateEnd(&stream);
    return out;
}

/// One bzip2 stream of the bytes, in blocks of 100 kB.
inline String bzipped(String const & bytes) {
    String in = bytes;
    String out(bytes.size() + bytes.size() / 100 + 600, '\0');
    auto size = static_cast<unsigned>(out.size());
    BZ2_bzBuffToBuffCompress(out.data(), &size, in.data(), static_cast<unsigned>(in.size()), 1, 0,
                             0);
    out.resize(size);
    return out;
}

} // namespace Qcf::test
