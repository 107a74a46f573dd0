#include "Text/RouteParser.h"

#include "QcfLib/QcfEval.h"
#include "Text/OperatorTable.h"

#include <algorithm>
#include <set>

namespace Qcf::Text {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

/// Members of "session", each with what stands behind it.
struct SessionKey {
    std::string_view name;
    bool isNumber; ///< else true or false
};
constexpr SessionKey sessionKeys[] = {
    {"outbound", false}, {"local_as", true}, {"peer_confed", false}, {"vrf_id", true}};
constexpr std::string_view session = "session";

/// A text in JSON, quotes around it.
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

class RouteReader {
public:
    RouteReader(Cursor & cursor, Scope const & scope) : cursor_(cursor), scope_(scope) {}

    String members() {
        cursor_.expect("{", "behind 'route'");
        String json = "{";
        while (!cursor_.is("}")) {
            json += json.size() > 1 ? ", " : "";
            json += member();
            cursor_.accept(";");
        }
        cursor_.take();
        return json + '}';
    }

private:
    String member() {
        if (!cursor_.isWord()) {
            cursor_.failWanted("a key of a route, such as 'prefix'");
        }
        String const key(cursor_.text());
        NodeClass const * const attribute = findAttribute(key);
        bool const isKnown = key == session || (attribute != nullptr && isRouteKey(*attribute));
        if (!isKnown) {
            failKey(key, attribute);
        }
        if (!keys_.insert(key).second) {
            cursor_.fail(cursor_.here(), "route-key", "the key '" + key + "' stands here twice");
        }
        cursor_.take();
        return jsonText(key) + ": " + (key == session ? sessionMembers() : value(*attribute));
    }

    [[noreturn]] void failKey(String const & key, NodeClass const * attribute) {
        if (attribute != nullptr) {
            cursor_.fail(cursor_.here(), "route-key",
                         "'" + key + "' is computed from the route; it is not given");
        }
        auto known = routeKeys();
        known.push_back(session);
        cursor_.fail(cursor_.here(), "route-key", "no route has a '" + key + "'",
                     suggestedKey(key, known));
    }

    String suggestedKey(String const & key, std::vector<std::string_view> const & known) const {
        String const foreign = suggestName(key, scope_);
        bool const isKey = std::ranges::find(known, foreign) != known.end();
        return isKey ? foreign : nearest(key, known);
    }

    String sessionMembers() {
        cursor_.expect("{", "behind 'session'");
        String json = "{";
        while (!cursor_.is("}")) {
            auto const * const key = std::ranges::find_if(
                sessionKeys, [&](SessionKey const & each) { return cursor_.is(each.name); });
            if (key == std::end(sessionKeys)) {
                std::vector<std::string_view> names;
                for (SessionKey const & each : sessionKeys) {
                    names.push_back(each.name);
                }
                cursor_.fail(cursor_.here(), "route-key", "a session has no " + cursor_.found(),
                             nearest(cursor_.text(), names));
            }
            cursor_.take();
            json += json.size() > 1 ? ", " : "";
            json += jsonText(key->name) + ": " + (key->isNumber ? number() : truth());
            cursor_.accept(";");
        }
        cursor_.take();
        return json + '}';
    }

    std::optional<Literal> literal() const {
        if (!cursor_.isWord()) {
            return std::nullopt;
        }
        if (Constant const * const constant = scope_.findConstant(cursor_.text())) {
            constant->isUsed = true;
            return constant->isSet ? std::nullopt : std::optional(constant->items.front().low);
        }
        return parseLiteral(cursor_.text());
    }

    template <typename T>
    T const & wanted(std::optional<Literal> const & found, char const * what) {
        T const * const value = found ? std::get_if<T>(&*found) : nullptr;
        if (value == nullptr) {
            cursor_.failWanted(what);
        }
        return *value;
    }

    String number() {
        auto const found = literal();
        auto const & value = wanted<Integer>(found, "a number");
        if (value.negative) {
            cursor_.failWanted("a number that is not negative");
        }
        String const text = std::to_string(value.magnitude);
        cursor_.take();
        return text;
    }

    String truth() {
        if (!cursor_.is("true") && !cursor_.is("false")) {
            cursor_.failWanted("true or false");
        }
        return String(cursor_.text(cursor_.take()));
    }

    /// The literal of that type, as a text.
    template <typename T>
    String textOf(char const * what) {
        auto const found = literal();
        wanted<T>(found, what);
        String const text = toWord(*found);
        cursor_.take();
        return jsonText(text.starts_with("no_") ? "" : text);
    }

    String value(NodeClass const & attribute) {
        if (attribute.isKind(NodeKind::int_)) {
            return integer(attribute);
        }
        if (attribute.isKind(NodeKind::intSet) || attribute.isKind(NodeKind::communitySet)) {
            return set(attribute);
        }
        if (attribute.isKind(NodeKind::asPath) || attribute.isKind(NodeKind::interface)) {
            if (!cursor_.isString()) {
                cursor_.failWanted(attribute.isKind(NodeKind::asPath)
                                       ? "the path in quotes, such as \"65001 65002\""
                                       : "the interface in quotes");
            }
            return jsonText(unquoted(cursor_.text(cursor_.take())));
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

    String rareValue(NodeClass const & attribute) {
        if (attribute.isKind(NodeKind::esi)) {
            auto const found = literal();
            auto const & esi = wanted<std::optional<Evpn::Esid>>(found, "ten octets, or no_esi");
            String const json = esi ? jsonText(esi->toString()) : "null";
            cursor_.take();
            return json;
        }
        if (attribute.isKind(NodeKind::triStateBool)) {
            auto const found = literal();
            auto const truthValue = wanted<TriStateBoolValue>(found, "true, false or unknown");
            cursor_.take();
            return truthValue == TriStateBoolValue::unknown ? jsonText(toString(truthValue))
                                                            : String(toString(truthValue));
        }
        if (attribute.isKind(NodeKind::bandwidth)) {
            auto const found = literal();
            wanted<F32>(found, "a bandwidth, such as 10Gbps");
            cursor_.take();
            return toWord(*found);
        }
        if (attribute.isKind(NodeKind::communityValue)) {
            return community();
        }
        return ribs();
    }

    String integer(NodeClass const & attribute) {
        auto const names = attribute.attribute->valueNames;
        auto const named = std::ranges::find(names, cursor_.text());
        if (cursor_.isWord() && named != names.end()) {
            cursor_.take();
            return std::to_string(named - names.begin());
        }
        return number();
    }

    // As it is written: the same number can be an extended community and a large one.
    String community() {
        auto const found = literal();
        wanted<Acl::CommunityValue>(found, "a community, such as 65000:1:2 or rt:65000:1");
        bool const isWritten = parseLiteral(cursor_.text()).has_value();
        String const text = isWritten ? String(cursor_.text()) : toWord(*found);
        cursor_.take();
        return jsonText(text);
    }

    String set(NodeClass const & attribute) {
        Constant const * const constant =
            cursor_.isWord() ? scope_.findConstant(cursor_.text()) : nullptr;
        if (constant != nullptr && constant->isSet) {
            return '[' + constantMembers(attribute, *constant) + ']';
        }
        cursor_.expect("{", "before the set's elements");
        String json = "[";
        while (!cursor_.is("}")) {
            json += json.size() > 1 ? ", " : "";
            Constant const * const inner =
                cursor_.isWord() ? scope_.findConstant(cursor_.text()) : nullptr;
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

    String standardMember(NodeClass const & attribute) {
        auto const found = literal();
        auto const & value = wanted<Integer>(
            found, attribute.attribute->lists ? "a community, such as 65000:1" : "a number");
        String const text = std::to_string(value.magnitude);
        bool const isCommunity = attribute.attribute->lists.has_value();
        if (value.negative || (isCommunity && value.magnitude > 0xFFFFFFFF)) {
            cursor_.failWanted("a community of 32 bits");
        }
        cursor_.take();
        return text;
    }

    String constantMembers(NodeClass const & attribute, Constant const & constant) {
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
    String ribs() {
        cursor_.expect("ribs");
        cursor_.expect("[", "behind 'ribs'");
        String entries;
        bool useDefault = false;
        while (!cursor_.accept("]")) {
            if (cursor_.accept("use_default")) {
                useDefault = true;
            } else {
                std::string_view const text = cursor_.text();
                std::size_t const colon = text.rfind(':');
                auto const kind = colon == std::string_view::npos
                                      ? std::nullopt
                                      : parseLiteral(text.substr(colon + 1));
                if (!kind || !std::holds_alternative<Integer>(*kind)) {
                    cursor_.failWanted("a RIB as NAME:KIND, or 'use_default'");
                }
                entries += entries.empty() ? "" : ", ";
                entries += "{\"name\": " + jsonText(text.substr(0, colon)) +
                           ", \"kind\": " + toWord(*kind) + '}';
                cursor_.take();
            }
            if (!cursor_.accept(",") && !cursor_.is("]")) {
                cursor_.failWanted("',' or ']'");
            }
        }
        return "{\"entries\": [" + entries +
               "], \"useDefault\": " + (useDefault ? "true" : "false") + '}';
    }

    Cursor & cursor_;
    Scope const & scope_;
    std::set<String, std::less<>> keys_;
};

} // namespace

// What is computed shares the flag of the attribute that it is computed from, and the route as it
// came that of the attribute.
bool isRouteKey(NodeClass const & attribute) {
    AttributeInfo const & info = *attribute.attribute;
    String flag = info.languageName;
    std::ranges::replace(flag, '.', '_');
    return info.readBit < 0 || flag == AttributeSet::nameOf(static_cast<std::size_t>(info.readBit));
}

std::vector<std::string_view> routeKeys() {
    std::vector<std::string_view> keys;
    for (NodeClass const & each : nodeClasses()) {
        if (each.attribute != nullptr && isRouteKey(each)) {
            keys.emplace_back(each.attribute->languageName);
        }
    }
    return keys;
}

RouteDeclaration readRoute(Cursor & cursor, Scope const & scope) {
    Token const first = cursor.now();
    RouteDeclaration route;
    if (cursor.accept("from")) {
        if (!cursor.isString()) {
            cursor.failWanted("the file of routes in quotes");
        }
        route.file = unquoted(cursor.text(cursor.take()));
        auto const literal = cursor.isWord() ? parseLiteral(cursor.text()) : std::nullopt;
        auto const * const number = literal ? std::get_if<Integer>(&*literal) : nullptr;
        if (number == nullptr || number->negative) {
            cursor.failWanted("the number of the route, from 0 on");
        }
        route.number = number->magnitude;
        cursor.take();
    } else {
        route.json = RouteReader(cursor, scope).members();
    }
    route.span = cursor.since(first);
    return route;
}

} // namespace Qcf::Text
