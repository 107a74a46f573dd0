#include "Questions/Html.h"

#include "Platform/Framework/Assert.h"
#include "Platform/Render/Utf8.h"

#include <cstdio>

#include <openssl/evp.h>

namespace Qcf::Questions {

String escapedHtml(std::string_view text) {
    String escaped;
    for (char const c : replaceInvalidUtf8(text)) {
        bool const isControl = static_cast<U8>(c) < 0x20 || c == 0x7f;
        switch (c) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        case '\n':
        case '\t':
            escaped += c;
            break;
        default:
            escaped += isControl ? String("\xef\xbf\xbd") : String(1, c);
        }
    }
    return escaped;
}

String groupedDigits(U64 number) {
    String text = std::to_string(number);
    for (std::size_t at = text.size(); at > 3;) {
        at -= 3;
        text.insert(at, 1, ',');
    }
    return text;
}

String percentText(U64 part, U64 all) {
    char text[16];
    F64 const share = all == 0 ? 0 : 100.0 * static_cast<F64>(part) / static_cast<F64>(all);
    std::snprintf(text, sizeof text, "%.1f %%", share);
    return text;
}

String contentHash(std::string_view text) {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int size = 0;
    int const done = EVP_Digest(text.data(), text.size(), digest, &size, EVP_sha256(), nullptr);
    QCF_ASSERT_TEXT(done == 1, "SHA-256 is there");
    unsigned char base64[2 * EVP_MAX_MD_SIZE];
    int const length = EVP_EncodeBlock(base64, digest, static_cast<int>(size));
    return "'sha256-" + String(base64, base64 + length) + '\'';
}

} // namespace Qcf::Questions
