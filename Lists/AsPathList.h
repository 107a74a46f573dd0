#pragma once

#include "Lists/ListAction.h"
#include "Lists/Pattern.h"
#include "Platform/Routing/RouteMap.h"

#include <optional>
#include <vector>

namespace Qcf::Lists {

/// An AS-path access list: entries in their order, the first that matches decides, none matching is
/// false. Immutable once made.
class AsPathList final : public Routing::RouteMap::AsPathListStatus {
public:
    struct Entry {
        ListAction action = ListAction::permit;
        Pattern pattern;           ///< made from what `asPathExpression` returns
        std::optional<U64> origin; ///< matches only routes of that BGP origin; any where absent
    };

    explicit AsPathList(std::vector<Entry> entries) : entries_(std::move(entries)) {}

    /// `pathText` is the path as patterns see it, `origin` the route's as it came.
    bool permits(std::string_view pathText, U64 origin) const {
        for (Entry const & entry : entries_) {
            bool const comparable = !entry.origin || *entry.origin == origin;
            if (comparable && entry.pattern.foundIn(pathText)) {
                return entry.action == ListAction::permit;
            }
        }
        return false;
    }

    bool empty() const { return entries_.empty(); }

private:
    std::vector<Entry> entries_;
};

} // namespace Qcf::Lists
