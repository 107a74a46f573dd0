#include "Text/RouteValues.h"

#include "Platform/Routing/AsPath.h"
#include "QcfLib/QcfEval.h"

#include <algorithm>

namespace Qcf::Text {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

String jsonText(std::string_view text) {
    constexpr std::string_view digits = "0123456789abcdef";
    String json = "\"";
    for (char const c : text) {
        auto const byte = static_cast<unsigned char>(c);
        if (byte < 0x20) {
            json += "\\u00";
            json += digits[byte >> 4];
            json += digits[byte & 15];
            continue;
        }
        json += c == '"' || c == '\\' ? "\\" : "";
        json += c;
    }
    return json + '"';
}

std::optional<Literal> RouteValues::literal() const {
    if (Constant const * const constant = scope_.constantAt(cursor_)) {
        constant->isUsed = true;
        return constant->isSet ? std::nullopt : std::optional(constant->items.front().low);
    }
    return cursor_.isWord() ? parseLiteral(cursor_.text()) : std::nullopt;
}

template <typename T>
T const & RouteValues::wanted(std::optional<Literal> const & found, char const * what) {
    T const * const value = found ? std::get_if<T>(&*found) : nullptr;
    if (value == nullptr) {
        cursor_.failWanted(what);
    }
    return *value;
}

String RouteValues::number() {
    auto const found = literal();
    auto const & value = wanted<Integer>(found, "a number");
    if (value.negative) {
        cursor_.failWanted("a number that is not negative");
    }
    String text = std::to_string(value.magnitude);
    cursor_.take();
    return text;
}

String RouteValues::truth() {
    if (!cursor_.is("true") && !cursor_.is("false")) {
        cursor_.failWanted("true or false");
    }
    return String(cursor_.text(cursor_.take()));
}

/// The literal of that type, as a text.
template <typename T>
String RouteValues::textOf(char const * what) {
    auto const found = literal();
    wanted<T>(found, what);
    String const text = toWord(*found);
    cursor_.take();
    return jsonText(text.starts_with("no_") ? "" : text);
}

String RouteValues::value(NodeClass const & attribute) {
    if (attribute.isKind(NodeKind::int_)) {
        return integer(attribute);
    }
    if (attribute.isKind(NodeKind::intSet) || attribute.isKind(NodeKind::communitySet)) {
        return set(attribute);
    }
    if (attribute.isKind(NodeKind::asPath) || attribute.isKind(NodeKind::interface)) {
        return text(attribute);
    }
    if (attribute.isKind(NodeKind::ipAddress)) {
        return textOf<IpGenAddr>("an address");
    }
    if (attribute.isKind(NodeKind::ipPrefix)) {
        return textOf<IpGenPrefix>("a prefix");
    }
    if (attribute.isKind(NodeKind::macAddress)) {
        return textOf<EthAddr>("a MAC address");
    }
    return rareValue(attribute);
}

String RouteValues::text(NodeClass const & attribute) {
    bool const isPath = attribute.isKind(NodeKind::asPath);
    String const content = cursor_.isString() ? unquoted(cursor_.text()) : String();
    bool const isWell = cursor_.isString() && (!isPath || Routing::Bgp::parseAsPath(content));
    if (!isWell) {
        cursor_.failWanted(isPath ? "the path in quotes, such as \"65001 65002\""
                                  : "the interface in quotes");
    }
    cursor_.take();
    return jsonText(content);
}

String RouteValues::rareValue(NodeClass const & attribute) {
    if (attribute.isKind(NodeKind::esi)) {
        return esi();
    }
    if (attribute.isKind(NodeKind::triStateBool)) {
        return triState();
    }
    if (attribute.isKind(NodeKind::bandwidth)) {
        return bandwidth();
    }
    return attribute.isKind(NodeKind::communityValue) ? community() : ribs();
}

String RouteValues::esi() {
    auto const found = literal();
    auto const & value = wanted<std::optional<Evpn::Esid>>(found, "ten octets, or no_esi");
    cursor_.take();
    return value ? jsonText(value->toString()) : "null";
}

String RouteValues::triState() {
    auto const found = literal();
    auto const value = wanted<TriStateBoolValue>(found, "true, false or unknown");
    cursor_.take();
    return value == TriStateBoolValue::unknown ? jsonText(toString(value))
                                               : String(toString(value));
}

String RouteValues::bandwidth() {
    auto const found = literal();
    wanted<F32>(found, "a bandwidth, such as 10Gbps");
    cursor_.take();
    return toWord(*found);
}

String RouteValues::integer(NodeClass const & attribute) {
    auto const names = attribute.attribute->valueNames;
    if (auto const named = std::ranges::find(names, cursor_.text()); named != names.end()) {
        cursor_.take();
        return std::to_string(named - names.begin());
    }
    return number();
}

// As it is written: the same number can be an extended community and a large one.
String RouteValues::community() {
    auto const found = literal();
    wanted<Acl::CommunityValue>(found, "a community, such as 65000:1:2 or rt:65000:1");
    bool const isWritten = parseLiteral(cursor_.text()).has_value();
    String const text = isWritten ? String(cursor_.text()) : toWord(*found);
    cursor_.take();
    return jsonText(text);
}

String RouteValues::set(NodeClass const & attribute) {
    Constant const * const constant = scope_.constantAt(cursor_);
    if (constant != nullptr && constant->isSet) {
        return '[' + constantMembers(attribute, *constant) + ']';
    }
    cursor_.expect("{", "before the set's elements");
    String json = "[";
    while (!cursor_.is("}")) {
        json += json.size() > 1 ? ", " : "";
        Constant const * const inner = scope_.constantAt(cursor_);
        json += inner != nullptr && inner->isSet           ? constantMembers(attribute, *inner)
                : attribute.isKind(NodeKind::communitySet) ? community()
                                                           : standardMember(attribute);
        if (!cursor_.accept(",") && !cursor_.is("}")) {
            cursor_.failWanted("',' or '}'");
        }
    }
    cursor_.take();
    return json + ']';
}

String RouteValues::standardMember(NodeClass const & attribute) {
    auto const found = literal();
    auto const & value = wanted<Integer>(
        found, attribute.attribute->lists ? "a community, such as 65000:1" : "a number");
    String text = std::to_string(value.magnitude);
    bool const isCommunity = attribute.attribute->lists.has_value();
    if (value.negative || (isCommunity && value.magnitude > 0xFFFFFFFF)) {
        cursor_.failWanted("a community of 32 bits");
    }
    cursor_.take();
    return text;
}

String RouteValues::constantMembers(NodeClass const & attribute, Constant const & constant) {
    bool const ofCommunities = attribute.isKind(NodeKind::communitySet);
    constant.isUsed = true;
    String json;
    for (ConstantItem const & item : constant.items) {
        bool const isCommunity = std::holds_alternative<Acl::CommunityValue>(item.low);
        if (item.high || isCommunity != ofCommunities) {
            cursor_.fail(cursor_.here(), "type",
                         "the constant '" + constant.name + "' is no set of that type");
        }
        json += json.empty() ? "" : ", ";
        json += ofCommunities ? jsonText(toWord(item.low)) : toWord(item.low);
    }
    cursor_.take();
    return json;
}

// `ribs [ system-connected:2, use_default ]`
String RouteValues::ribs() {
    cursor_.expect("ribs");
    cursor_.expect("[", "behind 'ribs'");
    String entries;
    bool useDefault = false;
    while (!cursor_.accept("]")) {
        if (cursor_.accept("use_default")) {
            useDefault = true;
        } else {
            entries += (entries.empty() ? "" : ", ") + rib();
        }
        if (!cursor_.accept(",") && !cursor_.is("]")) {
            cursor_.failWanted("',' or ']'");
        }
    }
    return "{\"entries\": [" + entries + "], \"useDefault\": " + (useDefault ? "true" : "false") +
           '}';
}

String RouteValues::rib() {
    std::string_view const text = cursor_.text();
    std::size_t const colon = text.rfind(':');
    auto const kind =
        colon == std::string_view::npos ? std::nullopt : parseLiteral(text.substr(colon + 1));
    if (!kind || !std::holds_alternative<Integer>(*kind)) {
        cursor_.failWanted("a RIB as NAME:KIND, or 'use_default'");
    }
    cursor_.take();
    return "{\"name\": " + jsonText(text.substr(0, colon)) + ", \"kind\": " + toWord(*kind) + '}';
}

} // namespace Qcf::Text
