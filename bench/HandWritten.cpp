#include "bench/HandWritten.h"

#include "Agent/Evaluation/AgentContextGenerated.h"
#include "bench/Contenders.h"

namespace Qcf::Bench {

HandData::HandData(PolicyData const & policies)
    : data(policies), bogons(policies.p2.bogons), prefixes(policies.p4.prefixes) {
    for (Clause const & clause : policies.p3.clauses) {
        nextHops.emplace_back(clause.prefixes);
    }
}

namespace {

using Attribute = Eval::ModifiableAttribute;
using Agent::viewOf;
using Communities = std::span<Acl::CommunityValue const>;

/// Gives `fill` room for `upTo` values and cuts the set where it stopped.
template <typename Set, typename Fill>
void fillSet(Set & set, std::size_t upTo, Fill fill) {
    set.resize(upTo, boost::container::default_init);
    set.resize(static_cast<std::size_t>(fill(set.data()) - set.data()));
}

/// The route read in place; changes go where the agent keeps them.
class PlainView {
public:
    void routeIs(Agent::Route const & route) {
        route_ = &route;
        changes_.clear();
    }
    Agent::RouteChanges const & changes() const { return changes_; }

    U64 med() const { return route_->med; }
    U64 localPref() const { return route_->localPref; }
    IpGenPrefix const & prefix() const { return route_->ipPrefix; }
    IpGenAddr const & nextHop() const { return route_->nextHop; }
    U32 pathLength() const { return route_->asPath.length(); }
    U32 originAs() const {
        bool known = false;
        return Routing::Bgp::originAs(route_->asPath, 0, known);
    }
    std::span<U64 const> community() const { return viewOf(route_->community); }
    Communities largeCommunity() const { return viewOf(route_->largeCommunity); }
    Communities extCommunity() const { return viewOf(route_->extCommunity); }

    void medIs(U64 value) { write(Attribute::med, changes_.med, value); }
    void localPrefIs(U64 value) { write(Attribute::localPref, changes_.localPref, value); }
    void originIs(U64 value) { write(Attribute::origin, changes_.origin, value); }
    template <typename Fill>
    void communityIs(std::size_t upTo, Fill fill) {
        changes_.mark(Attribute::community);
        fillSet(community_, upTo, fill);
        changes_.community = viewOf(community_);
    }
    template <typename Fill>
    void largeCommunityIs(std::size_t upTo, Fill fill) {
        changes_.mark(Attribute::largeCommunity);
        fillSet(largeCommunity_, upTo, fill);
        changes_.largeCommunity = viewOf(largeCommunity_);
    }
    template <typename Fill>
    void extCommunityIs(std::size_t upTo, Fill fill) {
        changes_.mark(Attribute::extCommunity);
        fillSet(extCommunity_, upTo, fill);
        changes_.extCommunity = viewOf(extCommunity_);
    }

private:
    void write(Attribute attribute, U64 & member, U64 value) {
        changes_.mark(attribute);
        member = value;
    }

    Agent::Route const * route_ = nullptr;
    Agent::RouteChanges changes_;
    // What the changes show.
    Agent::RouteIntSet community_;
    Agent::RouteCommunitySet largeCommunity_;
    Agent::RouteCommunitySet extCommunity_;
};

/// The route behind the virtual operations of a context. Every attribute is fetched once; sets go
/// through containers of the view's own.
class AccessorView {
public:
    AccessorView() : context_(makePtr<Agent::AgentContextBase>(nullptr, nullptr, nullptr)) {
        hide();
    }

    void routeIs(Agent::Route const & route) {
        static_cast<Agent::AgentContextBase &>(*context_).routeIs(route);
        communityFetched_ = false;
    }
    Agent::RouteChanges const & changes() const {
        return static_cast<Agent::AgentContextBase const &>(*context_).changes();
    }

    U64 med() const { return context_->medInput(); }
    U64 localPref() const { return context_->localPrefInput(); }
    IpGenPrefix prefix() const { return context_->ipPrefixInput(); }
    IpGenAddr nextHop() const { return context_->nextHopInput(); }
    U32 pathLength() { return Routing::Bgp::pathLength(path()); }
    U32 originAs() {
        bool known = false;
        return Routing::Bgp::originAs(path(), context_->localAs(), known);
    }
    std::span<U64 const> community() {
        if (!communityFetched_) {
            communityFetched_ = true;
            community_->clear();
            context_->communityInputPopulate(community_);
        }
        return community_->view();
    }
    Communities largeCommunity() {
        largeCommunity_->clear();
        context_->largeCommunityInputPopulate(largeCommunity_);
        return largeCommunity_->view();
    }
    Communities extCommunity() {
        extCommunity_->clear();
        context_->extCommunityInputPopulate(extCommunity_);
        return extCommunity_->view();
    }

    void medIs(U64 value) { context_->medIs(value); }
    void localPrefIs(U64 value) { context_->localPrefIs(value); }
    void originIs(U64 value) { context_->originIs(value); }
    template <typename Fill>
    void communityIs(std::size_t upTo, Fill fill) {
        fillSet(newCommunity_->values(), upTo, fill);
        context_->communityIs(newCommunity_);
    }
    template <typename Fill>
    void largeCommunityIs(std::size_t upTo, Fill fill) {
        fillSet(newLargeCommunity_->values(), upTo, fill);
        context_->largeCommunityIs(newLargeCommunity_);
    }
    template <typename Fill>
    void extCommunityIs(std::size_t upTo, Fill fill) {
        fillSet(newExtCommunity_->values(), upTo, fill);
        context_->extCommunityIs(newExtCommunity_);
    }

private:
    using IntSet = Ptr<Eval::U64SmallVector>;
    using CommunitySet = Ptr<Eval::CommunitySmallVector>;
    static constexpr auto reuse = Eval::ModifyFlag::reuseOnWrite;

    /// The compiler may not know of which class the context is.
    void hide() { asm volatile("" : "+m"(context_)); } // NOLINT(hicpp-no-assembler)
    Routing::Bgp::AspathContainerFromExisting const & path() {
        path_.clear();
        context_->asPathInputPopulate(&path_);
        return path_;
    }

    Ptr<Eval::EvalContext> context_;
    Routing::Bgp::AspathContainerFromExisting path_;
    bool communityFetched_ = false;
    IntSet community_ = Eval::u64SmallVectorFactory(reuse);
    CommunitySet largeCommunity_ = Eval::communitySmallVectorFactory(reuse);
    CommunitySet extCommunity_ = Eval::communitySmallVectorFactory(reuse);
    IntSet newCommunity_ = Eval::u64SmallVectorFactory(reuse);
    CommunitySet newLargeCommunity_ = Eval::communitySmallVectorFactory(reuse);
    CommunitySet newExtCommunity_ = Eval::communitySmallVectorFactory(reuse);
};

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
            p0<View>, p1<View>, p2<View>, p3<View>, p4<View>,
        };
        return std::make_unique<LoopRunner<HandStep<View>>>(functions[static_cast<U8>(policy)],
                                                            *hand_);
    }

private:
    std::shared_ptr<HandData const> hand_;
};

} // namespace

void addHandWritten(Contenders & contenders, PolicyData const & data) {
    auto const hand = std::make_shared<HandData const>(data);
    contenders.push_back(std::make_unique<HandContender<PlainView>>(limitName, hand));
    contenders.push_back(std::make_unique<HandContender<AccessorView>>(interfaceLimitName, hand));
}

} // namespace Qcf::Bench
