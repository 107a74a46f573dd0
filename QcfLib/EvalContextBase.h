#pragma once

#include "QcfLib/AttributeOperationsGenerated.h"
#include "QcfLib/EvalResult.h"
#include "QcfLib/ExternalMatchers.h"

namespace Qcf::Eval {

class EvaluationObserver;

/// What every node receives to evaluate against: the interface of all context classes. It knows the
/// agent's named lists, the caller's policy result record, and who looks on.
///
/// Its table of operations is the engine's: log and reset, the attributes, the facts of the
/// session, the agent's lists. Engines and agents that are built apart agree on the order.
/// GeneratedEvalContext answers for the attributes and EvalContext for the rest, each as if the
/// agent knew nothing; an agent derives from EvalContext and overrides what it has:
///
///     U32 MyContext::localAs() const { return session_->localAs; }
///     bool MyContext::matchCommList(PtrConst<U64SmallVector> const & set,
///                                   PtrConst<CommListStatus> const & status) const {
///         return status && static_cast<MyList const &>(*status).matches(set);
///     }
///
/// All operations are called by the thread that evaluates, and only while it does. One that throws
/// ends the evaluation: the exception reaches the agent's call of `eval`, the frames and the call
/// depth are as before, and after a reset the context is as good as new. Operations get sets and
/// statuses by reference: what they keep they copy.
class EvalContextBase : public AttributeOperations {
public:
    // What the agent's lists are known as to operations; what they are made of is the agent's.
    using AsPathListStatus = Routing::RouteMap::AsPathListStatus;
    using CommListStatus = Routing::RouteMap::StandardCommListStatus;
    using ExtCommListStatus = Routing::RouteMap::ExtCommListStatus;
    using LargeCommListStatus = Routing::RouteMap::LargeCommListStatus;
    using IntSetPtr = Ptr<U64SmallVector>;
    using CommunitySetPtr = Ptr<CommunitySmallVector>;

    /// Null matchers mean that every table is empty. The result record is not owned; it may be
    /// null.
    EvalContextBase(PtrConst<ExternalMatchersBase> externalMatchers,
                    Routing::Policy::Result_ * result);

    /// By the nearest base with a record: an agent's class needs none.
    TypeData const & typeData() const override;
    Ptr<Debug::EvaluationLog const> evaluationLog() const override { return nullptr; }

    // Facts of the session that the route is processed in. They must not change within a route.

    /// Whether the route is about to be sent to a BGP peer: guards dynamic prefix lists and
    /// next-hop-self.
    virtual bool isBgpOutbound() const = 0;
    /// The local AS number, which is also the origin of a path that names none.
    virtual U32 localAs() const = 0;
    /// Whether the peer is in the same confederation.
    virtual bool peerConfed() const = 0;
    /// EvalContext::noVrf outside any VRF.
    virtual U32 vrfId() const = 0;
    /// Gives an EVPN IP-prefix route an overlay index; answers whether it did.
    virtual EvalResult setOverlayIndex() = 0;

    // The agent's lists. A null set stands for the empty set, in arguments and in results; the
    // status may be null. Edits get the current set and return the new one. They may overwrite the
    // set that they get only if it is `reuseOnWrite`; else they return it unchanged, or another. A
    // set that the agent keeps must be `copyOnWrite` when it is returned: the engine may overwrite
    // any other.

    /// Whether the list permits the path; `aetNodeKey` is that of the node that asks.
    /// The key lets an agent keep by node what it found out.
    virtual bool matchAsPathAccessList(Routing::Bgp::AspathContainerFromExisting const * path,
                                       U64 aetNodeKey,
                                       PtrConst<AsPathListStatus> const & status) const = 0;

    // Of standard communities: whether the list matches a set, exactly; the set that it names; a
    // set with what it names added, with what it matches removed, or with nothing else retained.
    // Which values a list matches is the agent's to say.
    virtual bool matchCommList(PtrConst<U64SmallVector> const & set,
                               PtrConst<CommListStatus> const & status) const = 0;
    virtual bool matchExactCommList(PtrConst<U64SmallVector> const & set,
                                    PtrConst<CommListStatus> const & status) const = 0;
    virtual IntSetPtr commAssignCommList(PtrConst<CommListStatus> const & status) = 0;
    virtual IntSetPtr commAddCommList(IntSetPtr const & set,
                                      PtrConst<CommListStatus> const & status) = 0;
    virtual IntSetPtr commRemoveCommList(IntSetPtr const & set,
                                         PtrConst<CommListStatus> const & status) = 0;
    virtual IntSetPtr commRetainCommList(IntSetPtr const & set,
                                         PtrConst<CommListStatus> const & status) = 0;

    // The same of extended communities, by their kind of list.
    virtual bool matchExtCommList(PtrConst<CommunitySmallVector> const & set,
                                  PtrConst<ExtCommListStatus> const & status) const = 0;
    virtual bool matchExactExtCommList(PtrConst<CommunitySmallVector> const & set,
                                       PtrConst<ExtCommListStatus> const & status) const = 0;
    virtual CommunitySetPtr
    extCommAssignExtCommList(PtrConst<ExtCommListStatus> const & status) = 0;
    virtual CommunitySetPtr extCommAddExtCommList(CommunitySetPtr const & set,
                                                  PtrConst<ExtCommListStatus> const & status) = 0;
    virtual CommunitySetPtr
    extCommRemoveExtCommList(CommunitySetPtr const & set,
                             PtrConst<ExtCommListStatus> const & status) = 0;
    virtual CommunitySetPtr
    extCommRetainExtCommList(CommunitySetPtr const & set,
                             PtrConst<ExtCommListStatus> const & status) = 0;

    // The same of large communities.
    virtual bool matchLargeCommList(PtrConst<CommunitySmallVector> const & set,
                                    PtrConst<LargeCommListStatus> const & status) const = 0;
    virtual bool matchExactLargeCommList(PtrConst<CommunitySmallVector> const & set,
                                         PtrConst<LargeCommListStatus> const & status) const = 0;
    virtual CommunitySetPtr
    largeCommAssignLargeCommList(PtrConst<LargeCommListStatus> const & status) = 0;
    virtual CommunitySetPtr
    largeCommAddLargeCommList(CommunitySetPtr const & set,
                              PtrConst<LargeCommListStatus> const & status) = 0;
    virtual CommunitySetPtr
    largeCommRemoveLargeCommList(CommunitySetPtr const & set,
                                 PtrConst<LargeCommListStatus> const & status) = 0;
    virtual CommunitySetPtr
    largeCommRetainLargeCommList(CommunitySetPtr const & set,
                                 PtrConst<LargeCommListStatus> const & status) = 0;
    /// Whether the route's origin is in that state by the ROA table of that slot.
    /// The slot is handed over as the node has it: the engine looks nothing up.
    virtual bool matchRoaTable(U32 slot, U32 state) const = 0;

    // What it was made with, and who looks on: the log and an observer.

    /// Whether evaluation writes a log, which costs: a record a node.
    bool shouldLogEval() const { return (watches_ & logs) != 0; }
    /// Asks for a log; to be set after each reset, which clears it.
    void shouldLogEvalIs(bool shouldLogEval) { watchIs(logs, shouldLogEval); }

    /// Who is told of each node that is evaluated; null for nobody, as at the start.
    EvaluationObserver * evaluationObserver() const { return evaluationObserver_; }
    /// Not owned; must stay until another takes its place. To be set between evaluations. A reset
    /// keeps it: an observer is there for route after route, while a log is that of one.
    void evaluationObserverIs(EvaluationObserver * observer) {
        evaluationObserver_ = observer;
        watchIs(observes, observer != nullptr);
    }

    /// Whether anybody looks on: then evaluations walk the tree.
    bool isWatched() const { return watches_ != 0; }

    /// Never null.
    PtrConst<ExternalMatchersBase> const & externalMatchers() const { return externalMatchers_; }
    /// The caller's record, as it was given.
    Routing::Policy::Result_ * result() const { return result_; }

private:
    static constexpr U8 logs = 1;
    static constexpr U8 observes = 2;
    void watchIs(U8 watch, bool on) {
        watches_ = static_cast<U8>(on ? watches_ | watch : watches_ & ~watch);
    }

    // One byte, so that one look tells whether there is anybody. Asked at each node that is walked,
    // but not by the steps of a plan.
    U8 watches_ = 0;
    // Both stay the same for the context's life.
    PtrConst<ExternalMatchersBase> externalMatchers_;
    Routing::Policy::Result_ * result_;
    EvaluationObserver * evaluationObserver_ = nullptr;
};

} // namespace Qcf::Eval
