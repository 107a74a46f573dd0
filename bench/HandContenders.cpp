#include "bench/Contenders.h"
#include "bench/HandViews.h"
#include "bench/HandWrittenImport.h"

namespace Qcf::Bench {

namespace {

/// A policy is called by its address, as an agent would that has several of them.
template <typename View>
class HandStep {
public:
    using Function = bool (*)(View & view, HandData const & hand);

    HandStep(Function function, HandData const & hand) : function_(function), hand_(hand) {}
    bool operator()(Agent::Route const & route) {
        view_.routeIs(route);
        return function_(view_, hand_);
    }
    Agent::RouteChanges const & changes() const { return view_.changes(); }

private:
    Function function_;
    HandData const & hand_;
    View view_;
};

template <typename View>
class HandContender final : public Contender {
public:
    HandContender(char const * name, std::shared_ptr<HandData const> hand)
        : Contender(name), hand_(std::move(hand)) {}

    std::unique_ptr<Runner> runner(Policy policy) const override {
        constexpr typename HandStep<View>::Function functions[policyCount] = {
            p0<View>, p1<View>, p2<View>, p3<View>, p4<View>, p5<View>,
        };
        return std::make_unique<LoopRunner<HandStep<View>>>(functions[static_cast<U8>(policy)],
                                                            *hand_);
    }

private:
    std::shared_ptr<HandData const> hand_;
};

/// P5 with its patterns understood.
class NumbersContender final : public Contender {
public:
    explicit NumbersContender(std::shared_ptr<HandData const> hand)
        : Contender("hand-numbers"), hand_(std::move(hand)) {}

    bool runs(Policy policy) const override { return policy == Policy::p5; }
    std::unique_ptr<Runner> runner(Policy /*policy*/) const override {
        return std::make_unique<LoopRunner<HandStep<PlainView>>>(p5ByNumbers<PlainView>, *hand_);
    }

private:
    std::shared_ptr<HandData const> hand_;
};

} // namespace

void addHandWritten(Contenders & contenders, PolicyData const & data) {
    auto const hand = std::make_shared<HandData const>(data);
    contenders.push_back(std::make_unique<HandContender<PlainView>>(limitName, hand));
    contenders.push_back(std::make_unique<HandContender<AccessorView>>(interfaceLimitName, hand));
    contenders.push_back(std::make_unique<NumbersContender>(hand));
}

} // namespace Qcf::Bench
