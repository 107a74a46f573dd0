#include "Mirror/Redis/RedisUrl.h"

#include <algorithm>
#include <charconv>

/// Faults name the part that is wrong and never quote it: a URL may hold a password.
namespace Qcf::Mirror {

namespace {

[[noreturn]] void fail(String const & why) {
    throw RedisUrlError("redis URL: " + why +
                        "; wants redis://[USER[:PASSWORD]@]HOST[:PORT][/DATABASE], rediss://... or "
                        "unix:///PATH");
}

U32 readNumber(std::string_view text, U32 most, char const * what) {
    U32 value = 0;
    auto const read = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || read.ec != std::errc() || read.ptr != text.data() + text.size() ||
        value > most) {
        fail(String(what) + " wants a number up to " + std::to_string(most));
    }
    return value;
}

String decodePercent(std::string_view text) {
    String plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            plain += text[i];
            continue;
        }
        U8 byte = 0;
        auto const digits = text.substr(i + 1, 2);
        auto const read = std::from_chars(digits.data(), digits.data() + digits.size(), byte, 16);
        if (digits.size() < 2 || read.ptr != digits.data() + 2) {
            fail("% wants two hexadecimal digits");
        }
        plain += static_cast<char>(byte);
        i += 2;
    }
    return plain;
}

/// Takes `USER:PASSWORD@` off the front.
void readCredentials(std::string_view & rest, RedisOptions & options) {
    // The last @ before the path, so that one in the password does no harm.
    std::size_t const at = rest.substr(0, rest.find('/')).rfind('@');
    if (at == std::string_view::npos) {
        return;
    }
    std::string_view const both = rest.substr(0, at);
    rest.remove_prefix(at + 1);
    std::size_t const colon = std::min(both.find(':'), both.size());
    // Decoded only now, so that %3A and %40 are no separators.
    options.user = decodePercent(both.substr(0, colon));
    options.password = colon < both.size() ? decodePercent(both.substr(colon + 1)) : String();
    // A user alone gets the password from elsewhere.
    if (options.password.empty() && (colon < both.size() || options.user.empty())) {
        fail("no password behind the colon");
    }
}

void readHost(std::string_view text, RedisOptions & options) {
    std::size_t const bracket = text.starts_with('[') ? text.find(']') : 0;
    if (bracket == std::string_view::npos) {
        fail("no ] behind the address");
    }
    // Colons within brackets belong to the address.
    std::size_t const colon = text.find(':', bracket);
    options.host = text.substr(0, colon);
    if (bracket != 0) {
        options.host = text.substr(1, bracket - 1);
    }
    if (options.host.empty()) {
        fail("no host");
    }
    if (colon != std::string_view::npos) {
        options.port = std::to_string(readNumber(text.substr(colon + 1), 65535, "port"));
    }
}

} // namespace

RedisOptions RedisOptions::parse(std::string_view url) {
    RedisOptions options;
    std::size_t const scheme = url.find("://");
    std::string_view const name = url.substr(0, scheme);
    if (scheme == std::string_view::npos ||
        (name != "redis" && name != "rediss" && name != "unix")) {
        fail("unknown form");
    }
    std::string_view rest = url.substr(scheme + 3);
    // The system's calls would take the text to end there.
    if (rest.find('\0') != std::string_view::npos) {
        fail("a NUL byte");
    }
    readCredentials(rest, options);
    if (name == "unix") {
        options.socketPath = decodePercent(rest);
        if (!options.socketPath.starts_with('/')) {
            fail("a socket wants an absolute path");
        }
        return options;
    }
    options.tls = name == "rediss";
    std::size_t const slash = std::min(rest.find('/'), rest.size());
    readHost(rest.substr(0, slash), options);
    // A slash with nothing behind it names no database.
    if (slash + 1 < rest.size()) {
        options.database = readNumber(rest.substr(slash + 1), 1U << 20, "database");
    }
    return options;
}

} // namespace Qcf::Mirror
