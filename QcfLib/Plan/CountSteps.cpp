#include "QcfLib/Plan/CountSteps.h"

#include "QcfLib/EvaluationObserver.h"
#include "QcfLib/Operators/CallFrame.h"
#include "QcfLib/Operators/WatchedEvaluation.h"
#include "QcfLib/Plan.h"

#include <boost/container/small_vector.hpp>

/// Counting where it takes more than one number.
namespace Qcf::Eval {

PlanStep const * CountedCall::run(PlanRun run) const {
    StackFrameData_ frame;
    pushArguments(call_, run.contextPtr, frame);
    Function const & callee = *call_.calleePtr();
    Plan const & plan = callee.planFor(callee);
    PlanStep const * end = nullptr;
    {
        CallScope const scope(run.context(), frame);
        end = &runSteps(&plan.entry(), run);
    }
    if (plan.countLayout() != nullptr) [[likely]] {
        return next(static_cast<CountedEnd const &>(*end), run.context().counters());
    }
    // Counting was switched off while this run was under way.
    EvalResult const result = end->returned();
    return result.terminates() ? endOfRun(result) : ways_.targets.at(result.retVal());
}

PlanStep const * CountedCall::next(CountedEnd const & end, ContextCounters & counters) const {
    EvalResult const result = end.returned();
    std::size_t const value = indexOf(result.retVal());
    U32 const discounted = end.discounted(counters);
    PlanStep const * const handedOn =
        result.terminates() ? ways_.exits[value] : ways_.handsOn[value];
    if (end.isByStatement() && handedOn != nullptr) {
        counters.deciderIs(discounted);
        return handedOn;
    }
    // What decided in the callee decides nothing here.
    counters.count(discounted);
    if (result.terminates()) {
        counters.count(ways_.exitedAnyhow);
        return ways_.exitsAnyhow[value];
    }
    return ways_.targets.at(result.retVal());
}

/// Counts what is entered, and finds what decides: of a node the last one that was evaluated below
/// it, and for `return` and `exit` else they themselves.
class ObservedBody::Observer final : public EvaluationObserver {
public:
    Observer(ObservedBody const & body, ContextCounters & counters)
        : body_(body), counters_(counters), functions_{&body.function_} {}

    void entered(Expression const & node, EvalContext & /*context*/) override {
        if (auto const * const function = as<Function>(node)) {
            functions_.push_back(function);
            counters_.count(placeOf(node).entered);
        } else if (isStatement(node)) {
            counters_.count(placeOf(node).entered);
        }
        if (!open_.empty()) {
            ++open_.back().children;
        }
        open_.push_back({&node});
    }
    void left(Expression const & node, EvalResult result, EvalContext & context) override {
        ObservedNode const * decider = open_.back().decider;
        if (is<Block>(node) && !result.terminates()) {
            decider = nullptr;
        } else if (decider == nullptr && leaves(node)) {
            decider = &placeOf(node);
        }
        thrown(node, context);
        (open_.empty() ? decider_ : open_.back().decider) = decider;
    }
    void thrown(Expression const & node, EvalContext & /*context*/) override {
        open_.pop_back();
        if (is<Function>(node)) {
            functions_.pop_back();
        }
    }

    /// After the body: null when nothing decided it.
    ObservedNode const * decider() const { return decider_; }

private:
    struct Open {
        Expression const * node;
        U32 children = 0;
        ObservedNode const * decider = nullptr; ///< of the last child
    };
    static bool leaves(Expression const & node) {
        return is<ReturnExpression>(node) || is<ExitExpression>(node);
    }
    bool isStatement(Expression const & node) const {
        if (leaves(node) || open_.empty()) {
            return leaves(node);
        }
        Open const & parent = open_.back();
        bool const isElse = is<IfExpression>(*parent.node) && parent.children > 0;
        return is<Block>(*parent.node) || (isElse && !is<Block>(node));
    }
    ObservedNode const & placeOf(Expression const & node) const {
        return body_.at(*functions_.back(), node);
    }

    ObservedBody const & body_;
    ContextCounters & counters_;
    boost::container::small_vector<Function const *, 16> functions_;
    boost::container::small_vector<Open, 64> open_;
    ObservedNode const * decider_ = nullptr;
};

ObservedBody::ObservedBody(Function const & function, CountLayout const & layout,
                           Ends const & byStatement, Ends const & byNone)
    : function_(function), byStatement_(byStatement), byNone_(byNone) {
    for (ObservedNode const & node : layout.observed) {
        places_.emplace(Place(node.function, node.node), &node);
    }
}

namespace {

/// Puts an observer in place where there is none, for as long as it lives.
class ObserverScope {
public:
    ObserverScope(EvalContext & context, EvaluationObserver & observer) : context_(context) {
        context_.evaluationObserverIs(&observer);
    }
    ObserverScope(ObserverScope const &) = delete;
    ObserverScope & operator=(ObserverScope const &) = delete;
    ~ObserverScope() { context_.evaluationObserverIs(nullptr); }

private:
    EvalContext & context_;
};

} // namespace

PlanStep const * ObservedBody::run(PlanRun run) const {
    EvalContext & context = run.context();
    ContextCounters & counters = context.counters();
    Observer observer(*this, counters);
    EvalResult result;
    {
        ObserverScope const scope(context, observer);
        result = evalPart(*function_.body(), run.contextPtr);
    }
    ObservedNode const & decider =
        observer.decider() != nullptr ? *observer.decider() : at(function_, function_);
    counters.count(decider.counters.decided);
    counters.deciderIs(decider.counters.discounted);
    Ends const & ends = observer.decider() != nullptr ? byStatement_ : byNone_;
    return ends[static_cast<std::size_t>(result.termination())][indexOf(result.retVal())];
}

} // namespace Qcf::Eval
