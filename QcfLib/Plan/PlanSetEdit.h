#pragma once

#include "QcfLib/Plan/PlanStatements.h"
#include "QcfLib/Sets/SetAlgebra.h"

#include <optional>
#include <vector>

namespace Qcf::Eval {

/// A statement that adds a few constants to a set attribute, or removes them.
template <typename Set>
struct SetChange {
    Expression const * node;
    SetStorage<Set> const * target;
    Set const * constants;
    bool adds;
};

/// What the node changes; nothing when it is no such statement.
template <typename Set>
std::optional<SetChange<Set>> setChangeOf(Expression const & node);
template <>
std::optional<SetChange<U64SmallVector>> setChangeOf(Expression const & node);
template <>
std::optional<SetChange<CommunitySmallVector>> setChangeOf(Expression const & node);

/// One or more changes of one set attribute, made where the set stands and in one pass; where that
/// cannot be the nodes make them. Several changes are for sets without anything beside their
/// values.
template <typename Set>
class SetEditStep final : public PlanStatement {
public:
    using Value = typename Set::Value;

    SetEditStep(std::vector<SetChange<Set>> const & changes, PlanStep const * next)
        : PlanStatement(next),
          current_(*changes.front().target),
          target_(changes.front().target->source()) {
        for (auto const & change : changes) {
            nodes_.push_back(change.node);
            add(change);
        }
        // What an empty set becomes: the constants that one addition adds, shared with the node.
        bool const isAddition =
            changes.back().adds && added_.size() == changes.back().constants->count();
        whenEmpty_ = isAddition ? changes.back().constants : nullptr;
        mostThatVanish_ = added_.empty() ? removed_.size() : 0;
    }

    PlanStep const * run(PlanRun run) const override {
        PtrConst<Set> fresh;
        Set const * set = current_.lend(run, fresh);
        if (isEmptySet(set) && (whenEmpty_ != nullptr || added_.empty())) {
            store(run, whenEmpty_);
        } else if (isEditedInPlace(set)) {
            editInPlace(const_cast<Set &>(*set), std::span<Value const>(removed_),
                        std::span<Value const>(added_));
            store(run, set);
        } else {
            for (Expression const * const node : nodes_) {
                node->eval(run.contextPtr);
            }
        }
        return next();
    }

private:
    /// What was removed stays removed unless it is added later.
    void add(SetChange<Set> const & change) {
        std::vector<Value> result;
        auto const constants = change.constants->view();
        auto & list = change.adds ? added_ : removed_;
        std::set_union(list.begin(), list.end(), constants.begin(), constants.end(),
                       std::back_inserter(result));
        list.swap(result);
        if (!change.adds) {
            result.clear();
            std::set_difference(added_.begin(), added_.end(), constants.begin(), constants.end(),
                                std::back_inserter(result));
            added_.swap(result);
        }
    }

    bool isEditedInPlace(Set const * set) const {
        if (isEmptySet(set) || !mayEditInPlace(*set, set->count() + added_.size())) {
            return false;
        }
        // A set of which nothing is left stays as it is; the nodes store null.
        if (set->count() <= mostThatVanish_ && vanishes(*set)) {
            return false;
        }
        // A union that is the constants themselves shares them.
        return set->count() >= added_.size() || whenEmpty_ == nullptr ||
               !setIsSubset(set, whenEmpty_);
    }

    /// Whether all that a set holds is removed.
    bool vanishes(Set const & set) const {
        return !(set.front() < removed_.front()) && !(removed_.back() < set.back()) &&
               scannedAll(set.view(), std::span<Value const>(removed_));
    }

    void store(PlanRun run, Set const * set) const {
        (run.context().modify(target_.modifiedFlag).*target_.stored).borrow(set);
    }

    PlanSet<Set> current_;
    SetSource<Set> target_;
    std::vector<Expression const *> nodes_;
    std::vector<Value> removed_;
    std::vector<Value> added_;
    Set const * whenEmpty_;
    std::size_t mostThatVanish_; ///< values of a set that can become empty
};

} // namespace Qcf::Eval
