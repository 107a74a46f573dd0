#include "Platform/Render/JsonTree.h"
#include "Platform/Render/RapidJson.h"
#include "Platform/Render/Utf8.h"

#include <algorithm>
#include <cstring>
#include <tuple>

/// One pass over the text: RapidJSON knows the syntax, the handler here makes nodes and looks at
/// the content, so that every fault has its place.
namespace {

namespace rj = qcfRapidJson;
using Node = JsonTree::Node;
using Kind = JsonTree::Kind;

/// The text as RapidJSON reads it. Written for this parser because RapidJSON works on a copy of its
/// own string stream, and the handler needs the position while a token is being handled.
class TextStream {
public:
    using Ch = char;

    explicit TextStream(std::string_view text) : begin_(text.data()), at_(text.data()) {}
    char Peek() const noexcept { return *at_; } // the text ends with NUL and holds no other
    /// At the end NUL again and again: RapidJSON takes all bytes that a character's first one calls
    /// for before it looks at them.
    char Take() noexcept { return *at_ == '\0' ? '\0' : *at_++; }
    std::size_t Tell() const noexcept { return static_cast<std::size_t>(at_ - begin_); }

    // For writing streams only; never called.
    char * PutBegin() { return nullptr; }
    void Put(char) {}
    std::size_t PutEnd(char *) { return 0; }

private:
    char const * begin_;
    char const * at_;
};

/// Takes RapidJSON's events and appends nodes. A fault of the content, as opposed to the syntax, is
/// thrown as a DocumentError with the place of the value.
class Handler {
public:
    Handler(JsonTree & tree, JsonDocument::Limits const & limits, TextStream const & stream)
        : tree_(tree), limits_(limits), stream_(stream) {}

    bool Null() {
        add(Kind::null);
        return true;
    }
    bool Bool(bool b) {
        add(Kind::boolean).value = b;
        return true;
    }
    bool RawNumber(char const *, rj::SizeType length, bool) {
        add(Kind::number).content = {static_cast<U32>(stream_.Tell() - length), length};
        return true;
    }
    bool String(char const * s, rj::SizeType length, bool) {
        Node & node = add(Kind::string);
        std::tie(node.content, node.contentDecoded) = keep({s, length});
        // After the node was made: its place is told from the tree.
        check({s, length}, last(), "string");
        return true;
    }
    bool Key(char const * s, rj::SizeType length, bool) {
        std::tie(key_, keyDecoded_) = keep({s, length});
        // The member has no node yet: the object is named in its place.
        check({s, length}, open_, "key");
        return true;
    }
    bool StartObject() { return start(Kind::object); }
    bool StartArray() { return start(Kind::array); }
    bool EndObject(rj::SizeType) {
        U32 const object = finish();
        // Few members are compared each with each, which allocates nothing.
        if (tree_.nodes[object].content.length > JsonTree::smallObject) {
            orderMembers(object);
        } else {
            compareMembers(object);
        }
        return true;
    }
    bool EndArray(rj::SizeType) {
        U32 const array = finish();
        Node & node = tree_.nodes[array];
        // Elements with content of their own lie apart: their indices are noted.
        if (!JsonTree::isFlat(node, array)) {
            node.content.at = static_cast<U32>(tree_.order.size());
            for (U32 i = array + 1; i < node.end; i = tree_.nodes[i].end) {
                tree_.order.push_back(i);
            }
        }
        return true;
    }

    // Numbers come as text only.
    bool Int(int) { return false; }
    bool Uint(unsigned) { return false; }
    bool Int64(S64) { return false; }
    bool Uint64(U64) { return false; }
    bool Double(F64) { return false; }

private:
    U32 last() const noexcept { return static_cast<U32>(tree_.nodes.size() - 1); }

    Node & add(Kind kind) {
        // The root is always let in, so that the message has a place to name.
        if (tree_.nodes.size() >= limits_.values && open_ != JsonTree::noParent) {
            tree_.value(open_).fail(
                {}, "a document of at most " + std::to_string(limits_.values) + " values", "more");
        }
        Node & node = tree_.nodes.emplace_back();
        node.kind = kind;
        node.parent = open_;
        // A container's end is not known before its content was read.
        if (kind != Kind::array && kind != Kind::object) {
            node.end = static_cast<U32>(tree_.nodes.size());
        }
        if (open_ != JsonTree::noParent) {
            Node & parent = tree_.nodes[open_];
            ++parent.content.length;
            if (parent.kind == Kind::object) {
                node.key = key_;
                node.keyDecoded = keyDecoded_;
            }
        }
        return node;
    }

    bool start(Kind kind) {
        add(kind);
        open_ = last();
        if (++depth_ > limits_.depth) {
            tree_.value(open_).fail(
                {}, "arrays and objects nested at most " + std::to_string(limits_.depth) + " deep",
                "deeper nesting");
        }
        return true;
    }

    U32 finish() {
        U32 const container = open_;
        Node & node = tree_.nodes[container];
        node.end = static_cast<U32>(tree_.nodes.size());
        // The nodes are the stack: nesting takes no memory beside them.
        open_ = node.parent;
        --depth_;
        return container;
    }

    // A string without escapes stands in the text as it is, just before the closing quote.
    std::pair<JsonTree::Slice, bool> keep(std::string_view s) {
        std::size_t const end = stream_.Tell() - 1;
        auto const length = static_cast<U32>(s.size());
        // RapidJSON hands strings over decoded, in a buffer of its own: equal bytes need no copy.
        if (s.size() <= end &&
            std::memcmp(tree_.text.data() + end - s.size(), s.data(), s.size()) == 0) {
            return {{static_cast<U32>(end - s.size()), length}, false};
        }
        auto const at = static_cast<U32>(tree_.decoded.size());
        tree_.decoded += s;
        return {{at, length}, true};
    }

    // Escapes can spell what the text itself must not hold.
    void check(std::string_view s, U32 at, char const * what) {
        if (s.find('\0') != std::string_view::npos) {
            tree_.value(at).fail({}, std::string(what) + " without NUL characters", "\\u0000");
        }
        if (!isUtf8(s)) {
            tree_.value(at).fail({}, std::string(what) + " of Unicode characters",
                                 "half of a surrogate pair");
        }
    }

    [[noreturn]] void failDuplicate(U32 member) {
        Node const & node = tree_.nodes[member];
        tree_.value(member).fail({}, "each key once",
                                 '"' + oneLine(tree_.key(node), 60) + "\" again");
    }

    void compareMembers(U32 object) {
        U32 const end = tree_.nodes[object].end;
        for (U32 i = object + 1; i < end; i = tree_.nodes[i].end) {
            std::string_view const key = tree_.key(tree_.nodes[i]);
            for (U32 j = object + 1; j < i; j = tree_.nodes[j].end) {
                if (tree_.key(tree_.nodes[j]) == key) {
                    failDuplicate(i);
                }
            }
        }
    }

    // By hash, then by key: however the keys were chosen, this takes n log n comparisons.
    void orderMembers(U32 object) {
        Node & node = tree_.nodes[object];
        using Ranked = std::tuple<U32, std::string_view, U32>;
        std::vector<Ranked> members;
        members.reserve(node.content.length);
        for (U32 i = object + 1; i < node.end; i = tree_.nodes[i].end) {
            std::string_view const key = tree_.key(tree_.nodes[i]);
            members.emplace_back(JsonTree::keyHash(key), key, i);
        }
        std::sort(members.begin(), members.end());
        node.content.at = static_cast<U32>(tree_.order.size());
        // The first duplicate in the document is told, not the first by hash.
        U32 duplicate = JsonTree::noParent;
        for (std::size_t i = 0; i < members.size(); ++i) {
            tree_.order.push_back(std::get<2>(members[i]));
            if (i > 0 && std::get<1>(members[i]) == std::get<1>(members[i - 1])) {
                duplicate = std::min(duplicate, std::get<2>(members[i]));
            }
        }
        if (duplicate != JsonTree::noParent) {
            failDuplicate(duplicate);
        }
    }

    JsonTree & tree_;
    JsonDocument::Limits const & limits_;
    TextStream const & stream_;
    U32 open_ = JsonTree::noParent;
    U32 depth_ = 0;
    JsonTree::Slice key_;
    bool keyDecoded_ = false;
};

/// Throws an error whose place is `FILE:LINE:COLUMN: `, both from 1, columns in characters.
[[noreturn]] void failAt(JsonTree const & tree, std::size_t offset, String const & message) {
    std::string_view const before = std::string_view(tree.text).substr(0, offset);
    std::size_t const lineStart = before.rfind('\n') + 1; // npos + 1 is 0
    U64 line = static_cast<U64>(std::count(before.begin(), before.end(), '\n')) + 1;
    // A document that is one line of a file is told by its line there.
    if (tree.line != 0) {
        line += tree.line - 1;
    }
    std::string_view const inLine = before.substr(lineStart);
    auto const characters = std::count_if(
        inLine.begin(), inLine.end(), [](char c) { return (static_cast<U8>(c) & 0xc0U) != 0x80U; });
    U64 const column = static_cast<U64>(characters) + 1;
    throw DocumentError(oneLine(tree.fileName, 4096) + ':' + std::to_string(line) + ':' +
                            std::to_string(column) + ": ",
                        message, {tree.fileName, {}, line, column});
}

} // namespace

void JsonTree::parse(JsonDocument::Limits const & limits) {
    nodes.clear();
    decoded.clear();
    order.clear();
    if (text.size() > std::min(limits.bytes, largestDocument)) {
        throw DocumentError(oneLine(fileName, 4096) + ": ",
                            "wants at most " +
                                std::to_string(std::min(limits.bytes, largestDocument)) +
                                " bytes, found " + std::to_string(text.size()),
                            {fileName, {}, 0, 0});
    }
    // A byte order mark, which some editors put before UTF-8.
    if (text.starts_with("\xef\xbb\xbf")) {
        text.erase(0, 3);
    }
    // The stream ends at NUL, so that what stands behind one would be lost without a word.
    if (std::size_t const nul = text.find('\0'); nul != String::npos) {
        failAt(*this, nul, "wants JSON text, found a NUL byte");
    }
    TextStream stream(text);
    Handler handler(*this, limits, stream);
    rj::Reader reader;
    // Iterative, so that nesting takes no stack; numbers as text, so that none loses digits.
    constexpr unsigned flags =
        rj::kParseIterativeFlag | rj::kParseNumbersAsStringsFlag | rj::kParseValidateEncodingFlag;
    rj::ParseResult const result = reader.Parse<flags>(stream, handler);
    if (result.IsError()) {
        failAt(*this, result.Offset(),
               String("syntax error: ") + rj::GetParseError_En(result.Code()));
    }
}
