#pragma once

#include "QcfLib/ContextCounters.h"
#include "QcfLib/QcfEvalContextGenerated.h"
#include "QcfLib/QcfEvalStackFrameData.h"

namespace Qcf::Eval {

class Function;

/// The context that an agent derives from.
///
/// One object serves one evaluating thread for route after route:
///
///     context->reset();
///     result = function->eval(context);   // writes changes back through the ...Is operations
///
/// The agent overrides the Input and InputPopulate operations of the attributes that it has, the
/// write-backs of those that it lets functions change, and the session facts and list operations of
/// EvalContextBase. Without any override every attribute reads as its default and every match
/// fails.
///
/// What the operations answer must not change within a route: where conditions only read, one
/// answer may serve several places of a function, and an observer may ask for operands once more.
/// But for observers an operation is never asked more often than the function says; asked in a
/// called function, it may find the caller's depth and frame.
///
/// A set handed to a write-back shows the route's values until the context evaluates again or is
/// reset, and may be the very values that the agent lent. Whoever copies the pointer keeps the set
/// alive, but not its values: those are to be copied if they are to last longer. A path handed to
/// `asPathIs` belongs to the context: it is to be copied before that returns.
/// Each thread has a context of its own; what contexts share are functions and external matchers.
///
///     class MyContext final : public Qcf::Eval::EvalContext {
///     public:
///         using EvalContext::EvalContext;
///         U64 medInput() const override { return route_->med; }
///         void medIs(U64 med) override { route_->med = med; }
///     };
///
class EvalContext : public GeneratedEvalContext {
public:
    /// All three may be null: empty tables of lists, no result record, no policy context. The
    /// result record is not owned and must outlive the context.
    /// Costs the containers of the store and the cache: contexts are kept, not made for each route.
    EvalContext(PtrConst<ExternalMatchersBase> externalMatchers, Routing::Policy::Result_ * result,
                Ptr<Routing::Policy::PolicyEvalContext> policyEvalContext);
    /// Lets go of stored sets before the functions whose constants they may be.
    ~EvalContext() override;

    TypeData const & typeData() const override;
    /// Of the frame that is current: after `eval` that of the outermost function.
    Ptr<Debug::EvaluationLog const> evaluationLog() const override;
    /// Ready for the next route; also switches logging off, but keeps an observer. Asserts that no
    /// call is open.
    /// Containers keep their storage for the next route.
    void reset() override { forgetRoute(); }

    // What an agent answers that overrides nothing: no session of note, and lists that match
    // nothing and whose edits leave the empty set. What each operation means is told in
    // EvalContextBase.

    bool isBgpOutbound() const override { return false; }
    U32 localAs() const override { return 0; }
    bool peerConfed() const override { return false; }
    U32 vrfId() const override { return noVrf; }
    EvalResult setOverlayIndex() override { return EvalResult::fromBoolWithReturn(false); }
    bool matchAsPathAccessList(Routing::Bgp::AspathContainerFromExisting const * path,
                               U64 aetNodeKey,
                               PtrConst<AsPathListStatus> const & status) const override;
    bool matchCommList(PtrConst<U64SmallVector> const & set,
                       PtrConst<CommListStatus> const & status) const override;
    bool matchExactCommList(PtrConst<U64SmallVector> const & set,
                            PtrConst<CommListStatus> const & status) const override;
    IntSetPtr commAssignCommList(PtrConst<CommListStatus> const & status) override;
    IntSetPtr commAddCommList(IntSetPtr const & set,
                              PtrConst<CommListStatus> const & status) override;
    IntSetPtr commRemoveCommList(IntSetPtr const & set,
                                 PtrConst<CommListStatus> const & status) override;
    IntSetPtr commRetainCommList(IntSetPtr const & set,
                                 PtrConst<CommListStatus> const & status) override;
    bool matchExtCommList(PtrConst<CommunitySmallVector> const & set,
                          PtrConst<ExtCommListStatus> const & status) const override;
    bool matchExactExtCommList(PtrConst<CommunitySmallVector> const & set,
                               PtrConst<ExtCommListStatus> const & status) const override;
    CommunitySetPtr extCommAssignExtCommList(PtrConst<ExtCommListStatus> const & status) override;
    CommunitySetPtr extCommAddExtCommList(CommunitySetPtr const & set,
                                          PtrConst<ExtCommListStatus> const & status) override;
    CommunitySetPtr extCommRemoveExtCommList(CommunitySetPtr const & set,
                                             PtrConst<ExtCommListStatus> const & status) override;
    CommunitySetPtr extCommRetainExtCommList(CommunitySetPtr const & set,
                                             PtrConst<ExtCommListStatus> const & status) override;
    bool matchLargeCommList(PtrConst<CommunitySmallVector> const & set,
                            PtrConst<LargeCommListStatus> const & status) const override;
    bool matchExactLargeCommList(PtrConst<CommunitySmallVector> const & set,
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
    // False for every slot.
    bool matchRoaTable(U32 slot, U32 state) const override;

    // What follows is for nodes while they are evaluated.

    /// The frame of the function that runs. Asserts that a call's frame is current exactly while a
    /// call is open.
    /// Belongs to the context or to the call; good until that returns.
    StackFrameData_ * stackFrameDataRawPtr();
    StackFrameData_ const * stackFrameDataRawPtrConst() const;
    /// Makes a frame current; the top-level frame only while no call is open.
    void stackFrameDataIs(StackFrameData_ * frame);
    /// Puts a call's frame in place, or null to make the top-level one current again.
    /// Unchecked: a call restores with it what it found.
    void stackFrameDataFromCallerIs(StackFrameData_ * frame) { stackFrameDataFromCaller_ = frame; }

    /// The current frame's arguments of one type, in the order in which the caller pushed them;
    /// asserts that there are any. Good until the frame changes.
    /// Whoever reads at a position checks it against their number.
    AetNodePtrArgumentVector const * aetNodePtrArgValues() const;
    BandwidthTypeArgumentVector const * bandwidthTypeArgValues() const;
    IntTypeArgumentVector const * intTypeArgValues() const;
    PrefixListTypeArgumentVector const * prefixListTypeArgValues() const;
    TriStateBoolTypeArgumentVector const * triStateBoolTypeArgValues() const;

    // The debug log: one record a node that was evaluated, in the order of the text.

    /// Append to the current frame's log; a record whose key does not rise is dropped. Assert that
    /// logging is on.
    /// Rising keys leave each node one record in a frame, however often it was walked.
    void addLogToList(Ptr<Debug::EvaluationLog> const & record);
    /// These two make the record themselves; of a call's log the callee's chain is part.
    void log(U64 aetNodeKey, EvalResult const & result);
    void logFunctionCall(U64 aetNodeKey, EvalResult const & result,
                         Ptr<Routing::Policy::EvaluationLogBase const> const & functionCallLog);

    /// As it was given to the constructor.
    /// The engine never looks into it: it is there for the agent's own operations.
    Ptr<Routing::Policy::PolicyEvalContext> const & policyEvalContext() const {
        return policyEvalContext_;
    }
    /// Whether the function asked for the agent's own next hop; for the agent to read after `eval`.
    bool nextHopSetToSelf() const { return nextHopSetToSelf_; }
    /// For the node that asks for it; cleared by the next reset.
    void nextHopSetToSelfIs(bool nextHopSetToSelf) { nextHopSetToSelf_ = nextHopSetToSelf; }

    /// Buffers lent to set operations; their storage stays from route to route.
    /// One operation uses them at a time; what they hold afterwards is of no meaning.
    U64Buffer & intSetScratch() { return intSetScratch_; }
    CommunityBuffer & communitySetScratch() { return communitySetScratch_; }

    /// What counting plans count on this context; a reset keeps it.
    ContextCounters & counters() { return counters_; }

    /// Keeps a function alive until another is evaluated; if it stored values, which may be
    /// constants of its tree, until the reset that follows. Called by the outermost function.
    /// Another route by the same function costs a comparison of two pointers.
    void evaluatedFunctionIs(Function const & function) {
        if (!isEvaluatedFunction(function)) {
            keepFunction(function);
        }
    }
    /// Whether it is the one that was evaluated last.
    /// Then everything that a first evaluation has to see to was seen to.
    bool isEvaluatedFunction(Function const & function) const {
        return &function == currentFunction_;
    }

    /// What `vrfId` answers outside any VRF.
    static constexpr U32 noVrf = 0xffffff;

protected:
    /// What `reset` does, for derived classes to do in place.
    /// Not virtual, so that the classes' parts become one piece of code on the way of each route.
    void forgetRoute() {
        nextHopSetToSelf_ = false;
        stackFrameDataFromCaller_ = nullptr;
        // Only a logged evaluation, or somebody who sets the frame, leaves anything there.
        if (stackFrameDataFromPOA_.touched()) [[unlikely]] {
            clearFrame();
        }
        shouldLogEvalIs(false);
        intSetScratch_.clear();
        communitySetScratch_.clear();
        GeneratedEvalContext::forgetRoute();
        if (evaluatedFunctions_.size() > 1) [[unlikely]] {
            forgetEarlierFunctions();
        }
    }

private:
    friend struct TypeDataOf<EvalContext>;

    /// Apart from what every route goes through; so is what follows.
    void keepFunction(Function const & function);
    void forgetEarlierFunctions();
    void clearFrame();

    /// Null where the agent gave none.
    Ptr<Routing::Policy::PolicyEvalContext> policyEvalContext_;
    /// Null while the outermost function runs. Frames of calls are the calls' own.
    StackFrameData_ * stackFrameDataFromCaller_ = nullptr;
    /// The outermost function's frame, with its part of the log.
    StackFrameData_ stackFrameDataFromPOA_;
    /// Not an attribute: no write-back tells of it.
    bool nextHopSetToSelf_ = false;
    /// The last of those that are kept; null while one is put in.
    Function const * currentFunction_ = nullptr;
    /// More than one only where several were evaluated without a reset.
    boost::container::small_vector<PtrConst<Function>, 2> evaluatedFunctions_;
    /// One for each type of values, since an operation needs one at most.
    U64Buffer intSetScratch_;
    CommunityBuffer communitySetScratch_;
    ContextCounters counters_;
};

/// The context that an EvalContextBase always is: nodes are handed the interface, and get at frame,
/// log and store through this. Costs nothing.
/// There is no check: no class derives from EvalContextBase but through EvalContext.
inline EvalContext & evalContext(Ptr<EvalContextBase> const & context) {
    return static_cast<EvalContext &>(*context);
}
inline EvalContext const & evalContext(Ptr<EvalContextBase const> const & context) {
    return static_cast<EvalContext const &>(*context);
}

/// The scratch buffer for sets of that type.
/// Chosen by the pointer's type, which may be null: templates over both sets need no names.
inline U64Buffer & setScratch(EvalContext & context, U64SmallVector const * /*type*/) {
    return context.intSetScratch();
}
inline CommunityBuffer & setScratch(EvalContext & context, CommunitySmallVector const * /*type*/) {
    return context.communitySetScratch();
}

} // namespace Qcf::Eval
