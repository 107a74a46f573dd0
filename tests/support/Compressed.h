#pragma once

#include "Platform/Framework/Types.h"

#include <bzlib.h>
#include <zlib.h>

namespace Qcf::test {

/// How hard a gzip member is made smaller, in the library's own numbers.
struct GzipKind {
    int level = Z_BEST_SPEED;
    int memory = 8;
    int strategy = Z_DEFAULT_STRATEGY;
};

/// One gzip member of the bytes.
inline String gzipped(String const & bytes, GzipKind kind = {}) {
    z_stream stream{};
    constexpr int gzipFormat = 16 + MAX_WBITS;
    deflateInit2(&stream, kind.level, Z_DEFLATED, gzipFormat, kind.memory, kind.strategy);
    String out(deflateBound(&stream, bytes.size()) + 100, '\0');
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

/// One bzip2 stream of the bytes, in blocks of so many times 100 kB.
inline String bzipped(String const & bytes, int digit = 1) {
    String in = bytes;
    String out(bytes.size() + bytes.size() / 100 + 600, '\0');
    auto size = static_cast<unsigned>(out.size());
    BZ2_bzBuffToBuffCompress(out.data(), &size, in.data(), static_cast<unsigned>(in.size()), digit,
                             0, 0);
    out.resize(size);
    return out;
}

} // namespace Qcf::test
