#pragma once

#include "Agent/Evaluation/AgentContextGenerated.h"
#include "Lists/CommunityEdits.h"
#include "Lists/ListBinding.h"
#include "Lists/RoaTable.h"

#include <memory>

namespace Qcf::Agent {

/// The agent's evaluation context: attributes and session facts of a route, and the agent's lists.
///
///     auto const agent = makePtr<AgentContext>(bindLists(program.slots, lists.get()));
///     Ptr<Eval::EvalContextBase> const context = agent; // made once: the engine takes this type
///     for (Route const & route : routes) {
///         agent->routeIs(route);
///         Eval::EvalResult const result = function->eval(context);
///         agent->changes().eachChange(visitor);
///     }
///
/// One object serves one thread for route after route; once it has seen the largest of them, and
/// asked each kind of list, it allocates nothing. Functions, lists and matchers are shared with
/// other threads, but their counts are not touched for a route: what operations hand on is the
/// thread's own.
///
/// The route is never written: what a function changes is gathered in `changes()`, which hold until
/// the next route. Attributes that a route does not have read as the defaults of the table of
/// attributes.
class AgentContext final : public AgentContextBase {
public:
    /// The lists as bindLists puts them; null matchers mean that there are none. They are held as
    /// long as the context.
    explicit AgentContext(PtrConst<ExternalMatchersBase> const & matchers);
    /// The route need not be there any more.
    ~AgentContext() override;

    // Facts of the route's session.
    /// Whether the route is about to be sent: dynamic prefix lists are asked only then.
    bool isBgpOutbound() const override;
    /// The AS of this speaker in the session.
    U32 localAs() const override;
    /// Whether the peer is in the same confederation.
    bool peerConfed() const override;
    /// The VRF of the session.
    U32 vrfId() const override;

    /// Asks with the path as it is at the moment, changes included, and with the origin as the
    /// route came. A path that was not changed is made text at most once a route, however many
    /// lists are asked, and not at all where the lists' answers are remembered.
    bool matchAsPathAccessList(Routing::Bgp::AspathContainerFromExisting const * path,
                               U64 aetNodeKey,
                               PtrConst<AsPathListStatus> const & status) const override;

    /// The operations on the three kinds of communities: whether a list permits the set, alone or
    /// exactly, and what the set becomes by assigning, adding, removing and retaining. A null
    /// status is an empty list, a null set an empty set.
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

    /// Judges the route's prefix and the origin of its path as it came. `state` is the number of an
    /// OriginValidity. A slot without a table is an empty one. A table is asked once a route,
    /// however many states are asked for.
    bool matchRoaTable(U32 slot, U32 state) const override;

private:
    /// What patterns need not be searched for again: some 150 kB, each part made when first needed.
    struct Remembered;

    /// What the table of that slot says of the route.
    Lists::OriginValidity validityBy(U32 slot) const;
    /// The path as patterns see it; valid until the next question.
    std::string_view pathText(Routing::Bgp::AspathContainerFromExisting const * path) const;

    /// Sets that lists assign or add, copies of this thread: handing one on counts in memory of its
    /// own.
    Lists::PermittedSets<Eval::U64SmallVector> permittedInts_;
    Lists::PermittedSets<Eval::CommunitySmallVector> permittedCommunities_;
    /// What lists with patterns said of paths and communities, also those of other routes.
    std::unique_ptr<Remembered> remembered_;
    /// What patterns are searched in; the storage is kept from route to route.
    mutable String text_;
    /// The text of the path as the route of that number came.
    mutable String inputPathText_;
    /// The number of that route; 0 for none yet.
    mutable U64 inputPathRoute_ = 0;
    /// The validity of the route of that number by the table of that slot; 0 for none yet.
    mutable U64 validatedRoute_ = 0;
    mutable U32 validatedSlot_ = 0;
    mutable Lists::OriginValidity validity_ = Lists::OriginValidity::notFound;
};

} // namespace Qcf::Agent
