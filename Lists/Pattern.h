#pragma once

#include "Platform/Framework/Types.h"

#include <memory>
#include <stdexcept>
#include <string_view>

namespace re2 {
class RE2;
}

namespace Qcf::Lists {

/// A text that is no regular expression; `what()` says why, without naming the text.
class PatternError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A regular expression that is searched for in texts of a route. Searching takes time linear in
/// the text whatever the expression, and any number of threads may search at once.
class Pattern {
public:
    /// Throws PatternError for an expression that cannot be read or is too large.
    explicit Pattern(std::string_view expression);
    Pattern(Pattern &&) noexcept;
    Pattern & operator=(Pattern &&) noexcept;
    ~Pattern();

    /// Whether the expression matches anywhere in the text.
    bool foundIn(std::string_view text) const;

private:
    std::unique_ptr<re2::RE2> compiled_;
};

/// The regular expression for an expression about AS paths, in which `_` stands for the start, the
/// end, a blank or one of {}(), : in a bracketed class for those characters alone. An escaped `\_`
/// stays as it is.
String asPathExpression(std::string_view expression);

} // namespace Qcf::Lists
