#pragma once

#include "Questions/ChangeComparison.h"
#include "Questions/Divergence.h"

#include <map>

namespace Qcf::Questions {

/// A statement by which evaluations part, with its answer.
struct PartingStatement {
    Eval::Expression const * node = nullptr; ///< null where that side has no such statement
    Eval::Function const * within = nullptr;
    /// What the condition of an `if`, or what a `return`, `exit` or call answered; nothing of
    /// changes.
    std::optional<Eval::TriStateBoolValue> answer = {};

    static PartingStatement of(Watch::TraceNode const * node);
    auto operator<=>(PartingStatement const &) const = default;
};

/// One route that differs.
struct RouteDifference {
    OutcomeDifference outcome;
    PartingStatement older = {};
    PartingStatement newer = {};
    U64 route = 0; ///< position in the table, from 0
    IpGenPrefix prefix = {};
    IpGenAddr peer = {}; ///< zero where it is not known
};

/// Routes that differ in one way by the same statements.
struct DifferenceGroup {
    RouteDifference example; ///< the first of them
    /// In how many ways values differ, where it is too many to tell each; the example has one.
    bool isMixed = false;
    U64 count = 0;

    /// "accepted -> rejected", "med 5 -> 6", or "med" where they are mixed.
    String const & text() const;
};

/// Routes that differ, counted by what changed and by where evaluations part. What one thread has
/// counted is added to that of others; the sum does not depend on the order.
class DifferenceGroups {
public:
    /// Values that differ in more ways at the same statements are told as one group.
    static constexpr std::size_t mostWays = 12;

    void add(RouteDifference difference);
    void addSame() { ++same_; }
    void add(DifferenceGroups && other);
    void clear();

    U64 routes() const { return same_ + differing_; }
    U64 same() const { return same_; }
    U64 differing() const { return differing_; }
    /// Of those that differ: in their verdict.
    U64 verdicts() const { return verdicts_; }

    /// The largest first; of equal ones that whose example comes first.
    std::vector<DifferenceGroup> sorted() const;

private:
    struct Key {
        String kind;
        PartingStatement older;
        PartingStatement newer;
        auto operator<=>(Key const &) const = default;
    };
    /// By the values; one group for all once they are too many.
    using Ways = std::map<String, DifferenceGroup>;

    static void add(Ways & ways, String const & values, DifferenceGroup group);
    static void mix(Ways & ways);

    std::map<Key, Ways> groups_;
    U64 same_ = 0;
    U64 differing_ = 0;
    U64 verdicts_ = 0;
};

} // namespace Qcf::Questions
