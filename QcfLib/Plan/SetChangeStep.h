#pragma once

#include "QcfLib/Plan/ChangeSteps.h"
#include "QcfLib/Sets/SetEdits.h"

#include <optional>
#include <vector>

/// Changes of set attributes by constants, the commonest statements of policies. Whether a set may
/// be changed where it stands is decided by SetEdits.h, as for the walk; where it may not, the
/// nodes do what they always do.
namespace Qcf::Eval {

/// One or more changes of one set attribute, made where the set stands and in one pass; where that
/// cannot be the nodes make them. Several changes are for sets without anything beside their
/// values. A run tries to do all of them or none: a set that was half edited would be edited twice
/// by the nodes.
template <typename Set>
class SetChangeStep final : public PlanStatement {
public:
    using Value = typename Set::Value;

    /// All changes have one target, in the order of their statements; at least one. They are joined
    /// here, once a plan, into values that go out and values that come in.
    SetChangeStep(std::vector<SetChange<Set>> const & changes, PlanStep const * next)
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
    }

    // What the nodes would leave: for an empty set nothing or the added constants themselves, for
    // one that may be overwritten its edited self.
    PlanStep const * run(PlanRun run) const override {
        PtrConst<Set> fresh;
        Set const * set = current_.lend(run, fresh);
        // An empty set to which several statements add has no constant for its result: the nodes
        // make it.
        if (isEmptySet(set) && (whenEmpty_ != nullptr || added_.empty())) {
            store(run, whenEmpty_);
        } else if (tryEditInPlace(set, SetEdit<Value>{removed_, added_, whenEmpty_ != nullptr})) {
            store(run, set);
        } else {
            for (Expression const * const node : nodes_) {
                node->eval(run.contextPtr);
            }
        }
        return next();
    }

    /// How many values, and not which: constants may be many.
    StepText describe() const override {
        return text("change set", current_.text() + ", " + std::to_string(removed_.size()) +
                                      " values out, " + std::to_string(added_.size()) + " in");
    }

private:
    /// What was removed stays removed unless it is added later.
    void add(SetChange<Set> const & change) {
        std::vector<Value> result;
        auto const constants = change.constants->view();
        auto & list = change.adds ? added_ : removed_;
        std::set_union(list.begin(), list.end(), constants.begin(), constants.end(),
                       std::back_inserter(result));
        // What is removed is not taken out of `added_` alone, but of the set as well.
        list.swap(result);
        if (!change.adds) {
            result.clear();
            std::set_difference(added_.begin(), added_.end(), constants.begin(), constants.end(),
                                std::back_inserter(result));
            added_.swap(result);
        }
    }

    /// Uncounted: the set is a constant of the function, or the one that was read.
    void store(PlanRun run, Set const * set) const {
        (run.context().modify(target_.modifiedFlag).*target_.stored).borrow(set);
    }

    /// How the set is read, and where it is stored.
    PlanSet<Set> current_;
    SetSource<Set> target_;
    /// In the order of their statements, which is that of evaluation where no edit in place can be.
    std::vector<Expression const *> nodes_;
    /// Ascending both. A value in both ends up in the set, since what goes out goes first.
    std::vector<Value> removed_;
    std::vector<Value> added_;
    /// Null where an empty set stays empty, or where no single addition has all of the result.
    Set const * whenEmpty_;
};

} // namespace Qcf::Eval
