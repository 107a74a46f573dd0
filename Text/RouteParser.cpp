#include "Text/RouteParser.h"

#include "QcfLib/QcfEval.h"
#include "Text/RouteValues.h"

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

class RouteReader {
public:
    RouteReader(Cursor & cursor, Scope const & scope) : cursor_(cursor), values_(cursor, scope) {}

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
        takeKey();
        return jsonText(key) + ": " +
               (key == session ? sessionMembers() : values_.value(*attribute));
    }

    void takeKey() {
        cursor_.take();
        if (cursor_.is("=") || cursor_.is(":")) {
            refuseSign(String(cursor_.text()));
        }
    }

    [[noreturn]] void failKey(String const & key, NodeClass const * attribute) {
        constexpr std::string_view input = "input.";
        if (attribute != nullptr && key.starts_with(input)) {
            cursor_.fail(cursor_.here(), "route-key",
                         "'" + key + "' is what came, which a route gives without 'input.'",
                         key.substr(input.size()));
        }
        if (attribute != nullptr) {
            cursor_.fail(cursor_.here(), "route-key",
                         "'" + key + "' is computed from the route; it is not given");
        }
        NodeClass const * const clinging = findAttribute(key.substr(0, key.find(':')));
        if (clinging != nullptr && isRouteKey(*clinging)) {
            refuseSign(":");
        }
        auto known = routeKeys();
        known.push_back(session);
        cursor_.fail(cursor_.here(), "route-key", "no route has a '" + key + "'",
                     suggestedKey(key, known));
    }

    String suggestedKey(String const & key, std::vector<std::string_view> const & known) const {
        String const foreign = suggestName(key);
        bool const isKey = std::ranges::find(known, foreign) != known.end();
        return isKey ? foreign : nearest(key, known);
    }

    String sessionMembers() {
        cursor_.expect("{", "behind 'session'");
        String json = "{";
        while (!cursor_.is("}")) {
            SessionKey const & key = sessionKey();
            json += json.size() > 1 ? ", " : "";
            json += jsonText(key.name) + ": " + (key.isNumber ? values_.number() : values_.truth());
            cursor_.accept(";");
        }
        cursor_.take();
        return json + '}';
    }

    SessionKey const & sessionKey() {
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
        takeKey();
        return *key;
    }

    // `med = 5` and `med: 5`; a colon may cling to the key.
    void refuseSign(String const & sign) {
        cursor_.fail(cursor_.here(), "route-key",
                     "a key and its value stand side by side, without '" + sign + "'");
    }

    Cursor & cursor_;
    RouteValues values_;
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
