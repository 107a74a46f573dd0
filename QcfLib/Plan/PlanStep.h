#pragma once

#include "QcfLib/QcfEvalContext.h"
#include "QcfLib/QcfLibHelpers.h"

#include <utility>
#include <vector>

/// What the steps of a plan have in common: the run that they take part in, and how they read
/// attributes.
///
/// A run goes from step to step until it stands at an end; no step calls another one, so that a
/// plan needs no stack however long it is. Steps are immutable, and a run has no state beside the
/// context, so that any number of threads runs one plan.
namespace Qcf::Eval {

/// One run of a plan on one thread. Handed around by value: it is one word, and stays in a
/// register. Valid as long as the caller's pointer to the context, which is never counted on the
/// way.
struct PlanRun {
    explicit PlanRun(Ptr<EvalContextBase> const & onContext) : contextPtr(onContext) {}

    /// The context as the engine's own class, which every context is.
    EvalContext & context() const { return evalContext(contextPtr); }

    Ptr<EvalContextBase> const & contextPtr;
};

class PlanStep;

/// What a step is, for dumps. Made when it is asked for: a plan that nobody looks at has no text.
struct StepText {
    String kind;
    String detail = {};
    /// Where it goes, by outcome. Outcomes of one target stand side by side, so that dumps show
    /// them as one.
    std::vector<std::pair<String, PlanStep const *>> next = {};
};

/// One step. Each does what the nodes that it stands for do, through the same functions, and knows
/// which step comes next for each outcome. A run ends at a step that is an end.
///
/// Steps are made by lowering, owned by their plan and never changed, with pointers to each other
/// that form no circle: a run visits each step once at most.
class PlanStep {
public:
    constexpr PlanStep() = default;
    PlanStep(PlanStep const &) = delete;
    PlanStep & operator=(PlanStep const &) = delete;
    /// Steps die with their plan, which no run may be using then.
    virtual constexpr ~PlanStep() = default;

    /// Does the work; answers the next step. Not to be called at an end.
    virtual PlanStep const * run(PlanRun run) const = 0;
    /// What it does and where it goes, for dumps; the values of constants are told where they are
    /// few.
    virtual StepText describe() const = 0;

    /// Whether it evaluates its node as it stands: it knows nothing of what the node does.
    virtual bool evaluatesNode() const { return false; }

    /// Kept as a member, since the loop of a run asks it after every step: no virtual call.
    bool isEnd() const { return isEnd_; }
    /// The result of a run that ends here, and what its function yields of it.
    EvalResult result() const { return result_; }
    EvalResult returned() const { return returned_; }

protected:
    /// An end. What its function yields is worked out here, once, and not by every run.
    constexpr explicit PlanStep(EvalResult result)
        : isEnd_(true), result_(result), returned_(result.returned()) {}

private:
    bool isEnd_ = false;
    /// Of ends alone.
    EvalResult result_;
    EvalResult returned_;
};

/// The end of a run with that result; there is one for each. It lives as long as the process, and
/// may be compared by its address.
PlanStep const * endOfRun(EvalResult result);

/// Walks from a step to the end; answers that. Used for a whole plan, and for a condition inside a
/// decision table, which ends at ends of its own.
inline PlanStep const & runSteps(PlanStep const * step, PlanRun run) {
    while (!step->isEnd()) {
        step = step->run(run);
    }
    return *step;
}

/// Where to go on after a condition, by its value. The steps behind a condition are made before it,
/// so that they are known here. Two or all of them may be one step, as for `and`, which has no use
/// for unknown.
struct PlanTargets {
    PlanStep const * onUnknown;
    PlanStep const * onFalse;
    PlanStep const * onTrue;

    /// Never null.
    PlanStep const * at(TriStateBoolValue value) const {
        return value == QcfTrue() ? onTrue : value == QcfFalse() ? onFalse : onUnknown;
    }
    std::vector<std::pair<String, PlanStep const *>> texts() const {
        return {{"true", onTrue}, {"false", onFalse}, {"unknown", onUnknown}};
    }
};

/// An integer operand, read where it stands: from the context's changes if the function wrote it,
/// by the agent's accessor otherwise, by its node if it is no attribute and not computed from one.
/// Where the value is outside the attribute's range the node is asked, too, since it is that which
/// asserts.
///
/// Agents see the same calls of accessors as from the node: none for an attribute that was written.
class PlanInt {
public:
    /// The source is asked of the node once; it is empty for what is no attribute.
    explicit PlanInt(Int const & node) : node_(&node), source_(node.source()) {}

    /// One subtraction tests both bounds: what lies below the least wraps around to a large number.
    /// Always part of the step: compilers decide by how much else a source holds.
    [[gnu::always_inline]] U64 read(PlanRun run) const {
        if (source_.input == nullptr) {
            return source_.derived != nullptr ? source_.derived(run.contextPtr)
                                              : node_->getVal(run.contextPtr);
        }
        // What the function wrote comes before the route's own value.
        bool const modified = (run.context().modifiedFlags() & source_.modifiedFlag) != 0;
        U64 const value = modified ? run.context().attributeContentConst().*source_.stored
                                   : (run.context().*source_.input)();
        bool const isInside = value - source_.min <= source_.max - source_.min;
        return isInside ? value : node_->checkedVal(value);
    }
    String text() const { return node_->toStrep(); }

private:
    Int const * node_;
    IntSource source_;
};

/// A set operand, read likewise. What it lends is good until the attribute is written. Sets are not
/// counted on the way; the context or the route keeps them.
template <typename Set>
class PlanSet {
public:
    explicit PlanSet(SetStorage<Set> const & node) : node_(&node), source_(node.source()) {}

    /// A set that had to be built for this call is put into `fresh`.
    [[gnu::always_inline]] Set const * lend(PlanRun run, PtrConst<Set> & fresh) const {
        if (source_.input == nullptr) {
            return node_->lendVal(run.contextPtr, fresh);
        }
        bool const modified = (run.context().modifiedFlags() & source_.modifiedFlag) != 0;
        return modified ? (run.context().attributeContentConst().*source_.stored).get()
                        : (run.context().*source_.input)();
    }
    String text() const { return node_->toStrep(); }

private:
    SetStorage<Set> const * node_;
    SetSource<Set> source_;
};

/// A prefix attribute operand: the route's own prefix, which cannot be written, so that the
/// accessor is all there is to ask. A prefix that has no accessor stays with its node.
class PlanPrefix {
public:
    /// The node must have a source.
    explicit PlanPrefix(IpPrefix const & node) : node_(&node), source_(node.source()) {}
    /// The agent's accessor, once a question.
    IpGenPrefix read(PlanRun run) const { return (run.context().*source_)(); }
    String text() const { return node_->toStrep(); }

private:
    IpPrefix const * node_;
    PrefixSource source_;
};

} // namespace Qcf::Eval
