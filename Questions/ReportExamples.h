#pragma once

#include "Questions/Report.h"
#include "Questions/ReportInput.h"
#include "Watch/Explanation.h"

#include <set>

namespace Qcf::Questions {

/// The routes that a report tells of, evaluated once more and explained. How much they may say
/// together is bounded, so that the page of a long policy stays one that a browser opens at once:
/// who asks first is served first.
///
///     ExampleRoutes examples(input);
///     clause.examples = examples.of(counts.examples[number].decided, 3);
class ExampleRoutes {
public:
    explicit ExampleRoutes(ReportInput const & input);

    /// Explains so many of these routes at most and answers their places in `taken()`. Once the
    /// bound is reached, only routes that others asked for are answered.
    std::vector<std::size_t> of(std::span<U64 const> routes, std::size_t most);
    /// Why a node came to unknown, as far as the routes tell that were explained.
    std::set<String> unknownBecause(Eval::Expression const & node) const;

    std::vector<ReportExample> take() { return std::move(examples_); }

private:
    ReportExample explain(U64 number, Agent::Route const & route);
    void noteUnknown(Watch::TraceNode const & at);

    ReportInput const & input_;
    Ptr<Agent::AgentContextBase> context_;
    Ptr<Eval::EvalContextBase> evaluating_;
    Watch::Watched watched_;
    std::vector<ReportExample> examples_;
    std::map<U64, std::size_t> known_; ///< places in `examples_` by route
    std::map<Eval::Expression const *, std::set<String>> unknown_;
    std::size_t rows_ = 0; ///< of all explanations
};

} // namespace Qcf::Questions
