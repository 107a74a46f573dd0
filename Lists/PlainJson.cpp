#include "Lists/PlainJson.h"

#include "Platform/Render/ReadFile.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace Qcf::Lists {

namespace {

/// Bytes that are at hand wherever a member or an element begins, unless the text ends before.
constexpr std::size_t ahead = std::size_t{16} << 10;
constexpr U32 deepest = 32;
/// Half of what a document may have.
constexpr U32 mostValues = U32{1} << 25;

bool isDigit(char c) { return c >= '0' && c <= '9'; }

U64 numberOf(std::string_view key) {
    U64 head = 0;
    U64 tail = 0;
    std::size_t const size = std::min(key.size(), sizeof head);
    std::memcpy(&head, key.data(), size);
    std::memcpy(&tail, key.data() + key.size() - size, size);
    return head ^ std::rotl(tail, 29) ^ key.size() << 56;
}

} // namespace

void PlainJson::KeySet::add(std::string_view key) {
    U64 const number = numberOf(key);
    auto const last = numbers_.begin() + static_cast<std::ptrdiff_t>(size_);
    doubtUnless(size_ < numbers_.size() && std::find(numbers_.begin(), last, number) == last);
    numbers_[size_++] = number;
}

void PlainJson::begin() {
    more();
    blanks();
}

// What follows the end of compressed data is to be told, and damage of them as well.
void PlainJson::end() {
    more();
    blanks();
    doubtUnless(at_ == end_ && isLast_ && source_.fault().empty() && source_.note().empty());
}

void PlainJson::more() {
    doubtUnless(++values_ < mostValues);
    if (static_cast<std::size_t>(end_ - at_) < ahead && !isLast_) {
        moveWindow();
    }
}

void PlainJson::moveWindow() {
    source_.skip(static_cast<std::size_t>(at_ - begin_));
    isLast_ = !source_.ensure(ahead);
    begin_ = at_ = reinterpret_cast<char const *>(source_.data());
    end_ = begin_ + source_.available();
    doubtUnless(source_.offset() + source_.available() <= largestDocument);
}

void PlainJson::skip(U32 depth) {
    doubtUnless(depth < deepest);
    switch (peek()) {
    case '{':
        object([&](std::string_view) { skip(depth + 1); });
        break;
    case '[':
        array([&] { skip(depth + 1); });
        break;
    case '"':
        text();
        break;
    case 't':
        literal("true");
        break;
    case 'f':
        literal("false");
        break;
    case 'n':
        literal("null");
        break;
    default:
        number();
    }
}

void PlainJson::literal(std::string_view name) {
    doubtUnless(std::string_view(at_, end_).starts_with(name));
    at_ += name.size();
}

std::string_view PlainJson::text() {
    doubtUnless(peek() == '"');
    char const * const first = ++at_;
    for (; peek() != '"'; ++at_) {
        // Neither a control character nor the beginning of a letter beyond ASCII.
        doubtUnless(*at_ >= ' ' && *at_ != '\\');
    }
    return {first, at_++};
}

std::string_view PlainJson::plainNumber() {
    doubtUnless(isDigit(peek()));
    return number();
}

std::string_view PlainJson::number() {
    char const * const first = at_;
    at_ += peek() == '-' ? 1 : 0;
    if (peek() == '0') {
        ++at_;
    } else {
        digits();
    }
    if (peek() == '.') {
        ++at_;
        digits();
    }
    if (peek() == 'e' || peek() == 'E') {
        ++at_;
        at_ += peek() == '-' || peek() == '+' ? 1 : 0;
        digits();
    }
    return {first, at_};
}

void PlainJson::digits() {
    doubtUnless(isDigit(peek()));
    while (isDigit(peek())) {
        ++at_;
    }
}

} // namespace Qcf::Lists
