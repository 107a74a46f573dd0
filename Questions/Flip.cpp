#include "Questions/Flip.h"

#include "Agent/Routes/JsonLinesWriter.h"
#include "Agent/Routes/RouteJson.h"
#include "Platform/Render/JsonDocument.h"

#include <algorithm>

namespace Qcf::Questions {

using Agent::Route;
using Eval::EvalResult;

namespace {

/// The route as who reads it from the routes format has it; nothing where that cannot be.
std::optional<Route> carried(Route const & route) {
    String text;
    Agent::JsonLinesWriter(text).add(route);
    try {
        JsonDocument const document = JsonDocument::parse(text, "route");
        Route read;
        Agent::readRoute(document.root(), read);
        return read;
    } catch (DocumentError const &) {
        return std::nullopt;
    }
}

} // namespace

/// The search for one route.
class FlipFinder::Search {
public:
    Search(FlipFinder & finder, Route const & route)
        : finder_(finder), route_(route), before_(finder.evaluate(route)) {}

    FlipReport run() {
        report_.isAsked = finder_.isAsked(before_);
        if (!report_.isAsked) {
            return std::move(report_);
        }
        read_ = finder_.readsOf(route_);
        collect();
        trySingles();
        if (finder_.options_.pairs) {
            tryPairs();
        }
        std::ranges::stable_sort(found_, {}, &Found::distance);
        tell();
        return std::move(report_);
    }

private:
    /// A flip that nobody needs to be told of yet.
    struct Found {
        U64 distance;
        std::vector<RouteEdit const *> edits;
    };
    struct Pair {
        U64 distance;
        RouteEdit const * first;
        RouteEdit const * second;
    };

    void collect();
    void trySingles();
    void tryPairs();
    std::vector<Pair> pairs();
    bool tries(std::vector<RouteEdit const *> const & edits, U64 distance);
    void tell();
    void tellOne(Found const & found);
    Route changed(std::vector<RouteEdit const *> const & edits) const;
    bool hasBudget() {
        report_.isCut = report_.isCut || report_.tried == finder_.options_.budget;
        return !report_.isCut;
    }

    FlipFinder & finder_;
    Route const & route_;
    EvalResult before_;
    RoutePartSet read_;
    FlipReport report_;
    /// Of all parts that some evaluation may read, those of one beside each other.
    std::vector<RouteEdit> edits_;
    std::vector<RouteEdit const *> turning_; ///< that turn the verdict alone
    std::vector<Found> found_;
};

void FlipFinder::Search::collect() {
    for (RoutePart part = 0; part < routePartCount; ++part) {
        bool const isUseful =
            read_.test(part) || (finder_.options_.pairs && finder_.ground_.asked().test(part));
        if (!isUseful) {
            continue;
        }
        PartEdits edits = editsOf(route_, part, finder_.ground_);
        if (!edits.complete.empty() && read_.test(part)) {
            report_.complete.push_back(std::move(edits.complete));
        }
        std::ranges::move(edits.edits, std::back_inserter(edits_));
    }
    std::ranges::stable_sort(edits_, {}, &RouteEdit::distance);
}

Route FlipFinder::Search::changed(std::vector<RouteEdit const *> const & edits) const {
    Route route = route_;
    for (RouteEdit const * const edit : edits) {
        edit->apply(route);
    }
    return route;
}

// What the format does not carry as it is may come to another verdict, and is no flip then.
bool FlipFinder::Search::tries(std::vector<RouteEdit const *> const & edits, U64 distance) {
    ++report_.tried;
    Route const route = changed(edits);
    if (!finder_.turns(before_, finder_.evaluate(route))) {
        return false;
    }
    auto const asRead = carried(route);
    if (!asRead || !finder_.turns(before_, finder_.evaluate(*asRead))) {
        return false;
    }
    found_.push_back({distance, edits});
    return true;
}

void FlipFinder::Search::trySingles() {
    for (RouteEdit const & edit : edits_) {
        if (!read_.test(edit.part)) {
            continue;
        }
        if (!hasBudget()) {
            report_.complete.clear();
            return;
        }
        if (tries({&edit}, edit.distance)) {
            turning_.push_back(&edit);
        }
    }
}

// A pair one of which does it alone is no smallest change. The second one has to be read once the
// first one was made, or it changes nothing either.
std::vector<FlipFinder::Search::Pair> FlipFinder::Search::pairs() {
    constexpr std::size_t mostFirst = 2'000;
    constexpr std::size_t mostPairs = 1'000'000;
    std::vector<RouteEdit const *> idle;
    for (RouteEdit const & edit : edits_) {
        if (std::ranges::find(turning_, &edit) == turning_.end()) {
            idle.push_back(&edit);
        }
    }
    report_.isCut = report_.isCut || idle.size() > mostFirst;
    idle.resize(std::min(idle.size(), mostFirst));
    std::vector<Pair> made;
    for (RouteEdit const * const first : idle) {
        if (!read_.test(first->part)) {
            continue;
        }
        RoutePartSet const reads = finder_.readsOf(changed({first}));
        for (RouteEdit const * const second : idle) {
            bool const isOther =
                read_.test(second->part) ? second->part > first->part : second->part != first->part;
            if (isOther && reads.test(second->part) && made.size() < mostPairs) {
                made.push_back({first->distance + second->distance, first, second});
            }
        }
    }
    std::ranges::stable_sort(made, {}, &Pair::distance);
    return made;
}

void FlipFinder::Search::tryPairs() {
    for (Pair const & pair : pairs()) {
        if (!hasBudget()) {
            return;
        }
        tries({pair.first, pair.second}, pair.distance);
    }
}

void FlipFinder::Search::tell() {
    report_.found = found_.size();
    for (Found const & found : found_) {
        if (report_.flips.size() == finder_.options_.most) {
            return;
        }
        tellOne(found);
    }
}

void FlipFinder::Search::tellOne(Found const & found) {
    Flip flip{*carried(changed(found.edits)), {}, found.distance, {}, {}, {}};
    finder_.decide(flip);
    for (RouteEdit const * const edit : found.edits) {
        flip.changes.push_back({edit->part, changeText(route_, flip.route, edit->part)});
    }
    bool const isKnown = std::ranges::any_of(report_.flips, [&](Flip const & other) {
        return other.result.retVal() == flip.result.retVal() &&
               other.statement.node == flip.statement.node &&
               std::ranges::equal(other.changes, flip.changes, {}, &FlipChange::part,
                                  &FlipChange::part);
    });
    if (!isKnown) {
        report_.flips.push_back(std::move(flip));
    }
}

FlipFinder::FlipFinder(PtrConst<Eval::Function> function, FlipGround const & ground,
                       PtrConst<ExternalMatchersBase> const & matchers,
                       Watch::NodePlaces const & places, FlipOptions options)
    : function_(std::move(function)),
      ground_(ground),
      places_(places),
      options_(options),
      plain_(makePtr<Agent::AgentContext>(matchers)),
      watched_(makePtr<Agent::AgentContext>(matchers)) {}

FlipFinder::~FlipFinder() { watched_->evaluationObserverIs(nullptr); }

FlipReport FlipFinder::find(Route const & route) { return Search(*this, route).run(); }

EvalResult FlipFinder::evaluate(Route const & route) {
    plain_->routeIs(route);
    return function_->eval(Ptr<Eval::EvalContextBase>(plain_.get()));
}

RoutePartSet FlipFinder::readsOf(Route const & route) {
    watched_->evaluationObserverIs(&reads_);
    reads_.clear();
    watched_->routeIs(route);
    function_->eval(Ptr<Eval::EvalContextBase>(watched_.get()));
    return reads_.read();
}

void FlipFinder::decide(Flip & flip) {
    watched_->evaluationObserverIs(&deciding_);
    watched_->routeIs(flip.route);
    flip.result = function_->eval(Ptr<Eval::EvalContextBase>(watched_.get()));
    flip.statement = deciding_.statement();
    flip.reason = deciding_.reason(places_);
}

bool FlipFinder::isAsked(EvalResult before) const {
    return options_.to == FlipTo::any || before.isTrue() == (options_.to == FlipTo::reject);
}

bool FlipFinder::turns(EvalResult before, EvalResult after) const {
    switch (options_.to) {
    case FlipTo::accept:
        return after.isTrue();
    case FlipTo::reject:
        return !after.isTrue();
    case FlipTo::any:
        break;
    }
    return after.retVal() != before.retVal();
}

} // namespace Qcf::Questions
