#include "Platform/Render/JsonDocument.h"

#include "Platform/Framework/Assert.h"
#include "Platform/Render/JsonTree.h"
#include "Platform/Render/Utf8.h"

#include <algorithm>
#include <charconv>

/// Values of a parsed document, and what is said when one is not what was expected. The tree behind
/// them is JsonTree's, which the parser fills (JsonParse.cpp).
namespace {

// Roughly the decimal exponent of the number's first digit that is not zero. Good enough to tell a
// number that is too large for a float from one that is too small.
S64 decimalOrder(std::string_view text) noexcept {
    std::size_t const mark = text.find_first_of("eE");
    std::string_view const digits = text.substr(0, mark);
    S64 exponent = 0;
    if (mark != std::string_view::npos) {
        std::string_view written = text.substr(mark + 1);
        bool const negative = written.front() == '-';
        written.remove_prefix(negative || written.front() == '+' ? 1 : 0);
        auto const result =
            std::from_chars(written.data(), written.data() + written.size(), exponent);
        exponent = result.ec == std::errc() ? exponent : S64{1} << 40; // longer than any text
        exponent = negative ? -exponent : exponent;
    }
    auto const point = static_cast<S64>(std::min(digits.find('.'), digits.size()));
    return exponent + point - static_cast<S64>(digits.find_first_of("123456789"));
}

// from_chars leaves the value alone when it is out of range. What is too small for the type is as
// good as zero, what is too large is not.
std::optional<F32> nearest(std::string_view text) noexcept {
    F32 value = 0;
    auto const result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec == std::errc()) {
        return value;
    }
    if (decimalOrder(text) > 0) {
        return std::nullopt;
    }
    // The sign is kept, as a float keeps it.
    return text.front() == '-' ? -0.0F : 0.0F;
}

} // namespace

JsonValue::Kind JsonValue::kind() const noexcept { return tree_->nodes[index_].kind; }

std::size_t JsonValue::size() const noexcept {
    return isArray() || isObject() ? tree_->nodes[index_].content.length : 0;
}

// An array of plain values needs no table of its elements: each is one node.
JsonValue JsonValue::at(std::size_t i) const {
    auto const & node = tree_->nodes[index_];
    QCF_ASSERT_TEXT(isArray() && i < node.content.length, "array has no such element");
    U32 const offset = static_cast<U32>(i);
    U32 const element = JsonTree::isFlat(node, index_) ? index_ + 1 + offset
                                                       : tree_->order[node.content.at + offset];
    return {*tree_, element};
}

std::optional<JsonValue> JsonValue::find(std::string_view key) const {
    if (!isObject()) {
        return std::nullopt;
    }
    std::optional<U32> const member = tree_->findMember(index_, key);
    return member ? std::optional(JsonValue(*tree_, *member)) : std::nullopt;
}

// A container's content begins right behind it, and each value knows where its subtree ends. A
// value that is no container has an empty range.
JsonValue::Iterator JsonValue::begin() const noexcept { return Iterator({*tree_, index_ + 1}); }

JsonValue::Iterator JsonValue::end() const noexcept {
    return Iterator({*tree_, tree_->nodes[index_].end});
}

JsonValue::Iterator & JsonValue::Iterator::operator++() noexcept {
    at_.index_ = at_.tree_->nodes[at_.index_].end;
    return *this;
}

std::string_view JsonValue::key() const noexcept { return tree_->key(tree_->nodes[index_]); }

bool JsonValue::asBool() const {
    QCF_ASSERT(isBool());
    return tree_->nodes[index_].value;
}

std::string_view JsonValue::asString() const {
    QCF_ASSERT(isString());
    return tree_->content(tree_->nodes[index_]);
}

std::string_view JsonValue::numberText() const {
    QCF_ASSERT(isNumber());
    return tree_->content(tree_->nodes[index_]);
}

std::optional<U64> JsonValue::asU64() const noexcept {
    auto const number = asSigned();
    return number && !number->second ? std::optional(number->first) : std::nullopt;
}

// The sign stands apart, so that the magnitude may use all 64 bits.
std::optional<std::pair<U64, bool>> JsonValue::asSigned() const noexcept {
    if (!isNumber()) {
        return std::nullopt;
    }
    std::string_view text = numberText();
    bool const negative = text.front() == '-';
    text.remove_prefix(negative ? 1 : 0);
    U64 magnitude = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), magnitude);
    // A fraction or an exponent is left over, even where the number is whole.
    if (error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return std::pair(magnitude, negative);
}

std::optional<F32> JsonValue::asFloat() const noexcept {
    return isNumber() ? nearest(numberText()) : std::nullopt;
}

JsonValue JsonValue::expectObject() const {
    if (!isObject()) {
        fail("object");
    }
    return *this;
}

JsonValue JsonValue::expectArray() const {
    if (!isArray()) {
        fail("array");
    }
    return *this;
}

std::string_view JsonValue::expectString(std::string_view wanted) const {
    if (!isString()) {
        fail(wanted);
    }
    return asString();
}

bool JsonValue::expectBool() const {
    if (!isBool()) {
        fail("true or false");
    }
    return asBool();
}

U64 JsonValue::expectU64(U64 least, U64 most) const {
    std::optional<U64> const number = asU64();
    if (!number || *number < least || *number > most) {
        fail("integer from " + std::to_string(least) + " to " + std::to_string(most));
    }
    return *number;
}

String JsonValue::pointer() const { return tree_->pointer(index_); }

void JsonValue::fail(std::string_view wanted) const { fail({}, wanted, describe(*this)); }

// All faults of content read alike: place, what was wanted, what was found.
void JsonValue::fail(std::string_view subject, std::string_view wanted,
                     std::string_view found) const {
    String message(subject);
    message += subject.empty() ? "wants " : " wants ";
    message += wanted;
    message += ", found ";
    message += found;
    throw DocumentError(tree_->place(index_), std::move(message),
                        {tree_->fileName, tree_->pointer(index_), tree_->line, 0});
}

String describe(JsonValue const & value) {
    // Messages stay on one line of a terminal, whatever a document holds.
    constexpr std::size_t most = 60;
    switch (value.kind()) {
    case JsonValue::Kind::null:
        return "null";
    case JsonValue::Kind::boolean:
        return value.asBool() ? "true" : "false";
    case JsonValue::Kind::number:
        return "number " + oneLine(value.numberText(), most);
    case JsonValue::Kind::string:
        return '"' + oneLine(value.asString(), most) + '"';
    case JsonValue::Kind::array:
        return value.size() == 0 ? "empty array" : "array";
    case JsonValue::Kind::object:
        return value.size() == 0 ? "empty object" : "object";
    }
    QCF_ASSERT_TEXT(false, "invalid JsonValue::Kind");
    return {};
}

// The tree is on the heap, so that values stay valid when the document is moved.
JsonDocument::JsonDocument(String fileName) : tree_(std::make_unique<JsonTree>()) {
    tree_->fileName = std::move(fileName);
    tree_->clear();
}

JsonDocument::JsonDocument(JsonDocument &&) noexcept = default;
JsonDocument::~JsonDocument() = default;

JsonDocument JsonDocument::parse(String text, String fileName, Limits const & limits) {
    JsonDocument document(std::move(fileName));
    document.tree_->text = std::move(text);
    document.tree_->parse(limits);
    return document;
}

void JsonDocument::parseLine(std::string_view text, U64 line) {
    tree_->line = line;
    // A copy, into storage that serves line after line.
    tree_->text.assign(text);
    try {
        tree_->parse(Limits());
    } catch (...) {
        // Without this the values of half a line could be read.
        tree_->clear();
        throw;
    }
}

JsonValue JsonDocument::root() const noexcept { return tree_->value(0); }
