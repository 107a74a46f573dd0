#pragma once

#include "Platform/Framework/Types.h"
#include "Platform/Render/ReadFile.h"

#include <iterator>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

class JsonTree;

/// One value of a JsonDocument: a handle of two words, valid as long as the document, cheap to
/// copy.
///
/// Reading never converts silently: numbers keep their exact text, integers are integers only when
/// they are written as such. Whoever finds that a value is not what it wants calls `fail`, which
/// throws the DocumentError with the value's place.
///
///     for (JsonValue const member : document.root().expectObject()) {
///         if (member.key() == "med") {
///             med = member.expectU64(0, 0xffffffff); // or throws with the place
///         }
///     }
class JsonValue {
public:
    enum class Kind : U8 { null, boolean, number, string, array, object };
    class Iterator;

    /// What the value is; the six questions below ask for one kind each.
    Kind kind() const noexcept;
    bool isNull() const noexcept { return kind() == Kind::null; }
    bool isBool() const noexcept { return kind() == Kind::boolean; }
    bool isNumber() const noexcept { return kind() == Kind::number; }
    bool isString() const noexcept { return kind() == Kind::string; }
    bool isArray() const noexcept { return kind() == Kind::array; }
    bool isObject() const noexcept { return kind() == Kind::object; }

    /// Number of elements or members; 0 for anything that has none.
    std::size_t size() const noexcept;
    /// Element `i` of an array, which must have it. Constant time.
    JsonValue at(std::size_t i) const;
    /// The member of that name, if the value is an object that has one. Logarithmic time at worst.
    /// Nothing for a value that is no object.
    std::optional<JsonValue> find(std::string_view key) const;
    /// Elements or members in document order; none for a scalar.
    Iterator begin() const noexcept;
    Iterator end() const noexcept;
    /// The name under which a member stands in its object; empty for anything else.
    std::string_view key() const noexcept;

    /// The content of a boolean, string or number; the kind must be right. Who does not know it
    /// asks `expectBool` and its like.
    bool asBool() const;
    std::string_view asString() const;
    std::string_view numberText() const;

    /// The number, if the value is one written as an integer without sign, fraction and exponent
    /// that fits.
    std::optional<U64> asU64() const noexcept;
    /// Magnitude and sign of a number written as an integer; `-0` is {0, true}.
    std::optional<std::pair<U64, bool>> asSigned() const noexcept;
    /// The nearest float of any number; nothing where it is too large for the type. Nothing for
    /// what is no number, either.
    std::optional<F32> asFloat() const noexcept;

    /// As above, but failing with a text about what was wanted. Each answers the value itself, by
    /// value so that a loop over what a call answered keeps it, or its content.
    JsonValue expectObject() const;
    JsonValue expectArray() const;
    std::string_view expectString(std::string_view wanted = "string") const;
    bool expectBool() const;
    U64 expectU64(U64 least = 0, U64 most = ~U64{0}) const;

    /// Where the value stands (RFC 6901); the root is the empty string. Costs a walk to the root.
    String pointer() const;
    /// Throws `FILE:POINTER: wants WANTED, found FOUND`, where FOUND is `describe(*this)`.
    [[noreturn]] void fail(std::string_view wanted) const;
    /// Throws `FILE:POINTER: SUBJECT wants WANTED, found FOUND`; an empty subject is left out.
    [[noreturn]] void fail(std::string_view subject, std::string_view wanted,
                           std::string_view found) const;

private:
    friend class JsonDocument;
    friend class JsonTree;

    JsonValue(JsonTree const & tree, U32 index) noexcept : tree_(&tree), index_(index) {}

    /// Owned by the document.
    JsonTree const * tree_;
    /// Of the value among all values of the text.
    U32 index_;
};

/// Walks the elements of an array or the members of an object, in the order in which they stand in
/// the text.
class JsonValue::Iterator {
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = JsonValue;
    using difference_type = std::ptrdiff_t;
    using pointer = void;
    using reference = JsonValue;

    /// From that value on.
    explicit Iterator(JsonValue at) noexcept : at_(at) {}
    JsonValue operator*() const noexcept { return at_; }
    /// The next sibling. Constant time, whatever lies between.
    Iterator & operator++() noexcept;
    Iterator operator++(int) noexcept {
        Iterator const before = *this;
        ++*this;
        return before;
    }
    bool operator==(Iterator const & other) const noexcept {
        return at_.index_ == other.at_.index_;
    }

private:
    friend class JsonValue;

    JsonValue at_;
};

/// What was found, for a message: `"afi"`, `number 5`, `true`, `null`, `object`, `empty array`, ...
/// Long texts are cut. A text in a message never spans lines.
String describe(JsonValue const & value);

/// A JSON text that was read. It keeps the text and a compact tree over it, about 32 bytes a value,
/// and is read without recursion.
///
///     auto const document = JsonDocument::parse(readFile(path), path);
///     JsonValue const root = document.root();
///
/// Refused, with a DocumentError: syntax errors (`FILE:LINE:COLUMN: ...`, columns in characters),
/// anything behind the value, duplicate keys, nesting or sizes over the limits, NUL characters and
/// invalid UTF-8. A byte order mark in front is skipped.
///
/// Once read it never changes: any number of threads may look into it. Moving it leaves its values
/// valid.
class JsonDocument {
public:
    /// What may be read. Whoever reads from strangers may want less.
    struct Limits {
        U64 bytes = largestDocument; ///< at most 1 GiB
        U32 depth = 512;             ///< of arrays and objects within each other
        U32 values = U32{1} << 26;   ///< bounds the memory that a hostile text can claim: 2 GiB
    };

    /// Reads a whole text; `fileName` is what messages begin with.
    static JsonDocument parse(String text, String fileName, Limits const & limits);
    static JsonDocument parse(String text, String fileName) {
        return parse(std::move(text), std::move(fileName), Limits());
    }

    /// An empty document (null) for `parseLine`.
    explicit JsonDocument(String fileName);
    /// Values stay valid: they know the tree, which moves along.
    JsonDocument(JsonDocument &&) noexcept;
    ~JsonDocument();

    /// Replaces the content by one line of a file of one-line documents, reusing storage. Errors
    /// name `line` (from 1): `FILE:LINE:COLUMN: ...` and `FILE:LINE:POINTER: ...`. After an error
    /// the document is null.
    void parseLine(std::string_view text, U64 line);

    /// The outermost value, valid as long as the document.
    JsonValue root() const noexcept;

private:
    std::unique_ptr<JsonTree> tree_;
};
