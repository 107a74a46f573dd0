#include "Platform/Routing/CommunityText.h"

#include "Platform/Routing/IpAddr.h"
#include "Platform/Routing/TextPieces.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <limits>

/// Communities as text and back, independent of the locale. Readers take their whole text or
/// nothing; some read shorter forms than are written.
namespace {

using Acl::CommunityValue;
using Routing::TextPieces::appendDecimal;
using Routing::TextPieces::appendHex;
using Routing::TextPieces::parseDecimal;

constexpr U64 max16 = std::numeric_limits<U16>::max();
constexpr U64 max32 = std::numeric_limits<U32>::max();

struct WellKnownCommunity {
    std::string_view name; ///< lower case, joined by "-"
    U32 value;
};

constexpr std::array<WellKnownCommunity, 8> wellKnownCommunities{{
    {"graceful-shutdown", 0xffff0000},   // RFC 8326
    {"llgr-stale", 0xffff0006},          // RFC 9494
    {"no-llgr", 0xffff0007},             // RFC 9494
    {"blackhole", 0xffff029a},           // RFC 7999
    {"no-export", 0xffffff01},           // RFC 1997
    {"no-advertise", 0xffffff02},        // RFC 1997
    {"no-export-subconfed", 0xffffff03}, // RFC 1997
    {"nopeer", 0xffffff04},              // RFC 3765
}};

/// A character of a name as the table spells it.
char nameCharacter(char c) {
    if (c == '_') {
        return '-';
    }
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool namesEqual(std::string_view text, std::string_view name) {
    // The text is what somebody wrote: case and underscores are forgiven.
    return std::equal(text.begin(), text.end(), name.begin(), name.end(),
                      [](char a, char b) { return nameCharacter(a) == b; });
}

/// Cuts a text at the colons; nullopt unless that gives exactly N parts.
template <std::size_t N>
std::optional<std::array<std::string_view, N>> colonParts(std::string_view text) {
    std::array<std::string_view, N> parts;
    for (std::size_t i = 0; i + 1 < N; ++i) {
        std::size_t const colon = text.find(':');
        if (colon == std::string_view::npos) {
            return std::nullopt;
        }
        parts[i] = text.substr(0, colon);
        text.remove_prefix(colon + 1);
    }
    // One colon too many.
    if (text.find(':') != std::string_view::npos) {
        return std::nullopt;
    }
    parts[N - 1] = text;
    return parts;
}

/// The value word of an extended community from its four fields; `administrator` and `number` share
/// the six octets, `numberBits` of them for the number.
CommunityValue makeExtended(U64 type, U64 subType, U64 administrator, U64 number, U32 numberBits) {
    return {(type << 56) | (subType << 48) | (administrator << numberBits) | number, 0};
}

/// A community of the two-octet-AS, IPv4-address or four-octet-AS kind.
std::optional<CommunityValue> parseAdministered(U64 subType, std::string_view administratorText,
                                                std::string_view numberText) {
    // The administrator's form decides how the six octets are shared (RFC 4360, RFC 5668).
    auto const addr = IpGenAddr::parse(administratorText);
    bool const byAddress = addr && addr->af() == AddressFamily::ipv4;
    auto const administrator =
        byAddress ? std::optional<U64>(addr->v4Value()) : parseDecimal(administratorText, max32);
    if (!administrator) {
        return std::nullopt;
    }
    // An AS number that fits two octets leaves four for the number.
    bool const wideNumber = !byAddress && *administrator <= max16;
    auto const number = parseDecimal(numberText, wideNumber ? max32 : max16);
    if (!number) {
        return std::nullopt;
    }
    U64 const type = byAddress ? 0x01 : wideNumber ? 0x00 : 0x02;
    // Types 0x00, 0x01 and 0x02: two-octet AS, IPv4 address, four-octet AS.
    return makeExtended(type, subType, *administrator, *number, wideNumber ? 32 : 16);
}

/// A float in decimal, with or without exponent, that is finite and not negative.
std::optional<F32> parseBandwidth(std::string_view text) {
    // Only a digit or a point may stand first: this shuts out signs and the names of no numbers.
    if (text.empty() || (text.front() != '.' && (text.front() < '0' || text.front() > '9'))) {
        return std::nullopt;
    }
    F32 value = 0;
    auto const [stop, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    // Out of range as a float counts as an error, too.
    if (error != std::errc() || stop != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

std::optional<CommunityValue> parseLinkBandwidth(std::string_view asnText,
                                                 std::string_view bandwidthText) {
    auto const asn = parseDecimal(asnText, max16);
    auto const bandwidth = parseBandwidth(bandwidthText);
    if (!asn || !bandwidth) {
        return std::nullopt;
    }
    // Not transitive, subtype link bandwidth: bytes a second as a float.
    return makeExtended(0x40, 0x04, *asn, std::bit_cast<U32>(*bandwidth), 32);
}

std::optional<CommunityValue> parseHexWord(std::string_view digits) {
    U64 value = 0;
    for (char const c : digits) {
        int const digit = Routing::TextPieces::hexDigitValue(c);
        if (digit < 0) {
            return std::nullopt;
        }
        value = (value << 4) | static_cast<U64>(digit);
    }
    // All sixteen digits: a shorter word leaves open where its octets belong.
    return digits.size() == 16 ? std::optional(CommunityValue(value, 0)) : std::nullopt;
}

std::optional<CommunityValue> parseLarge(std::string_view a, std::string_view b,
                                         std::string_view c) {
    auto const global = parseDecimal(a, max32);
    auto const first = parseDecimal(b, max32);
    auto const second = parseDecimal(c, max32);
    if (!global || !first || !second) {
        return std::nullopt;
    }
    // The layout of CommunityValue: the third part is the type word.
    return CommunityValue((*global << 32) | *first, static_cast<U32>(*second));
}

/// What an `append` function writes, as a text of its own.
template <class Append, class Value>
String textOf(Append append, Value const & value) {
    String text;
    append(text, value);
    return text;
}

} // namespace

std::optional<U64> parseStandardCommunity(std::string_view text) {
    // With a colon it is two halves or nothing; names and plain numbers have none.
    if (auto const halves = colonParts<2>(text)) {
        auto const high = parseDecimal((*halves)[0], max16);
        auto const low = parseDecimal((*halves)[1], max16);
        return high && low ? std::optional((*high << 16) | *low) : std::nullopt;
    }
    for (WellKnownCommunity const & community : wellKnownCommunities) {
        if (namesEqual(text, community.name)) {
            return community.value;
        }
    }
    return parseDecimal(text, max32);
}

std::string_view wellKnownCommunityName(U64 community) {
    for (WellKnownCommunity const & each : wellKnownCommunities) {
        if (each.value == community) {
            return each.name;
        }
    }
    return {};
}

std::span<std::string_view const> wellKnownCommunityNames() {
    static auto const names = [] {
        std::array<std::string_view, wellKnownCommunities.size()> all;
        std::ranges::transform(wellKnownCommunities, all.begin(), &WellKnownCommunity::name);
        return all;
    }();
    return names;
}

void appendStandardCommunityText(String & out, U64 community) {
    // No community, but the set may hold it: shown as the number that it is.
    if (community > max32) {
        appendDecimal(out, community);
        return;
    }
    appendDecimal(out, community >> 16);
    out.push_back(':');
    appendDecimal(out, community & max16);
}

std::optional<CommunityValue> parseCommunityValue(std::string_view text) {
    if (text.starts_with("0x")) {
        return parseHexWord(text.substr(2));
    }
    // Every form but the hexadecimal one has three parts; the first tells which.
    auto const parts = colonParts<3>(text);
    if (!parts) {
        return std::nullopt;
    }
    auto const & [kind, first, second] = *parts;
    // Route target and site of origin are told by their subtype alone.
    if (kind == "rt") {
        return parseAdministered(0x02, first, second);
    }
    if (kind == "soo") {
        return parseAdministered(0x03, first, second);
    }
    if (kind == "lbw") {
        return parseLinkBandwidth(first, second);
    }
    return parseLarge(kind, first, second);
}

void appendLargeCommunityText(String & out, CommunityValue const & community) {
    appendDecimal(out, community.word(1));
    out.push_back(':');
    appendDecimal(out, community.word(0));
    out.push_back(':');
    appendDecimal(out, community.type());
}

void appendExtCommunityText(String & out, CommunityValue const & community) {
    out += "0x";
    appendHex(out, community.value(), 16);
}

void appendCommunityValueText(String & out, CommunityValue const & community) {
    // A large community whose third part is 0 looks like an extended one and is shown as such.
    if (community.type() == 0) {
        appendExtCommunityText(out, community);
    } else {
        appendLargeCommunityText(out, community);
    }
}

String standardCommunityText(U64 community) {
    return textOf(appendStandardCommunityText, community);
}

String largeCommunityText(CommunityValue const & community) {
    return textOf(appendLargeCommunityText, community);
}

String extCommunityText(CommunityValue const & community) {
    return textOf(appendExtCommunityText, community);
}

String communityValueText(CommunityValue const & community) {
    return textOf(appendCommunityValueText, community);
}
