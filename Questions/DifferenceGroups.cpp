#include "Questions/DifferenceGroups.h"

#include <algorithm>

namespace Qcf::Questions {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

PartingStatement PartingStatement::of(Watch::TraceNode const * node) {
    if (node == nullptr) {
        return {};
    }
    PartingStatement statement{node->node, node->within, {}};
    bool const isBranch = is<IfExpression>(*node->node) && !node->children.empty();
    if (isBranch) {
        statement.answer = node->children.front()->result.retVal();
    } else if (!node->change) {
        statement.answer = node->result.retVal();
    }
    return statement;
}

String const & DifferenceGroup::text() const {
    bool const hasValues = !isMixed && !example.outcome.values.empty();
    return hasValues ? example.outcome.values : example.outcome.kind;
}

void DifferenceGroups::add(RouteDifference difference) {
    ++differing_;
    verdicts_ += difference.outcome.isVerdict ? 1 : 0;
    Key key{difference.outcome.kind, difference.older, difference.newer};
    String const values = difference.outcome.values;
    add(groups_[std::move(key)], values, {std::move(difference), false, 1});
}

void DifferenceGroups::add(DifferenceGroups && other) {
    same_ += other.same_;
    differing_ += other.differing_;
    verdicts_ += other.verdicts_;
    for (auto & [key, ways] : other.groups_) {
        Ways & own = groups_[key];
        for (auto & [values, group] : ways) {
            add(own, values, std::move(group));
        }
    }
    other.clear();
}

void DifferenceGroups::clear() {
    groups_.clear();
    same_ = differing_ = verdicts_ = 0;
}

// Whoever is mixed stays so: the sum has at least as many ways.
void DifferenceGroups::add(Ways & ways, String const & values, DifferenceGroup group) {
    bool const isMixed = group.isMixed || (!ways.empty() && ways.begin()->second.isMixed);
    DifferenceGroup & at = ways[values];
    if (at.count == 0 || group.example.route < at.example.route) {
        at.example = std::move(group.example);
    }
    at.count += group.count;
    if (isMixed || ways.size() > mostWays) {
        mix(ways);
    }
}

void DifferenceGroups::mix(Ways & ways) {
    DifferenceGroup all;
    for (auto & [values, group] : ways) {
        if (all.count == 0 || group.example.route < all.example.route) {
            all.example = std::move(group.example);
        }
        all.count += group.count;
    }
    all.isMixed = true;
    ways.clear();
    ways.emplace(String(), std::move(all));
}

std::vector<DifferenceGroup> DifferenceGroups::sorted() const {
    std::vector<DifferenceGroup> all;
    for (auto const & [key, ways] : groups_) {
        for (auto const & [values, group] : ways) {
            all.push_back(group);
        }
    }
    std::ranges::sort(all, [](DifferenceGroup const & a, DifferenceGroup const & b) {
        return a.count != b.count ? a.count > b.count : a.example.route < b.example.route;
    });
    return all;
}

} // namespace Qcf::Questions
