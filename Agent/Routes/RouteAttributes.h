#pragma once

#include "Agent/Routes/Route.h"

#include <string_view>

namespace Qcf::Agent {

/// How the elements of a set are written as text; other values have one form only. Sets of one C++
/// type have different forms: tags and standard communities are both sets of numbers.
enum class SetForm : U8 {
    numbers,
    standardCommunities, ///< `A:B`
    extCommunities,      ///< `0x` and 16 digits
    largeCommunities,    ///< `A:B:C`
};

/// The form of the attribute of that language name; numbers for one that is not known.
SetForm setFormOf(std::string_view languageName);

/// What a value of an attribute of a route may be: what readers check, since the engine asserts it.
/// Limits are inclusive; types that are no numbers have none.
struct RouteAttribute {
    std::string_view name; ///< the language name
    SetForm form = SetForm::numbers;
    U64 least = 0; ///< of numbers and of the elements of number sets
    U64 most = ~U64{0};
    std::optional<U64> also; ///< a number outside these limits that is allowed as well
};

/// One record an attribute, by the index of routeAttributeNames(). The limits are those that the
/// engine asserts: a value beyond them must never get into a route. The same object for all
/// threads. Made at the first call.
///
///     if (auto const index = findRouteAttribute("med")) {
///         bool const fits = value <= routeAttributes()[*index].most;
///     }
std::span<RouteAttribute const> routeAttributes();

/// The index of an attribute; nothing when a route has none of that name. Costs one look-up by
/// hash.
std::optional<std::size_t> findRouteAttribute(std::string_view languageName);

/// What the names of attributes as they came begin with.
inline constexpr std::string_view inputTwinPrefix = "input.";

/// The index of the attribute that functions read under that name: the attribute itself, that which
/// it is the input twin of, or that from which it is derived, whose name its own begins with.
std::optional<std::size_t> findRouteSource(std::string_view languageName);

} // namespace Qcf::Agent
