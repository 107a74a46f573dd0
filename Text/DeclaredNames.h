#pragma once

#include "Platform/Framework/Types.h"

#include <set>
#include <string_view>
#include <utility>

namespace Qcf::Text {

/// The names that a text declares anywhere, also below the place at hand: for messages about names
/// that mean nothing where they stand.
///
///     DeclaredNames const declared(source.text());
///     if (declared.hasFunction("g")) ... // 'g' is a function: 'g()'
///
/// The text must outlive it. It is gone through when the first question is asked, which most texts
/// never are. Used by one thread at a time.
class DeclaredNames {
public:
    explicit DeclaredNames(std::string_view text) : text_(text) {}

    bool hasFunction(std::string_view name) const { return has("function", name); }
    bool hasConstant(std::string_view name) const { return has("const", name); }
    /// A list of whatever kind.
    bool hasList(std::string_view name) const { return has("list", name); }

private:
    bool has(std::string_view word, std::string_view name) const;
    void find() const;

    std::string_view text_;
    mutable bool isFound_ = false;
    /// Each with the word that its declaration begins with.
    mutable std::set<std::pair<std::string_view, String>> names_;
};

} // namespace Qcf::Text
