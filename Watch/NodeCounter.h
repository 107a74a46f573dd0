#pragma once

#include "QcfLib/EvaluationObserver.h"
#include "Watch/NodeNumbers.h"

namespace Qcf::Watch {

/// How often a node was evaluated, and to what. What an exception left counts as entered alone.
struct NodeCounts {
    U64 entered = 0;
    // Results with which evaluation went on, or with which a `return` ended the function.
    U64 isTrue = 0;
    U64 isFalse = 0;
    U64 isUnknown = 0;
    U64 exits = 0; ///< left the whole evaluation, with whatever value; none of the three

    void add(NodeCounts const & other) {
        entered += other.entered;
        isTrue += other.isTrue;
        isFalse += other.isFalse;
        isUnknown += other.isUnknown;
        exits += other.exits;
    }
    bool operator==(NodeCounts const &) const = default;
};

/// Counts evaluations of nodes, calls included. One thread's: what several have counted is added
/// at the end.
///
///     NodeCounter counter(numbers);
///     context->evaluationObserverIs(&counter);
///     function->eval(context);
///     counter.counts()[numbers.of(node)].entered;
class NodeCounter final : public Eval::EvaluationObserver {
public:
    /// The numbers must outlive it, and be those of all functions that are evaluated.
    explicit NodeCounter(NodeNumbers const & numbers)
        : numbers_(numbers), counts_(numbers.size()) {}

    void entered(Eval::Expression const & node, Eval::EvalContext & /*context*/) override {
        ++counts_[numbers_.of(node)].entered;
    }
    void left(Eval::Expression const & node, Eval::EvalResult result,
              Eval::EvalContext & /*context*/) override {
        note(counts_[numbers_.of(node)], result);
    }
    void thrown(Eval::Expression const & /*node*/, Eval::EvalContext & /*context*/) override {}

    /// By number.
    std::vector<NodeCounts> const & counts() const { return counts_; }

    /// Counts one result.
    static void note(NodeCounts & counts, Eval::EvalResult result) {
        if (result.termination() == Eval::TerminationFlag::exitToPoa) {
            ++counts.exits;
            return;
        }
        switch (result.retVal()) {
        case Eval::TriStateBoolValue::true_:
            ++counts.isTrue;
            break;
        case Eval::TriStateBoolValue::false_:
            ++counts.isFalse;
            break;
        case Eval::TriStateBoolValue::unknown:
            ++counts.isUnknown;
            break;
        }
    }

private:
    NodeNumbers const & numbers_;
    std::vector<NodeCounts> counts_;
};

/// Adds what another counter of the same numbers has.
inline void addCounts(std::vector<NodeCounts> & to, std::vector<NodeCounts> const & from) {
    to.resize(from.size());
    for (std::size_t i = 0; i < from.size(); ++i) {
        to[i].add(from[i]);
    }
}

} // namespace Qcf::Watch
