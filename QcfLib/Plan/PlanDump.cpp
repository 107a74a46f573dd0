#include "QcfLib/Plan.h"
#include "QcfLib/Plan/PlanSteps.h"

#include <algorithm>
#include <unordered_map>

/// Plans as text, for whoever suspects one.
namespace Qcf::Eval {

namespace {

/// A plan is a graph: each step is printed once, and named by its number wherever it is gone to.
class PlanText {
public:
    PlanText(PlanSteps const & steps, DumpContext const & out) : steps_(steps), out_(out) {
        for (std::size_t i = 0; i < steps.size(); ++i) {
            places_.emplace(&steps.at(i), i);
        }
    }

    void print(PlanStep const & first) {
        numberOf(first);
        out_.print("plan of %zu steps\n", steps_.size());
        // The order grows while it is printed: a step speaks of others, which are then printed too.
        for (std::size_t i = 0; i < order_.size(); ++i) {
            printStep(*order_[i], i + 1);
        }
    }

private:
    /// Steps are numbered as they are first spoken of, and printed in that order.
    std::size_t numberOf(PlanStep const & step) {
        auto const [at, isNew] = numbers_.emplace(&step, order_.size() + 1);
        if (isNew) {
            order_.push_back(&step);
        }
        return at->second;
    }

    void printStep(PlanStep const & step, std::size_t number) {
        StepText const text = step.describe();
        out_.print("%5zu %s%s%s", number, text.kind.c_str(), text.detail.empty() ? "" : ": ",
                   text.detail.c_str());
        printNodes(step);
        String separator = "\n          ";
        for (std::size_t at = 0; at < text.next.size(); ++at) {
            auto const & [outcome, next] = text.next[at];
            // Outcomes that go to one step are told together.
            bool const sameAsNext = at + 1 < text.next.size() && text.next[at + 1].second == next;
            out_.print("%s%s", separator.c_str(), outcome.c_str());
            separator = sameAsNext ? ", " : "; ";
            if (!sameAsNext) {
                out_.print(": %s", targetText(*next).c_str());
            }
        }
        out_.print("\n");
    }

    void printNodes(PlanStep const & step) const {
        char const * separator = " [";
        for (Expression const * const node : steps_.nodesOf(places_.at(&step))) {
            out_.print("%s%s", separator, referenceText(*node).c_str());
            separator = " ";
        }
        out_.print("]");
    }

    String targetText(PlanStep const & step) {
        // Ends belong to no plan and have no number: they are told where they are gone to.
        return step.isEnd() ? step.describe().kind : std::to_string(numberOf(step));
    }

    PlanSteps const & steps_;
    DumpContext const & out_;
    std::unordered_map<PlanStep const *, std::size_t> places_; ///< among the plan's steps
    std::unordered_map<PlanStep const *, std::size_t> numbers_;
    std::vector<PlanStep const *> order_;
};

} // namespace

// Steps are made from the end of the text to its start.
std::vector<Expression const *> Plan::nodesWithoutStep() const {
    std::vector<Expression const *> nodes;
    for (std::size_t number = steps_->size(); number-- > 0;) {
        for (Expression const * const node : steps_->nodesOf(number)) {
            bool const isNew = std::find(nodes.begin(), nodes.end(), node) == nodes.end();
            if (steps_->at(number).evaluatesNode() && isNew) {
                nodes.push_back(node);
            }
        }
    }
    return nodes;
}

void Plan::dump(PtrConst<DumpContext> const & dumpContext) const {
    // A body without effect: there is no step to number.
    if (first_->isEnd()) {
        dumpContext->print("plan of 0 steps: %s\n", first_->describe().kind.c_str());
        return;
    }
    PlanText(*steps_, *dumpContext).print(*first_);
}

} // namespace Qcf::Eval
