#include "Lists/Decompress.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string_view>
#include <utility>

#include <bzlib.h>
#include <zlib.h>

namespace Qcf::Lists {

namespace {

constexpr std::size_t inputSize = std::size_t{64} << 10;

/// zlib and libbz2 differ in names and in the signs of their end, not in how they are driven.
class Gzip {
public:
    static constexpr char const * name = "gzip";
    static constexpr std::size_t magicSize = 2;
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
    /// 1: more to come, 0: this part has ended, negative: damaged.
    int step() {
        // A lack of room or of input is no damage: the next call brings more.
        int const code = inflate(&stream_, Z_NO_FLUSH);
        return code == Z_STREAM_END ? 0 : (code == Z_OK || code == Z_BUF_ERROR ? 1 : -1);
    }

private:
    z_stream stream_{};
};

class Bzip2 {
public:
    static constexpr char const * name = "bzip2";
    static constexpr std::size_t magicSize = 4;
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
    int step() {
        int const code = BZ2_bzDecompress(&stream_);
        return code == BZ_STREAM_END ? 0 : (code == BZ_OK ? 1 : -1);
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

template <class Codec>
class DecompressingStream final : public ByteStream {
public:
    DecompressingStream(std::unique_ptr<ByteStream> from, String head)
        : from_(std::move(from)), input_(std::move(head)), taken_(input_.size()) {
        pointAtInput(input_.size());
    }

    std::size_t read(U8 * to, std::size_t size) override {
        auto & stream = codec_.stream();
        Codec::outputIs(stream, to);
        // The libraries count in `unsigned`.
        auto const room = static_cast<unsigned>(std::min(size, std::size_t{1} << 30));
        stream.avail_out = room;
        // One byte is enough: 0 would say that the stream has ended.
        while (!ended_ && stream.avail_out == room) {
            step();
        }
        return room - stream.avail_out;
    }

private:
    void step() {
        auto & stream = codec_.stream();
        if (betweenParts_) {
            nextPart();
        } else if (stream.avail_in == 0 && !refill()) {
            end("data are cut");
        } else {
            int const state = codec_.step();
            if (state < 0) {
                end("data are damaged");
            }
            betweenParts_ = state == 0;
        }
    }

    /// Another part may follow the one that has ended, or the end of the stream, or anything.
    void nextPart() {
        auto & stream = codec_.stream();
        // The mark of the next part may be torn apart by the pieces of input.
        while (stream.avail_in < Codec::magicSize && refill()) {
        }
        std::string_view const head(reinterpret_cast<char const *>(stream.next_in),
                                    stream.avail_in);
        if (Codec::starts(head)) {
            codec_.restart();
            betweenParts_ = false;
            return;
        }
        if (!head.empty()) {
            note_ = String(Codec::name) + " data end at byte " +
                    std::to_string(taken_ - head.size()) + ", what follows them is not read";
        }
        end("");
    }

    /// Puts more input behind what is left of it; false when there is no more.
    bool refill() {
        auto & stream = codec_.stream();
        std::size_t const left = stream.avail_in;
        if (left > 0) {
            std::memmove(input_.data(), stream.next_in, left);
        }
        input_.resize(left + inputSize);
        auto * const to = reinterpret_cast<U8 *>(input_.data() + left);
        std::size_t const got = from_->read(to, inputSize);
        taken_ += got;
        pointAtInput(left + got);
        return got > 0;
    }

    void pointAtInput(std::size_t size) {
        Codec::inputIs(codec_.stream(), input_.data());
        codec_.stream().avail_in = static_cast<unsigned>(size);
    }

    void end(char const * problem) {
        ended_ = true;
        // What cannot be read is cut as well; why it cannot be read is the better message.
        if (!from_->fault().empty()) {
            fault_ = from_->fault();
        } else if (*problem != '\0') {
            fault_ = String(Codec::name) + " " + problem;
        }
    }

    std::unique_ptr<ByteStream> from_;
    String input_;
    Codec codec_;
    U64 taken_ = 0; ///< bytes of the compressed stream that were read
    bool betweenParts_ = false;
    bool ended_ = false;
};

template <class Codec>
std::unique_ptr<ByteStream> make(std::unique_ptr<ByteStream> stream, String head) {
    return std::make_unique<DecompressingStream<Codec>>(std::move(stream), std::move(head));
}

} // namespace

MakeDecompressor decompressorFor(U8 const * bytes, std::size_t size) {
    std::string_view const head(reinterpret_cast<char const *>(bytes), size);
    if (Gzip::starts(head)) {
        return &make<Gzip>;
    }
    return Bzip2::starts(head) ? &make<Bzip2> : nullptr;
}

} // namespace Qcf::Lists
