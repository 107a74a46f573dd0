#include "Platform/Metrics/MetricsTarget.h"

#include "Platform/Render/Utf8.h"
#include "Platform/Routing/TextPieces.h"

#include <stdexcept>

#include <arpa/inet.h>
#include <netinet/in.h>

namespace {

[[noreturn]] void refuse(std::string_view text) {
    constexpr std::size_t longest = 80;
    throw std::runtime_error("wants IPV4-ADDRESS:PORT or FILE.prom, found \"" +
                             oneLine(text, longest) + '"');
}

bool isIpv4(String const & address) {
    in_addr parsed{};
    return ::inet_pton(AF_INET, address.c_str(), &parsed) == 1;
}

} // namespace

bool MetricsTarget::isLocal() const { return !file.empty() || address.starts_with("127."); }

// The ending tells a file from an address, and is what node exporters look for.
MetricsTarget MetricsTarget::parse(std::string_view text) {
    constexpr U64 largestPort = 65535;
    if (text.ends_with(".prom")) {
        return {String(text), {}, 0};
    }
    std::size_t const colon = text.rfind(':');
    if (colon == std::string_view::npos) {
        refuse(text);
    }
    String address(text.substr(0, colon));
    if (address == "localhost") {
        address = "127.0.0.1";
    }
    auto const port = Routing::TextPieces::parseDecimal(text.substr(colon + 1), largestPort);
    // An embedded NUL would hide what follows it.
    if (!port || !isIpv4(address) || address.find('\0') != String::npos) {
        refuse(text);
    }
    return {{}, std::move(address), static_cast<U16>(*port)};
}
