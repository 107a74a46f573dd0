#include "Mirror/Redis/ReplyBounds.h"

#include <algorithm>
#include <charconv>

/// Lengths are what a server can claim much with at little cost: a line of a few bytes would make
/// the reader take gigabytes.
namespace Qcf::Mirror {

namespace {

String beyond(U64 limit, char const * what) {
    return "an answer of more than " + std::to_string(limit) + ' ' + what;
}

/// The length after the first character; 0 where there is none, as for a null string (-1).
U64 lengthOf(std::string_view line) {
    U64 length = 0;
    auto const digits = line.substr(1);
    auto const read = std::from_chars(digits.data(), digits.data() + digits.size(), length);
    // More than fits is more than any limit.
    return read.ec == std::errc::result_out_of_range ? ~U64{0} : length;
}

} // namespace

String ReplyBounds::takeLine() {
    char const kind = line_.empty() ? '\0' : line_.front();
    if (kind == '$') {
        U64 const length = lengthOf(line_);
        if (length > limits_.text) {
            return beyond(limits_.text, "bytes in one text");
        }
        // A null string has no bytes and no end of its own.
        skip_ = line_.starts_with("$-") ? 0 : length + 2;
    } else if (kind == '*') {
        U64 const count = lengthOf(line_);
        if (count > limits_.parts || parts_ + count > limits_.parts) {
            return beyond(limits_.parts, "parts");
        }
        parts_ += count;
    }
    line_.clear();
    return {};
}

String ReplyBounds::take(std::string_view bytes) {
    bytes_ += bytes.size();
    if (bytes_ > limits_.bytes) {
        return beyond(limits_.bytes, "bytes");
    }
    while (!bytes.empty()) {
        if (skip_ != 0) {
            auto const count = std::min<U64>(skip_, bytes.size());
            skip_ -= count;
            bytes.remove_prefix(count);
            continue;
        }
        auto const end = bytes.find('\n');
        line_ += bytes.substr(0, end);
        if (line_.size() > limits_.line) {
            return beyond(limits_.line, "bytes in a line");
        }
        if (end == std::string_view::npos) {
            return {};
        }
        bytes.remove_prefix(end + 1);
        if (String why = takeLine(); !why.empty()) {
            return why;
        }
    }
    return {};
}

} // namespace Qcf::Mirror
