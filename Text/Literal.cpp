#include "Text/Literal.h"

#include "Platform/Routing/CommunityText.h"
#include "Platform/Routing/TextPieces.h"

#include <algorithm>
#include <charconv>
#include <cmath>

/// Shapes do not overlap: each reader takes whole words of its own shape, so that their order is of
/// no matter but for speed.
namespace Qcf::Text {

namespace {

using Routing::TextPieces::parseDecimal;

bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isDigits(std::string_view text) { return !text.empty() && std::ranges::all_of(text, isDigit); }

struct Constant {
    std::string_view word;
    Literal value;
};

std::span<Constant const> constants() {
    static Constant const all[] = {
        {"true", Eval::TriStateBoolValue::true_},
        {"false", Eval::TriStateBoolValue::false_},
        {"unknown", Eval::TriStateBoolValue::unknown},
        {"no_prefix", IpGenPrefix()},
        {"no_address", IpGenAddr()},
        {"no_esi", std::optional<Evpn::Esid>()},
    };
    return all;
}

std::optional<Literal> integer(std::string_view word) {
    bool const negative = word.starts_with('-');
    auto const magnitude = parseDecimal(word.substr(negative ? 1 : 0), ~U64{0});
    return magnitude ? std::optional<Literal>(Integer{*magnitude, negative}) : std::nullopt;
}

/// Names as they are registered, lower case and joined by "-".
bool isRegisteredSpelling(std::string_view word) {
    return std::ranges::all_of(word, [](char c) { return (c >= 'a' && c <= 'z') || c == '-'; });
}

std::optional<Literal> standardCommunity(std::string_view word) {
    if (!isRegisteredSpelling(word) && std::ranges::count(word, ':') != 1) {
        return std::nullopt;
    }
    auto const value = parseStandardCommunity(word);
    return value ? std::optional<Literal>(Integer{*value, false}) : std::nullopt;
}

struct Unit {
    std::string_view name;
    double factor;
};
constexpr Unit units[] = {{"Tbps", 1e12}, {"Gbps", 1e9}, {"Mbps", 1e6}, {"Kbps", 1e3}, {"bps", 1}};

// The nearest float of the whole: "10Gbps" is rounded once.
std::optional<Literal> bandwidth(std::string_view word) {
    auto const * const unit =
        std::ranges::find_if(units, [&](Unit const & each) { return word.ends_with(each.name); });
    bool const hasUnit = unit != std::end(units);
    std::string_view const number = word.substr(0, word.size() - (hasUnit ? unit->name.size() : 0));
    bool const isFloat = number.find_first_of(".eE") != std::string_view::npos;
    bool const startsNumber = !number.empty() && isDigit(number[number[0] == '-' ? 1 : 0]);
    if ((!hasUnit && !isFloat) || !startsNumber) {
        return std::nullopt;
    }
    double value = 0;
    auto const [end, error] = std::from_chars(number.begin(), number.end(), value);
    auto const narrow = static_cast<F32>(value * (hasUnit ? unit->factor : 1));
    bool const isNumber = error == std::errc() && end == number.end() && std::isfinite(narrow);
    return isNumber ? std::optional<Literal>(narrow) : std::nullopt;
}

bool hasCommunityShape(std::string_view word) {
    return word.starts_with("0x") || word.starts_with("rt:") || word.starts_with("soo:") ||
           word.starts_with("lbw:") || std::ranges::count(word, ':') == 2;
}

std::optional<Literal> communityValue(std::string_view word) {
    auto const value = hasCommunityShape(word) ? parseCommunityValue(word) : std::nullopt;
    return value ? std::optional<Literal>(*value) : std::nullopt;
}

template <typename Value>
std::optional<Literal> parsed(std::string_view word) {
    auto const value = Value::parse(word);
    return value ? std::optional<Literal>(*value) : std::nullopt;
}

std::optional<Literal> esi(std::string_view word) {
    auto const value = Evpn::Esid::parse(word);
    return value ? std::optional<Literal>(std::in_place,
                                          std::in_place_type<std::optional<Evpn::Esid>>, *value)
                 : std::nullopt;
}

std::optional<Literal> constant(std::string_view word) {
    for (Constant const & each : constants()) {
        if (each.word == word) {
            return each.value;
        }
    }
    return std::nullopt;
}

constexpr std::optional<Literal> (*readers[])(std::string_view) = {
    integer,   standardCommunity, constant, parsed<IpGenPrefix>, communityValue, parsed<IpGenAddr>,
    bandwidth, parsed<EthAddr>,   esi};

/// The parts between colons are all digits.
bool isColonNumbers(std::string_view word) {
    for (;;) {
        std::size_t const colon = word.find(':');
        if (!isDigits(word.substr(0, colon))) {
            return false;
        }
        if (colon == std::string_view::npos) {
            return true;
        }
        word.remove_prefix(colon + 1);
    }
}

} // namespace

std::optional<Literal> parseLiteral(std::string_view word) {
    for (auto const read : readers) {
        if (auto const literal = read(word)) {
            return literal;
        }
    }
    return std::nullopt;
}

String whyNoLiteral(std::string_view word) {
    auto const colons = std::ranges::count(word, ':');
    if (isDigits(word)) {
        return "a number is at most 18446744073709551615";
    }
    if (isColonNumbers(word) && colons == 1) {
        return "a half of a community is at most 65535; parts of a large one (A:B:C) may be "
               "4294967295";
    }
    if (isColonNumbers(word) && colons == 2) {
        return "a part of a large community is at most 4294967295";
    }
    auto const prefix = IpGenPrefix::parse(word, HostBits::mask);
    if (prefix && prefix->toString() != word) {
        return "a prefix has no bits set behind its length; '" + prefix->toString() + "' is meant?";
    }
    if (word.starts_with("0x")) {
        return "numbers are decimal; an extended community is 0x and 16 hexadecimal digits";
    }
    if (word.starts_with("rt:") || word.starts_with("soo:") || word.starts_with("lbw:")) {
        return "an extended community is rt:, soo: or lbw: with ASN:NUMBER or ADDRESS:NUMBER";
    }
    bool const isAddressLike =
        word.find_first_not_of("0123456789abcdefABCDEF.:/") == std::string_view::npos &&
        word.find_first_of(":./") != std::string_view::npos;
    return isAddressLike ? "it is no address, prefix or community" : "";
}

Eval::NodeKind kindOf(Literal const & literal) {
    using enum Eval::NodeKind;
    constexpr Eval::NodeKind kinds[] = {int_,     bandwidth, triStateBool, communityValue,
                                        ipPrefix, ipAddress, macAddress,   esi};
    static_assert(std::size(kinds) == std::variant_size_v<Literal>);
    return kinds[literal.index()];
}

namespace {

struct Words {
    String operator()(Integer const & value) const {
        return (value.negative ? "-" : "") + std::to_string(value.magnitude);
    }
    // The shortest digits that read back; a dot or an exponent says that it is no integer.
    String operator()(F32 value) const {
        char digits[64];
        auto const end = std::to_chars(std::begin(digits), std::end(digits), value).ptr;
        String word(std::begin(digits), end);
        return word.find_first_of(".e") == String::npos ? word + ".0" : word;
    }
    String operator()(Eval::TriStateBoolValue value) const { return Eval::toString(value); }
    String operator()(Acl::CommunityValue const & value) const { return communityValueText(value); }
    String operator()(IpGenPrefix const & value) const {
        String const word = value.toString();
        return word.empty() ? "no_prefix" : word;
    }
    String operator()(IpGenAddr const & value) const {
        String const word = value.toString();
        return word.empty() ? "no_address" : word;
    }
    String operator()(EthAddr const & value) const { return value.toString(); }
    String operator()(std::optional<Evpn::Esid> const & value) const {
        return value ? value->toString() : "no_esi";
    }
};

} // namespace

String toWord(Literal const & literal) { return std::visit(Words(), literal); }

String communityWord(U64 value) {
    std::string_view const name = wellKnownCommunityName(value);
    return name.empty() ? standardCommunityText(value) : String(name);
}

} // namespace Qcf::Text
