#pragma once

#include "Platform/Framework/Types.h"

#include <string_view>

namespace Qcf::Questions {

/// The text as content of an element or of an attribute in double quotes. What HTML cannot hold
/// (control characters, bytes that are no UTF-8) becomes U+FFFD.
String escapedHtml(std::string_view text);

/// "200,000".
String groupedDigits(U64 number);
/// "38.1 %"; of nothing "0.0 %".
String percentText(U64 part, U64 all);

/// How a content security policy names a style or a script by its text: "'sha256-...'".
String contentHash(std::string_view text);

/// `text` with each `@@name@@` replaced by what `valueOf(name)` answers. Values are not looked
/// into.
template <typename ValueOf>
String filledIn(std::string_view text, ValueOf const & valueOf) {
    String filled;
    while (true) {
        std::size_t const begin = text.find("@@");
        filled += text.substr(0, begin);
        if (begin == std::string_view::npos) {
            return filled;
        }
        std::size_t const end = text.find("@@", begin + 2);
        filled += valueOf(text.substr(begin + 2, end - begin - 2));
        text.remove_prefix(end + 2);
    }
}

} // namespace Qcf::Questions
