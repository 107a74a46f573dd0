#pragma once

#include "Lists/ByteStream.h"
#include "Lists/Codecs.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace Qcf::Lists {

/// Private to this folder: what a stream holds compressed, decompressed by whoever reads. All other
/// ways of decompressing are measured by it.
template <class Codec>
class DecompressingStream final : public ByteStream {
public:
    /// `head` was read of the stream already; `headAt` is where in the stream it stands, for notes.
    DecompressingStream(std::unique_ptr<ByteStream> from, String head, U64 headAt = 0)
        : from_(std::move(from)), input_(std::move(head)), taken_(headAt + input_.size()) {
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
    static constexpr std::size_t inputSize = std::size_t{64} << 10;

    void step() {
        auto & stream = codec_.stream();
        if (betweenParts_) {
            nextPart();
            return;
        }
        // Without input a library may still hold output that there was no room for.
        bool const isDry = stream.avail_in == 0 && !refill();
        auto const room = stream.avail_out;
        CodecState const state = codec_.step(isDry);
        betweenParts_ = state == CodecState::ended;
        if (state == CodecState::damaged) {
            end("data are damaged");
        } else if (state == CodecState::tooLarge) {
            end("data want too much memory");
        } else if (isDry && !betweenParts_ && stream.avail_out == room) {
            end("data are cut");
        }
    }

    /// Another part may follow the one that has ended, or the end of the stream, or anything.
    void nextPart() {
        skipPadding();
        // The mark of the next part may be torn apart by the pieces of input.
        std::string_view const head = atLeast(Codec::magicSize);
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

    void skipPadding() {
        auto & stream = codec_.stream();
        while (Codec::padding != 0 &&
               atLeast(Codec::padding).starts_with(String(Codec::padding, '\0'))) {
            stream.next_in += Codec::padding;
            stream.avail_in -= Codec::padding;
        }
    }

    /// What is left of the input, with more behind it where it is less than this and there is more.
    std::string_view atLeast(std::size_t size) {
        auto & stream = codec_.stream();
        while (stream.avail_in < size && refill()) {
        }
        return {reinterpret_cast<char const *>(stream.next_in), stream.avail_in};
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

} // namespace Qcf::Lists
