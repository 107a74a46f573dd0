#pragma once

#include "Agent/Evaluation/AgentContextGenerated.h"
#include "Lists/CommunityEdits.h"
#include "Lists/ListBinding.h"

namespace Qcf::Agent {

/// The agent's evaluation context: attributes and session facts of a route, and the agent's lists.
///
///     AgentContext context(bindLists(metadata, lists));
///     context.routeIs(route);
///     result = function->eval(contextPtr);
///     context.changes();
///
/// One object serves one thread for route after route; once it has seen the largest of them it
/// allocates nothing.
class AgentContext final : public AgentContextBase {
public:
    /// The lists as bindLists puts them; null matchers mean that there are none.
    explicit AgentContext(PtrConst<ExternalMatchersBase> const & matchers);
    ~AgentContext() override;

    // Facts of the route's session.
    bool isBgpOutbound() const override;
    U32 localAs() const override;
    bool peerConfed() const override;
    U32 vrfId() const override;

    bool matchAsPathAccessList(Routing::Bgp::AspathContainerFromExisting const * path,
                               U64 aetNodeKey,
                               PtrConst<AsPathListStatus> const & status) const override;

    bool matchCommList(PtrConst<Eval::U64SmallVector> const & set,
                       PtrConst<CommListStatus> const & status) const override;
    bool matchExactCommList(PtrConst<Eval::U64SmallVector> const & set,
                            PtrConst<CommListStatus> const & status) const override;
    IntSetPtr commAssignCommList(PtrConst<CommListStatus> const & status) override;
    IntSetPtr commAddCommList(IntSetPtr const & set,
                              PtrConst<CommListStatus> const & status) override;
    IntSetPtr commRemoveCommList(IntSetPtr const & set,
                                 PtrConst<CommListStatus> const & status) override;
    IntSetPtr commRetainCommList(IntSetPtr const & set,
                                 PtrConst<CommListStatus> const & status) override;

    bool matchExtCommList(PtrConst<Eval::CommunitySmallVector> const & set,
                          PtrConst<ExtCommListStatus> const & status) const override;
    bool matchExactExtCommList(PtrConst<Eval::CommunitySmallVector> const & set,
                               PtrConst<ExtCommListStatus> const & status) const override;
    CommunitySetPtr extCommAssignExtCommList(PtrConst<ExtCommListStatus> const & status) override;
    CommunitySetPtr extCommAddExtCommList(CommunitySetPtr const & set,
                                          PtrConst<ExtCommListStatus> const & status) override;
    CommunitySetPtr extCommRemoveExtCommList(CommunitySetPtr const & set,
                                             PtrConst<ExtCommListStatus> const & status) override;
    CommunitySetPtr extCommRetainExtCommList(CommunitySetPtr const & set,
                                             PtrConst<ExtCommListStatus> const & status) override;

    bool matchLargeCommList(PtrConst<Eval::CommunitySmallVector> const & set,
                            PtrConst<LargeCommListStatus> const & status) const override;
    bool matchExactLargeCommList(PtrConst<Eval::CommunitySmallVector> const & set,
                                 PtrConst<LargeCommListStatus> const & status) const override;
    CommunitySetPtr
    largeCommAssignLargeCommList(PtrConst<LargeCommListStatus> const & status) override;
    CommunitySetPtr
    largeCommAddLargeCommList(CommunitySetPtr const & set,
                              PtrConst<LargeCommListStatus> const & status) override;
    CommunitySetPtr
    largeCommRemoveLargeCommList(CommunitySetPtr const & set,
                                 PtrConst<LargeCommListStatus> const & status) override;
    CommunitySetPtr
    largeCommRetainLargeCommList(CommunitySetPtr const & set,
                                 PtrConst<LargeCommListStatus> const & status) override;

    /// Judges the route's prefix and the origin of its path as it came.
    bool matchRoaTable(U32 slot, U32 state) const override;

private:
    std::string_view pathText(Routing::Bgp::AspathContainerFromExisting const * path) const;

    Lists::PermittedSets<Eval::U64SmallVector> permittedInts_;
    Lists::PermittedSets<Eval::CommunitySmallVector> permittedCommunities_;
    // What patterns are searched in, kept for its storage.
    mutable String text_;
    /// The text of the path as the route of that number came.
    mutable String inputPathText_;
    mutable U64 inputPathRoute_ = 0;
};

} // namespace Qcf::Agent
