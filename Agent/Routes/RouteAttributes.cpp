#include "Agent/Routes/RouteAttributes.h"

#include "QcfLib/NodeClass.h"

#include <unordered_map>
#include <vector>

/// What an attribute of a route may be, from the declarations in the registry where those have it:
/// readers then refuse what the engine would assert.
namespace Qcf::Agent {

namespace {

RouteAttribute makeRouteAttribute(char const * name) {
    RouteAttribute attribute;
    attribute.name = name;
    // The C++ type does not tell: tags and standard communities share one.
    attribute.form = setFormOf(name);
    // Counts where the declaration has no limits.
    if (attribute.name == "isis.levels") {
        attribute.least = 1;
        attribute.most = 2;
    }
    if (Eval::NodeClass const * const node = Eval::findAttribute(name)) {
        attribute.least = node->attribute->min.value_or(attribute.least);
        attribute.most = node->attribute->max.value_or(attribute.most);
        // A default may lie outside the limits and is allowed all the same.
        attribute.also = node->attribute->defaultValue;
    }
    return attribute;
}

} // namespace

SetForm setFormOf(std::string_view languageName) {
    if (languageName == "community") {
        return SetForm::standardCommunities;
    }
    if (languageName == "large_community") {
        return SetForm::largeCommunities;
    }
    return languageName == "ext_community" ? SetForm::extCommunities : SetForm::numbers;
}

std::span<RouteAttribute const> routeAttributes() {
    static std::vector<RouteAttribute> const attributes = [] {
        std::vector<RouteAttribute> made;
        for (char const * const name : routeAttributeNames()) {
            made.push_back(makeRouteAttribute(name));
        }
        return made;
    }();
    return attributes;
}

std::optional<std::size_t> findRouteAttribute(std::string_view languageName) {
    // Readers ask once a member of every line.
    static std::unordered_map<std::string_view, std::size_t> const byName = [] {
        std::unordered_map<std::string_view, std::size_t> made;
        for (RouteAttribute const & attribute : routeAttributes()) {
            made.emplace(attribute.name, made.size());
        }
        return made;
    }();
    auto const found = byName.find(languageName);
    return found == byName.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::size_t> findRouteSource(std::string_view languageName) {
    bool const isTwin = languageName.starts_with(inputTwinPrefix);
    languageName.remove_prefix(isTwin ? inputTwinPrefix.size() : 0);
    while (!languageName.empty()) {
        if (auto const index = findRouteAttribute(languageName)) {
            return index;
        }
        auto const dot = languageName.rfind('.');
        languageName = languageName.substr(0, dot == std::string_view::npos ? 0 : dot);
    }
    return std::nullopt;
}

} // namespace Qcf::Agent
