#pragma once

#include "Platform/Framework/Types.h"

#include <memory>
#include <stdexcept>
#include <string_view>

namespace re2 {
class RE2;
}

namespace Qcf::Lists {

/// A text that is no regular expression, or one too large to be kept; `what()` says why, without
/// naming the text, which its reader adds with the place.
class PatternError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A regular expression that is searched for in texts of a route.
///
///     Pattern const pattern(asPathExpression("^65001_"));
///     pattern.foundIn("65001 65002"); // true
///
/// Searching takes time linear in the text whatever the expression, and memory that is bounded
/// however hostile it is; back references and look-around are therefore no part of it. Any number
/// of threads may search at once. Copies share what was compiled; what was moved from may only be
/// assigned or destroyed.
class Pattern {
public:
    /// Throws PatternError for an expression that cannot be read or is too large. The syntax is
    /// that of RE2.
    explicit Pattern(std::string_view expression);

    /// Whether the expression matches anywhere in the text.
    bool foundIn(std::string_view text) const;

private:
    std::shared_ptr<re2::RE2 const> compiled_;
};

/// The regular expression for an expression about AS paths, in which `_` stands for the start, the
/// end, a blank or one of {}(), : in a bracketed class for those characters alone. An escaped `\_`
/// stays as it is. Nothing else is changed: what is no expression is found out by Pattern.
String asPathExpression(std::string_view expression);

} // namespace Qcf::Lists
