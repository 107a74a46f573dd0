#include "Platform/Framework/CharRange.h"
#include "QcfLib/QcfEvalStackFrameData.h"

#include <array>
#include <charconv>
#include <limits>
#include <ostream>

/// Frames as text and back.
namespace Qcf::Eval {

namespace {

/// As short as reads back to the same float.
struct Shortest {
    F32 value;
};
std::ostream & operator<<(std::ostream & out, Shortest const & number) {
    std::array<char, 32> text;
    auto const end = std::to_chars(text.data(), text.data() + text.size(), number.value).ptr;
    return out.write(text.data(), end - text.data());
}

template <typename Shown, typename Container>
void print(std::ostream & out, char const *& separator, char const * name,
           Ptr<Container> const & container) {
    if (!container) {
        return;
    }
    out << separator << name << ':';
    separator = "; ";
    for (char const * comma = " "; auto const & value : container->values) {
        out << comma << Shown{value};
        comma = ",";
    }
}

/// Takes the text apart from the left.
class FrameReader {
public:
    explicit FrameReader(std::string_view text) : rest_(text) {}

    StackFrameData_ read() {
        StackFrameData_ frame;
        expect("{");
        for (bool first = true; !consume("}"); first = false) {
            if (!first) {
                expect("; ");
            }
            readKind(frame);
        }
        if (!rest_.empty()) {
            throw ParseError("nothing behind the frame", rest_);
        }
        return frame;
    }

private:
    bool consume(std::string_view token) {
        bool const found = rest_.starts_with(token);
        rest_.remove_prefix(found ? token.size() : 0);
        return found;
    }
    void expect(std::string_view token) {
        if (!consume(token)) {
            throw ParseError(token, rest_);
        }
    }

    void readKind(StackFrameData_ & frame) {
        if (!frame.intTypeArgContainer() && consume("ints: ")) {
            readList([&](std::string_view text) { frame.pushInt(integer(text)); });
        } else if (!frame.bandwidthTypeArgContainer() && consume("bandwidths: ")) {
            readList([&](std::string_view text) { frame.pushBandwidth(bandwidth(text)); });
        } else if (!frame.triStateBoolTypeArgContainer() && consume("triStateBools: ")) {
            readList([&](std::string_view text) { frame.pushTriStateBool(triState(text)); });
        } else {
            throw ParseError("ints, bandwidths or triStateBools, each once", rest_);
        }
    }

    template <typename Push>
    void readList(Push push) {
        do {
            auto const text = rest_.substr(0, rest_.find_first_of(",;}"));
            push(text);
            rest_.remove_prefix(text.size());
        } while (consume(","));
    }

    static S128 integer(std::string_view text) {
        bool const negative = text.starts_with('-');
        auto const digits = text.substr(negative ? 1 : 0);
        bool const plain = digits.find_first_not_of("0123456789") == std::string_view::npos;
        // No longer than the 39 digits of 2^128 - 1, and no larger.
        if (digits.empty() || digits.size() > 39 || !plain) {
            throw ParseError("an integer", text);
        }
        boost::multiprecision::cpp_int const magnitude{String(digits.substr(zeros(digits)))};
        if (magnitude > boost::multiprecision::cpp_int((std::numeric_limits<S128>::max)())) {
            throw ParseError("an integer of 128 bits", text);
        }
        S128 const value(magnitude);
        return negative ? S128(-value) : value;
    }
    /// Leading zeros, which would make the number octal; one digit stays.
    static std::size_t zeros(std::string_view digits) {
        return std::min(digits.find_first_not_of('0'), digits.size() - 1);
    }

    static F32 bandwidth(std::string_view text) {
        F32 value = 0;
        auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
        if (error != std::errc() || end != text.data() + text.size()) {
            throw ParseError("a bandwidth", text);
        }
        return value;
    }

    static TriStateBoolValue triState(std::string_view text) {
        for (auto const value : {QcfUnknown(), QcfFalse(), QcfTrue()}) {
            if (text == toString(value)) {
                return value;
            }
        }
        throw ParseError("true, false or unknown", text);
    }

    std::string_view rest_;
};

} // namespace

std::ostream & operator<<(std::ostream & out, StackFrameData_ const & frame) {
    char const * separator = "";
    out << '{';
    print<S128>(out, separator, "ints", frame.intTypeArgContainer());
    print<Shortest>(out, separator, "bandwidths", frame.bandwidthTypeArgContainer());
    print<TriStateBoolValue>(out, separator, "triStateBools", frame.triStateBoolTypeArgContainer());
    auto const count = [&](char const * name, auto const & container) {
        if (container) {
            out << separator << name << ": " << container->values.size();
            separator = "; ";
        }
    };
    count("prefixLists", frame.prefixListTypeArgContainer());
    count("aetNodePtrs", frame.aetNodePtrArgContainer());
    if (frame.logHead()) {
        out << separator << "log: " << frame.logHead()->aetNodeKey();
    }
    return out << '}';
}

StackFrameData_ strepToStackFrameData(String const & text) { return FrameReader(text).read(); }

} // namespace Qcf::Eval
