#pragma once

#include "Lists/ListAction.h"
#include "Lists/ListExplanation.h"
#include "Lists/ListNumber.h"
#include "Lists/Pattern.h"
#include "Platform/Routing/RouteMap.h"

#include <optional>
#include <vector>

namespace Qcf::Lists {

/// An AS-path access list: entries in their order, the first that matches decides, none matching is
/// false.
///
/// Patterns see a path as text, `65001 65002 {65003,65004}`: whoever asks makes that text once a
/// route (`Routing::Bgp::appendAsPathPatternText`) and asks all lists with it. A question costs
/// time linear in the text for each group of entries that it comes to: neighbours that say the same
/// are searched for at a time.
///
/// Immutable once made: any number of threads may ask. The engine holds it as the status of a slot,
/// which comes back to the agent's context with each question.
///
///     AsPathList const list({{ListAction::permit, Pattern(asPathExpression("_65001$")), {}}});
///     list.permits("65002 65001", 0); // true
class AsPathList final : public Routing::RouteMap::AsPathListStatus {
public:
    /// One line of the list. It matches where the pattern is found and the origin fits.
    struct Entry {
        /// What the list answers where this entry is the first that matches.
        ListAction action = ListAction::permit;
        Pattern pattern;           ///< made from what `asPathExpression` returns
        std::optional<U64> origin; ///< matches only routes of that BGP origin; any where absent
    };

    /// Takes the entries in the order in which they are tried; there may be none.
    explicit AsPathList(std::vector<Entry> entries);

    /// Whether the list permits a route with this path. `pathText` is the path as patterns see it,
    /// `origin` the BGP origin (0 IGP, 1 EGP, 2 incomplete) of the route as it came.
    bool permits(std::string_view pathText, U64 origin) const {
        for (Group const & group : groups_) {
            bool const comparable = !group.origin || *group.origin == origin;
            if (comparable && group.patterns.anyFoundIn(pathText)) {
                return group.action == ListAction::permit;
            }
        }
        return false;
    }

    /// The same answer with the entry that gives it.
    ListExplanation explain(std::string_view pathText, U64 origin) const;

    /// By which answers are remembered.
    U64 number() const { return number_.value(); }
    /// Whether there is no entry, so that every answer is no.
    bool empty() const { return entries_.empty(); }

private:
    /// Entries side by side of one action and one origin: whichever matches, the answer is the
    /// same.
    struct Group {
        ListAction action;
        std::optional<U64> origin;
        PatternSet patterns;
    };

    /// In the order in which they are tried; kept for who asks which of them decides.
    std::vector<Entry> entries_;
    std::vector<Group> groups_;
    ListNumber number_;
};

} // namespace Qcf::Lists
