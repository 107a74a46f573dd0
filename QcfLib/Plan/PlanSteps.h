#pragma once

#include "QcfLib/Plan/PlanStep.h"

#include <memory>
#include <span>
#include <vector>

/// The list in which a plan keeps its steps. Steps point at each other; the list is what owns them.
namespace Qcf::Eval {

/// The steps of one plan, in the order in which they were made, and the nodes that each stands for.
///
/// Nodes are kept for dumps alone, in one array for all steps, since most steps stand for one node.
class PlanSteps {
public:
    using Nodes = std::span<Expression const * const>;

    /// Steps are numbered in the order of making: a step comes after those that it goes to.
    std::size_t size() const { return steps_.size(); }
    /// From 0 on; the number must be valid.
    PlanStep const & at(std::size_t number) const { return *steps_[number].step; }
    /// The nodes that a step stands for, in the order of the text.
    Nodes nodesOf(std::size_t number) const {
        std::size_t const end =
            number + 1 < steps_.size() ? steps_[number + 1].firstNode : nodes_.size();
        return Nodes(nodes_).subspan(steps_[number].firstNode, end - steps_[number].firstNode);
    }

    /// Takes a step; it stays where it is as long as the list. The nodes must outlive the list, as
    /// those of the plan's function do.
    PlanStep const * add(std::unique_ptr<PlanStep const> step, Nodes nodes) {
        steps_.push_back({std::move(step), nodes_.size()});
        nodes_.insert(nodes_.end(), nodes.begin(), nodes.end());
        return steps_.back().step.get();
    }
    /// Forgets the steps made after there were so many. For an attempt that did not fit. Nobody may
    /// keep a pointer to one of them; older steps never point at newer ones.
    void shrinkTo(std::size_t size) {
        if (size < steps_.size()) {
            nodes_.resize(steps_[size].firstNode);
            steps_.resize(size);
        }
    }

private:
    struct Step {
        std::unique_ptr<PlanStep const> step;
        std::size_t firstNode; ///< of its nodes, in nodes_
    };
    std::vector<Step> steps_;
    /// Of all steps, one step's behind the other's.
    std::vector<Expression const *> nodes_;
};

} // namespace Qcf::Eval
