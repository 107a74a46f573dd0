#pragma once

#include "Agent/Evaluation/AgentContext.h"
#include "Agent/Evaluation/ParallelEvaluation.h"
#include "Questions/PolicyComparison.h"
#include "Watch/ListAnswers.h"
#include "Watch/Profile.h"

#include <map>

/// What a report counts while a table is evaluated once.
namespace Qcf::Questions {

/// How often a named list was asked, and by which entries it answered.
struct ListHits {
    U64 asked = 0;
    U64 permitted = 0;          ///< answers that were yes
    std::map<U32, U64> byEntry; ///< by the number that explanations give an entry

    void add(ListHits const & other);
};

/// Routes of the table that show what a node does: always the first ones, so that the number of
/// threads makes no difference.
struct NodeExamples {
    /// There is no such route.
    static constexpr U64 none = ~U64{0};

    /// The first that came to true, to false, to unknown, and that left by `exit`.
    std::array<U64, 4> byAnswer{none, none, none, none};
    std::array<U64, 3> entered{none, none, none};
    std::array<U64, 3> decided{none, none, none}; ///< routes whose verdict the node gave

    void add(NodeExamples const & other);
    /// All of them that there are: answers, then verdicts, then the rest; each once.
    std::vector<U64> all() const;
};

/// Everything that one thread counts; those of several are added up.
struct ReportCounts {
    Watch::Profile profile;
    std::vector<NodeExamples> examples;         ///< by the number of the node
    std::map<void const *, ListHits> lists;     ///< by the list as it was bound
    std::map<String, U64, std::less<>> changed; ///< routes by the language names of attributes
    std::map<String, U64> unknownBecause;       ///< routes without a verdict, by reason
    std::map<U64, Agent::Route> routes;         ///< the examples themselves, by number

    DifferenceGroups differences; ///< from another policy, where one is compared with

    void add(ReportCounts && other);
};

/// Counts for one context. The numbers must outlive it.
///
///     ReportObserver observer(numbers);
///     context->evaluationObserverIs(&observer);
///     ... for each route, after its evaluation: observer.routeDone(evaluated);
class ReportObserver final : public Eval::EvaluationObserver {
public:
    explicit ReportObserver(Watch::NodeNumbers const & numbers);

    void entered(Eval::Expression const & node, Eval::EvalContext & context) override;
    void left(Eval::Expression const & node, Eval::EvalResult result,
              Eval::EvalContext & context) override;
    void thrown(Eval::Expression const & node, Eval::EvalContext & context) override;

    /// Which route it was, and what became of it.
    void routeDone(Agent::Evaluated const & evaluated);
    void unknownBecauseIs(std::vector<String> const & reasons);

    /// What was counted so far; afterwards there is nothing.
    ReportCounts take();

private:
    /// Puts the route, whose number is told later, into the first free slot.
    void note(std::span<U64> slots);

    Watch::NodeNumbers const & numbers_;
    Watch::Profiler profiler_;
    ReportCounts counts_;
    std::vector<bool> asksList_; ///< by number
    std::vector<U64 *> pending_; ///< slots that wait for the route's number
    U32 depth_ = 0;
};

/// How a table is counted.
struct ReportRun {
    PtrConst<Eval::Function> function;
    PtrConst<ExternalMatchersBase> matchers;
    /// The policy before and this one, to tell of differences; null for none.
    Comparison const * comparison = nullptr;
    U32 threads = 1;
    U64 limit = ~U64{0};
    /// Told the number of routes so far, by one thread at a time; may be null.
    std::function<void(U64)> progress = {};
};

/// Evaluates the table once and counts. What the reader throws comes through.
ReportCounts countTable(Agent::RouteReader & reader, ReportRun const & run,
                        Watch::NodeNumbers const & numbers);

} // namespace Qcf::Questions
