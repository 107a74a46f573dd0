#pragma once

#include "Platform/Framework/Types.h"

#include <new>
#include <string_view>

#include <bzlib.h>
#include <lzma.h>
#include <zlib.h>

/// Private to this folder: the libraries of the formats, which differ in names and in the signs of
/// their end, not in how they are driven.
namespace Qcf::Lists {

/// What a step of a codec came to. `more` says nothing of progress: a lack of room or of input is
/// no damage, and the next call brings either.
enum class CodecState : U8 { more, ended, damaged, tooLarge };

class Gzip {
public:
    static constexpr char const * name = "gzip";
    static constexpr std::size_t magicSize = 2;
    /// Bytes of zeros that may stand between two parts, as often as they like; 0 for none.
    static constexpr std::size_t padding = 0;
    static bool starts(std::string_view head) { return head.starts_with("\x1f\x8b"); }

    Gzip() {
        // Added to the width of the window it makes zlib take gzip's header alone, not its own.
        constexpr int gzipOnly = 16;
        if (inflateInit2(&stream_, gzipOnly + MAX_WBITS) != Z_OK) {
            throw std::bad_alloc();
        }
    }
    Gzip(Gzip const &) = delete;
    Gzip & operator=(Gzip const &) = delete;
    ~Gzip() { inflateEnd(&stream_); }

    z_stream & stream() { return stream_; }
    void restart() { inflateReset(&stream_); }
    static void inputIs(z_stream & stream, char * bytes) {
        stream.next_in = reinterpret_cast<Bytef *>(bytes);
    }
    static void outputIs(z_stream & stream, U8 * to) { stream.next_out = to; }
    /// `isDry` says that the input at hand is the last.
    CodecState step(bool /*isDry*/) {
        switch (inflate(&stream_, Z_NO_FLUSH)) {
        case Z_STREAM_END:
            return CodecState::ended;
        case Z_OK:
        case Z_BUF_ERROR:
            return CodecState::more;
        default:
            return CodecState::damaged;
        }
    }

private:
    z_stream stream_{};
};

class Bzip2 {
public:
    static constexpr char const * name = "bzip2";
    static constexpr std::size_t magicSize = 4;
    static constexpr std::size_t padding = 0;
    /// The digit tells bzip2 data from a text that happens to start with the same letters.
    static bool starts(std::string_view head) {
        return head.starts_with("BZh") && head.size() > 3 && head[3] >= '1' && head[3] <= '9';
    }

    Bzip2() { start(); }
    Bzip2(Bzip2 const &) = delete;
    Bzip2 & operator=(Bzip2 const &) = delete;
    ~Bzip2() { BZ2_bzDecompressEnd(&stream_); }

    bz_stream & stream() { return stream_; }
    void restart() {
        // The library cannot begin anew with an old stream; what is left of input and output goes
        // over to the new one.
        bz_stream const old = stream_;
        BZ2_bzDecompressEnd(&stream_);
        stream_ = {};
        start();
        stream_.next_in = old.next_in;
        stream_.avail_in = old.avail_in;
        stream_.next_out = old.next_out;
        stream_.avail_out = old.avail_out;
    }
    static void inputIs(bz_stream & stream, char * bytes) { stream.next_in = bytes; }
    static void outputIs(bz_stream & stream, U8 * to) {
        stream.next_out = reinterpret_cast<char *>(to);
    }
    /// `isDry` says that the input at hand is the last.
    CodecState step(bool /*isDry*/) {
        int const code = BZ2_bzDecompress(&stream_);
        return code == BZ_STREAM_END ? CodecState::ended
               : code == BZ_OK       ? CodecState::more
                                     : CodecState::damaged;
    }

private:
    void start() {
        // The parameters ask for silence and for speed instead of little memory.
        if (BZ2_bzDecompressInit(&stream_, 0, 0) != BZ_OK) {
            throw std::bad_alloc();
        }
    }

    bz_stream stream_{};
};

class Xz {
public:
    static constexpr char const * name = "xz";
    static constexpr std::size_t magicSize = 6;
    static constexpr std::size_t padding = 4;
    static bool starts(std::string_view head) {
        return head.starts_with(std::string_view("\xfd"
                                                 "7zXZ\0",
                                                 magicSize));
    }

    Xz() { restart(); }
    Xz(Xz const &) = delete;
    Xz & operator=(Xz const &) = delete;
    ~Xz() { lzma_end(&stream_); }

    lzma_stream & stream() { return stream_; }
    void restart() {
        // A header of a few bytes may claim a window of gigabytes; the highest of the tool's levels
        // wants 65 MiB.
        constexpr U64 mostMemory = U64{128} << 20;
        if (lzma_stream_decoder(&stream_, mostMemory, 0) != LZMA_OK) {
            throw std::bad_alloc();
        }
    }
    static void inputIs(lzma_stream & stream, char const * bytes) {
        stream.next_in = reinterpret_cast<U8 const *>(bytes);
    }
    static void outputIs(lzma_stream & stream, U8 * to) { stream.next_out = to; }
    /// `isDry` says that the input at hand is the last.
    CodecState step(bool /*isDry*/) {
        switch (lzma_code(&stream_, LZMA_RUN)) {
        case LZMA_STREAM_END:
            return CodecState::ended;
        case LZMA_OK:
        case LZMA_BUF_ERROR:
            return CodecState::more;
        case LZMA_MEMLIMIT_ERROR:
            return CodecState::tooLarge;
        case LZMA_MEM_ERROR:
            throw std::bad_alloc();
        default:
            return CodecState::damaged;
        }
    }

private:
    lzma_stream stream_ = LZMA_STREAM_INIT;
};

} // namespace Qcf::Lists
