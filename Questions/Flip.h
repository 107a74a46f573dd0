#pragma once

#include "Agent/Evaluation/AgentContext.h"
#include "Questions/FlipEdits.h"
#include "Watch/Deciding.h"

/// Which change of a route would turn its verdict. Every change that is told was tried: the
/// function was evaluated with it, on the route as the routes format has it.
namespace Qcf::Questions {

/// What the verdict is to become.
enum class FlipTo : U8 {
    accept,
    reject, ///< false or unknown
    any,    ///< anything else than it is
};

struct FlipOptions {
    FlipTo to = FlipTo::any;
    U64 most = 5;        ///< flips that are told
    bool pairs = false;  ///< whether two parts may change at once
    U64 budget = 10'000; ///< evaluations a route
};

/// One part of a route that a flip changes.
struct FlipChange {
    RoutePart part;
    String text; ///< for people: "prefix length 25 -> 24"
};

/// A change of a route that turns its verdict.
struct Flip {
    Agent::Route route;              ///< as it is changed
    std::vector<FlipChange> changes; ///< one, or two of a pair
    U64 distance = 0;                ///< the sum of those of the changes
    Eval::EvalResult result;
    Watch::DecidingStatement statement; ///< that decides then; null for a function's end
    String reason;                      ///< of the verdict then; empty for none
};

/// What was found for one route.
struct FlipReport {
    /// The nearest first: of those that change the same and end at the same statement the nearest.
    std::vector<Flip> flips;
    bool isAsked = true; ///< false where the verdict is already what it is to become
    U64 found = 0;       ///< changes that turn the verdict, told or not
    U64 tried = 0;       ///< changes that were evaluated
    bool isCut = false;  ///< the budget was too small for all of them
    /// Integers of which no other change is needed to know: if one of their values alone turns the
    /// verdict, the nearest such value was found.
    std::vector<String> complete;
};

/// Looks for flips of routes.
///
///     FlipGround const ground(*function, policy.listRecordsWith(lists));
///     FlipFinder finder(function, ground, matchers, places, {.to = FlipTo::accept});
///     FlipReport const report = finder.find(route);
///
/// A part that the evaluation did not read is not tried: it cannot turn the verdict alone. What is
/// looked for among the others is a matter of what the function and its lists name; what is found
/// is certain. One thread's; function, ground and places may be shared.
class FlipFinder {
public:
    /// Ground and places must outlive it.
    FlipFinder(PtrConst<Eval::Function> function, FlipGround const & ground,
               PtrConst<ExternalMatchersBase> const & matchers, Watch::NodePlaces const & places,
               FlipOptions options);
    ~FlipFinder();
    FlipFinder(FlipFinder const &) = delete;
    FlipFinder & operator=(FlipFinder const &) = delete;

    /// Throws what evaluations throw.
    FlipReport find(Agent::Route const & route);

private:
    class Search;

    /// Evaluates by the plan.
    Eval::EvalResult evaluate(Agent::Route const & route);
    /// The parts that an evaluation of the route reads.
    RoutePartSet readsOf(Agent::Route const & route);
    /// Whether the verdict is another than what is asked for.
    bool isAsked(Eval::EvalResult before) const;
    bool turns(Eval::EvalResult before, Eval::EvalResult after) const;
    /// What decides about the route.
    void decide(Flip & flip);

    PtrConst<Eval::Function> function_;
    FlipGround const & ground_;
    Watch::NodePlaces const & places_;
    FlipOptions options_;
    Ptr<Agent::AgentContext> plain_;
    Ptr<Agent::AgentContext> watched_;
    PartsRead reads_;
    Watch::Deciding deciding_;
};

/// The change of a part for people.
String changeText(Agent::Route const & before, Agent::Route const & after, RoutePart part);

} // namespace Qcf::Questions
