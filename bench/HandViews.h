#pragma once

#include "Agent/Evaluation/AgentContextGenerated.h"

/// Routes as hand-written policies see them, see HandWritten.h.
namespace Qcf::Bench {

/// Gives `fill` room for `upTo` values and cuts the set where it stopped.
template <typename Set, typename Fill>
void fillSet(Set & set, std::size_t upTo, Fill fill) {
    set.resize(upTo, boost::container::default_init);
    set.resize(static_cast<std::size_t>(fill(set.data()) - set.data()));
}

/// The path as patterns see it, in storage that is kept.
inline String const & textOf(Routing::Bgp::AsnVector const & path, String & text) {
    text.clear();
    Routing::Bgp::appendAsPathPatternText(text, path);
    return text;
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
    Routing::Bgp::AsnVector const & path() const { return route_->asPath.asns(); }
    String const & pathText() { return textOf(path(), text_); }
    std::span<U64 const> community() const { return Agent::viewOf(route_->community); }
    std::span<Acl::CommunityValue const> largeCommunity() const {
        return Agent::viewOf(route_->largeCommunity);
    }
    std::span<Acl::CommunityValue const> extCommunity() const {
        return Agent::viewOf(route_->extCommunity);
    }

    void medIs(U64 value) { write(Eval::ModifiableAttribute::med, changes_.med, value); }
    void localPrefIs(U64 value) {
        write(Eval::ModifiableAttribute::localPref, changes_.localPref, value);
    }
    void originIs(U64 value) { write(Eval::ModifiableAttribute::origin, changes_.origin, value); }
    template <typename Fill>
    void communityIs(std::size_t upTo, Fill fill) {
        changes_.mark(Eval::ModifiableAttribute::community);
        fillSet(community_, upTo, fill);
        changes_.community = Agent::viewOf(community_);
    }
    template <typename Fill>
    void largeCommunityIs(std::size_t upTo, Fill fill) {
        changes_.mark(Eval::ModifiableAttribute::largeCommunity);
        fillSet(largeCommunity_, upTo, fill);
        changes_.largeCommunity = Agent::viewOf(largeCommunity_);
    }
    template <typename Fill>
    void extCommunityIs(std::size_t upTo, Fill fill) {
        changes_.mark(Eval::ModifiableAttribute::extCommunity);
        fillSet(extCommunity_, upTo, fill);
        changes_.extCommunity = Agent::viewOf(extCommunity_);
    }

private:
    void write(Eval::ModifiableAttribute attribute, U64 & member, U64 value) {
        changes_.mark(attribute);
        member = value;
    }

    Agent::Route const * route_ = nullptr;
    Agent::RouteChanges changes_;
    String text_;
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
    U32 pathLength() { return Routing::Bgp::pathLength(fetchedPath()); }
    U32 originAs() {
        bool known = false;
        return Routing::Bgp::originAs(fetchedPath(), context_->localAs(), known);
    }
    Routing::Bgp::AsnVector const & path() { return fetchedPath().asns(); }
    String const & pathText() { return textOf(path(), text_); }
    std::span<U64 const> community() {
        if (!communityFetched_) {
            communityFetched_ = true;
            community_->clear();
            context_->communityInputPopulate(community_);
        }
        return community_->view();
    }
    std::span<Acl::CommunityValue const> largeCommunity() {
        largeCommunity_->clear();
        context_->largeCommunityInputPopulate(largeCommunity_);
        return largeCommunity_->view();
    }
    std::span<Acl::CommunityValue const> extCommunity() {
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
    Routing::Bgp::AspathContainerFromExisting const & fetchedPath() {
        path_.clear();
        context_->asPathInputPopulate(&path_);
        return path_;
    }

    Ptr<Eval::EvalContext> context_;
    Routing::Bgp::AspathContainerFromExisting path_;
    String text_;
    bool communityFetched_ = false;
    IntSet community_ = Eval::u64SmallVectorFactory(reuse);
    CommunitySet largeCommunity_ = Eval::communitySmallVectorFactory(reuse);
    CommunitySet extCommunity_ = Eval::communitySmallVectorFactory(reuse);
    IntSet newCommunity_ = Eval::u64SmallVectorFactory(reuse);
    CommunitySet newLargeCommunity_ = Eval::communitySmallVectorFactory(reuse);
    CommunitySet newExtCommunity_ = Eval::communitySmallVectorFactory(reuse);
};

} // namespace Qcf::Bench
