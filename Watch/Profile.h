#pragma once

#include "Watch/Deciding.h"
#include "Watch/NodeCounter.h"
#include "Watch/StackTree.h"

#include <array>
#include <chrono>

namespace Qcf::Watch {

/// Verdicts, by TriStateBoolValue.
using VerdictCounts = std::array<U64, 3>;

/// What was counted of many evaluations of a function. Plain values; those of several threads are
/// added up.
struct Profile {
    std::vector<NodeCounts> nodes; ///< by number, as are the next two
    /// Verdicts that a `return` or `exit` decided.
    std::vector<VerdictCounts> decided;
    /// Nanoseconds in the node itself and in what is no node of its own; empty where no clock was
    /// asked. Times of an evaluation that is watched, and of asking the clock.
    std::vector<U64> selfTime;
    /// Verdicts that no statement decided: the end was reached.
    VerdictCounts atEnd{};
    /// Verdicts in all: routes by their results.
    VerdictCounts verdicts{};
    StackTree stacks; ///< empty unless asked for

    U64 routes() const { return verdicts[0] + verdicts[1] + verdicts[2]; }
    void add(Profile const & other);
};

/// Fills a profile while functions are evaluated. One thread's, and one context's.
///
///     Profiler profiler(numbers, {.time = true});
///     context->evaluationObserverIs(&profiler);
///     ... for each route: function->eval(context);
///     total.add(profiler.profile());
class Profiler final : public Eval::EvaluationObserver {
public:
    struct Options {
        bool time = false;   ///< ask the clock when a node is entered and left
        bool stacks = false; ///< keep by which ways nodes are reached
    };
    /// The numbers must outlive it.
    Profiler(NodeNumbers const & numbers, Options options);

    void entered(Eval::Expression const & node, Eval::EvalContext & context) override;
    void left(Eval::Expression const & node, Eval::EvalResult result,
              Eval::EvalContext & context) override;
    void thrown(Eval::Expression const & node, Eval::EvalContext & context) override;

    Profile const & profile() const { return profile_; }
    /// What decided the evaluation that ended last.
    DecidingStatement decidedBy() const { return deciding_.statement(); }
    /// Forgets what was counted; between two evaluations.
    void clear();

private:
    using Clock = std::chrono::steady_clock;

    void leave(U32 number);
    void verdictIs(Eval::EvalResult result);
    /// Nanoseconds since this was asked last.
    U64 lap();

    NodeNumbers const & numbers_;
    Options options_;
    Profile profile_;
    Deciding deciding_;
    /// Numbers of the nodes that are open, with their own time so far.
    struct Open {
        U32 number;
        U64 time;
    };
    std::vector<Open> open_;
    Clock::time_point last_;
};

} // namespace Qcf::Watch
