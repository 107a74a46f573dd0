#include "Questions/ReportExamples.h"

#include <algorithm>

namespace Qcf::Questions {

namespace {

// A row is about 40 bytes of the page.
constexpr std::size_t mostRows = 6000;
constexpr std::size_t mostRowsOfRoute = 150;
constexpr std::size_t mostExamples = 1000;

} // namespace

ExampleRoutes::ExampleRoutes(ReportInput const & input)
    : input_(input),
      context_(makePtr<Agent::AgentContext>(input.matchers)),
      evaluating_(context_),
      watched_(*context_) {}

std::vector<std::size_t> ExampleRoutes::of(std::span<U64 const> routes, std::size_t most) {
    std::vector<std::size_t> places;
    for (U64 const number : routes) {
        auto const route = input_.counts.routes.find(number);
        if (places.size() == most || route == input_.counts.routes.end()) {
            continue;
        }
        bool const hasRoom = rows_ < mostRows && examples_.size() < mostExamples;
        auto const known = known_.find(number);
        if (known != known_.end()) {
            places.push_back(known->second);
        } else if (hasRoom) {
            known_.emplace(number, examples_.size());
            places.push_back(examples_.size());
            examples_.push_back(explain(number, route->second));
        }
    }
    return places;
}

std::set<String> ExampleRoutes::unknownBecause(Eval::Expression const & node) const {
    auto const found = unknown_.find(&node);
    return found == unknown_.end() ? std::set<String>() : found->second;
}

ReportExample ExampleRoutes::explain(U64 number, Agent::Route const & route) {
    context_->routeIs(route);
    auto const result = input_.function->eval(evaluating_);
    auto const decision = watched_.decision(input_.places);
    ReportExample example{.route = number,
                          .prefix = route.ipPrefix.toString(),
                          .peer = route.sourceSessionRemoteIpAddress.toString(),
                          .verdict = toString(result.retVal()),
                          .decidedBy = {},
                          .reason = decision.reason};
    if (decision.statement != nullptr) {
        example.decidedBy = input_.places.of(*decision.statement, *decision.within).text();
    }
    if (auto const * const root = watched_.root()) {
        noteUnknown(*root);
        example.rows = rowsOf(*root, input_.places, {.all = true});
        if (example.rows.size() > mostRowsOfRoute) {
            example.rows = rowsOf(*root, input_.places, {});
        }
    }
    // The end is what tells about the verdict.
    if (example.rows.size() > mostRowsOfRoute) {
        example.isCut = true;
        example.rows.erase(example.rows.begin(), example.rows.end() - mostRowsOfRoute);
    }
    rows_ += example.rows.size();
    watched_.clear();
    return example;
}

void ExampleRoutes::noteUnknown(Watch::TraceNode const & at) {
    if (!at.unknownBecause.empty()) {
        unknown_[at.node].insert(at.unknownBecause.begin(), at.unknownBecause.end());
    }
    for (Watch::TraceNode const * const child : at.children) {
        noteUnknown(*child);
    }
}

} // namespace Qcf::Questions
