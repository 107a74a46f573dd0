#include "Agent/Routes/AppliedChanges.h"
#include "Watch/Explanation.h"
#include "Watch/TestRun.h"

#include <algorithm>
#include <sstream>

/// What a test wants of an accepted route, and what is told where something is not as it should be.
namespace Qcf::Watch {

using Agent::AgentContext;
using Eval::EvalContextBase;
using Eval::EvalResult;
using Eval::Function;

// Evaluated once more, with somebody who reads all values: what is passed needs none.
std::vector<String> TestRun::decidingLines(Function const & function, Agent::Route const & route,
                                           Matchers const & matchers) const {
    auto const context = makePtr<AgentContext>(matchers);
    Watched const watched(*context);
    context->routeIs(route);
    function.eval(Ptr<EvalContextBase>(context));
    std::vector<String> lines;
    std::istringstream text(decidingText(watched, places_));
    for (String line; std::getline(text, line);) {
        lines.push_back(std::move(line));
    }
    return lines;
}

void TestRun::checkAfter(std::size_t test, Agent::Route const & route, AgentContext const & context,
                         Matchers const & matchers, TestResult & result) const {
    Text::Expectation const & expected = declarations_.tests[test].expectation;
    Agent::Route const after = appliedTo(route, context.changes());
    auto const wasMeant = [&](std::string_view name) {
        return expected.changesOnly &&
               std::ranges::find(*expected.changesOnly, name) != expected.changesOnly->end();
    };
    if (expected.unchanged || expected.changesOnly) {
        for (auto const & [name, before, now] : differences(route, after)) {
            if (expected.unchanged || !wasMeant(name)) {
                result.findings.push_back("expected " + String(name) + " unchanged, found " +
                                          before + " -> " + now);
            }
        }
    }
    if (expected.unchanged && !expected.nextHopSelf && context.nextHopSetToSelf()) {
        result.findings.emplace_back("expected unchanged, found the next hop set to self");
    }
    if (expected.nextHopSelf && !context.nextHopSetToSelf()) {
        result.findings.emplace_back("expected next_hop_self, found the next hop not set to self");
    }
    checkConditions(test, after, matchers, result);
}

// Each on a context of its own, which no other condition has left anything in.
void TestRun::checkConditions(std::size_t test, Agent::Route const & after,
                              Matchers const & matchers, TestResult & result) const {
    auto const & conditions = declarations_.tests[test].expectation.conditions;
    for (std::size_t i = 0; i < conditions.size(); ++i) {
        auto const context = makePtr<AgentContext>(matchers);
        Ptr<EvalContextBase> const asBase = context;
        context->routeIs(after);
        Function const & function = *program_.tests[test].conditions[i];
        EvalResult const answer = function.eval(asBase);
        if (answer.isTrue()) {
            continue;
        }
        auto lines = decidingLines(function, after, matchers);
        if (lines.empty()) {
            lines.push_back("line " + std::to_string(places_.of(conditions[i]->span).line) + ": " +
                            places_.line(conditions[i]->span) + "  " + toString(answer.retVal()));
        }
        result.findings.insert(result.findings.end(), lines.begin(), lines.end());
    }
}

} // namespace Qcf::Watch
