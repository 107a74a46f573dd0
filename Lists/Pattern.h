#pragma once

#include "Platform/Framework/Types.h"

#include <memory>
#include <stdexcept>
#include <string_view>
#include <vector>

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
    friend class PatternSet;

    std::shared_ptr<re2::RE2 const> compiled_;
};

/// Several patterns that are asked at a time, whether any of them is found: one search through the
/// text instead of one for each.
///
///     PatternSet const set(std::vector<Pattern>{first, second});
///     set.anyFoundIn("65001 65002"); // first.foundIn(...) || second.foundIn(...)
///
/// Which are searched for at a time is decided when it is made, by what they say: those that one
/// search could not remember side by side, and what is more than it should, stay searches of their
/// own.
/// As a pattern it is asked by any number of threads at once.
class PatternSet {
public:
    /// Nothing is found of no pattern. Takes time to compile what is joined; never fails, since the
    /// patterns are good each by itself and asked so where they cannot be joined.
    explicit PatternSet(std::vector<Pattern> const & patterns);

    bool anyFoundIn(std::string_view text) const;

private:
    /// Those that could be joined as one; ready to be searched for one after the other.
    std::vector<Pattern> searches_;
};

/// The regular expression for an expression about AS paths, in which `_` stands for the start, the
/// end, a blank or one of {}(), : in a bracketed class for those characters alone. An escaped `\_`
/// stays as it is. Nothing else is changed: what is no expression is found out by Pattern.
String asPathExpression(std::string_view expression);

} // namespace Qcf::Lists
