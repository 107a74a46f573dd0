#include "Platform/Framework/CharRange.h"
#include "QcfLib/AetNode.h"
#include "QcfLib/QcfAetCollections.h"
#include "QcfLib/QcfEvalStackFrameData.h"

#include <array>
#include <charconv>
#include <limits>
#include <ostream>

/// Frames as text and back.
/// Here and not with the frames, since a text names nodes of a store.
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

String matcherText(Routing::Policy::PrefixListMatcher const * matcher) {
    return matcher == nullptr ? "null" : "v" + std::to_string(static_cast<U8>(matcher->af()));
}

// An empty container ends at its colon, so that it is told from one that is not there.
template <typename Container, typename Show>
void print(std::ostream & out, char const *& separator, char const * name,
           Ptr<Container> const & container, Show show) {
    if (!container) {
        return;
    }
    out << separator << name << ':';
    separator = "; ";
    for (char const * comma = " "; auto const & value : container->values) {
        out << comma << show(value);
        comma = ",";
    }
}

/// Takes the text apart from the left.
class FrameReader {
public:
    FrameReader(std::string_view text, AetCollections const * nodes) : rest_(text), nodes_(nodes) {}

    StackFrameData_ read() {
        StackFrameData_ frame;
        expect("{");
        // The kinds may come in any order, each once.
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
        // A refused token leaves the rest where it is, for the next question and for errors.
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
        if (!frame.intTypeArgContainer() && consume("ints:")) {
            frame.intTypeArgContainerIs(container<IntTypeArgContainer>(integer));
        } else if (!frame.bandwidthTypeArgContainer() && consume("bandwidths:")) {
            frame.bandwidthTypeArgContainerIs(container<BandwidthTypeArgContainer>(bandwidth));
        } else if (!frame.triStateBoolTypeArgContainer() && consume("triStateBools:")) {
            frame.triStateBoolTypeArgContainerIs(container<TriStateBoolTypeArgContainer>(triState));
        } else if (!frame.prefixListTypeArgContainer() && consume("prefixLists:")) {
            frame.prefixListTypeArgContainerIs(container<PrefixListTypeArgContainer>(prefixList));
        } else if (!frame.aetNodePtrArgContainer() && consume("aetNodePtrs:")) {
            frame.aetNodePtrArgContainerIs(container<AetNodePtrArgContainer>(
                [&](std::string_view text) { return node(text); }));
        } else if (rest_.starts_with("log:")) {
            throw ParseError("arguments alone: a log belongs to one evaluation", rest_);
        } else {
            throw ParseError(
                "ints, bandwidths, triStateBools, prefixLists or aetNodePtrs, each once", rest_);
        }
    }

    template <typename Container, typename Parse>
    Ptr<Container> container(Parse parse) {
        auto made = makePtr<Container>();
        if (!consume(" ")) {
            return made; // no values
        }
        do {
            // No value has one of these in its text.
            auto const text = rest_.substr(0, rest_.find_first_of(",;}"));
            made->values.push_back(parse(text));
            rest_.remove_prefix(text.size());
        } while (consume(","));
        return made;
    }

    static S128 integer(std::string_view text) {
        bool const negative = text.starts_with('-');
        auto const digits = text.substr(negative ? 1 : 0);
        bool const plain = digits.find_first_not_of("0123456789") == std::string_view::npos;
        // No longer than the 39 digits of 2^128 - 1, and no larger.
        if (digits.empty() || digits.size() > 39 || !plain) {
            throw ParseError("an integer", text);
        }
        // Through a number without limit, of which the size can be told.
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

    // All of the text, or it is none.
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
            // By the texts that writing uses.
            if (text == toString(value)) {
                return value;
            }
        }
        throw ParseError("true, false or unknown", text);
    }

    static Routing::Policy::PrefixListMatcher const * prefixList(std::string_view text) {
        if (text != "null") {
            throw ParseError("null: a prefix list is lent for one evaluation", text);
        }
        return nullptr;
    }

    StorageType const * node(std::string_view text) const {
        if (nodes_ == nullptr) {
            throw ParseError("no reference to a node where no store is given", text);
        }
        auto const hash = text.find('#');
        NodeClass const * const nodeClass = findNodeClass(text.substr(0, hash));
        U64 key = 0;
        auto const * const end = text.data() + text.size();
        auto const * const digits = hash == std::string_view::npos ? end : text.data() + hash + 1;
        auto const [stop, error] = std::from_chars(digits, end, key);
        if (nodeClass != nullptr && error == std::errc() && stop == end) {
            auto const found = nodes_->node(static_cast<U16>(nodeClass->number()), key);
            // Only value nodes can be passed; the cast below relies on it.
            if (found && nodeClass->isKind(NodeKind::storageType)) {
                return static_cast<StorageType const *>(found.get());
            }
        }
        throw ParseError("CLASS#KEY of a value node of the store", text);
    }

    std::string_view rest_;
    AetCollections const * nodes_;
};

} // namespace

std::ostream & operator<<(std::ostream & out, StackFrameData_ const & frame) {
    char const * separator = "";
    out << '{';
    auto const plain = [](auto const & value) { return value; };
    print(out, separator, "ints", frame.intTypeArgContainer(), plain);
    print(out, separator, "bandwidths", frame.bandwidthTypeArgContainer(),
          [](F32 value) { return Shortest{value}; });
    print(out, separator, "triStateBools", frame.triStateBoolTypeArgContainer(), plain);
    print(out, separator, "prefixLists", frame.prefixListTypeArgContainer(), matcherText);
    print(out, separator, "aetNodePtrs", frame.aetNodePtrArgContainer(),
          [](StorageType const * node) { return referenceText(*node); });
    if (frame.logHead()) {
        out << separator << "log: " << frame.logHead()->aetNodeKey();
    }
    return out << '}';
}

StackFrameData_ strepToStackFrameData(String const & text, AetCollections const * nodes) {
    return FrameReader(text, nodes).read();
}

} // namespace Qcf::Eval
