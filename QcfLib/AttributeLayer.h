#pragma once

#include "Platform/Framework/Assert.h"
#include "Platform/Framework/VirtualSlot.h"
#include "QcfLib/AttributeCacheGenerated.h"
#include "QcfLib/AttributeContent.h"
#include "QcfLib/EvalContextBase.h"

namespace Qcf::Eval {

class GeneratedEvalContext;

/// What the evaluation context does with a route's attributes, whichever they are: fetches them
/// from the agent when a node first asks, keeps what the function changes beside them,
/// and hands the changes back.
///
/// - Sets and paths are fetched at most once a route, into containers that are kept from route to
///   route. Scalars are read through the agent's operation every time.
/// - The agent sees no change before `flushModifiedAttributes`, and each changed attribute once.
/// - After the first routes nothing is allocated; no lock is taken and no shared count touched.
///
/// GeneratedEvalContext adds an accessor an attribute, EvalContext the frame, the log and the
/// lists; an agent derives from the latter. One thread uses a context at a time. A node reads and
/// writes through it like this:
///
///     EvalContext & c = evalContext(context);
///     U64 const med = c.medModified() ? c.attributeContentConst().med : c.medInput();
///     c.modify(ModifiableAttribute::med).med = med + 1;
class AttributeLayer : public EvalContextBase {
public:
    // What the function changed.

    /// By the flag alone: a field may hold what an earlier route left.
    bool isModified(ModifiableAttribute attribute) const {
        return (modifiedFlags_ & flagOf(attribute)) != 0;
    }
    /// The flags of all modified attributes, bit n for the n-th ModifiableAttribute.
    U32 modifiedFlags() const { return modifiedFlags_; }
    /// Marks an attribute modified and gives the place to put its value in.
    AttributeContent & modify(ModifiableAttribute attribute) { return modify(flagOf(attribute)); }
    /// The same for attributes that are given as a word of flags.
    AttributeContent & modify(U32 flags) {
        QCF_ASSERT_TEXT(attributeContent_, "nullptr != attributeContent");
        modifiedFlags_ |= flags;
        return *attributeContent_;
    }
    /// The changes; asserts that there is a place for them, as `modify` does.
    AttributeContent const & attributeContentConst() const {
        QCF_ASSERT_TEXT(attributeContent_, "nullptr != attributeContent");
        return *attributeContent_;
    }
    /// Null while it is detached.
    AttributeContent * attributeContentRawPtr() { return attributeContent_.get(); }

    /// Store and cache: Is gets or creates, Del detaches and returns. A context without them may be
    /// neither evaluated with nor reset. What is detached stays good by itself: stored sets are
    /// counted from there on.
    Ptr<AttributeContent> const & attributeContentIs();
    Ptr<AttributeContent> attributeContentDel();
    Ptr<QcfEvalContextCacheGenerated> const & cacheIs();
    Ptr<QcfEvalContextCacheGenerated> cacheDel();

    // The life of a route.

    /// Function calls that are open; 0 while the outermost function runs.
    /// A plan that inlined a callee does not raise it.
    U32 functionCallDepth() const { return functionCallDepth_; }
    /// For calls alone, each with its counterpart on every way out.
    void functionCallDepthInc(U32 n) { functionCallDepth_ += n; }
    void functionCallDepthDec(U32 n) { functionCallDepth_ -= n; }

    /// Forgets changes and fetched values, keeps all storage. Asserts that no call is open.
    /// Costs a few words unless sets were stored.
    void reset() override { forgetRoute(); }
    /// Hands each modified attribute once to its write-back operation, in flag order. Write-backs
    /// that the agent did not override are not called. Asserts that no call is open.
    /// The flags stay set until the reset: a second flush hands everything over again.
    void flushModifiedAttributes() {
        QCF_ASSERT(functionCallDepth_ == 0);
        if (modifiedFlags_ != 0) {
            writeBack();
        }
    }

protected:
    using Cache = QcfEvalContextCacheGenerated;
    using Input = Cache::Input;
    using Path = Routing::Bgp::AspathContainerFromExisting;

    /// Without changes, and with an empty cache.
    AttributeLayer(PtrConst<ExternalMatchersBase> externalMatchers,
                   Routing::Policy::Result_ * result);
    ~AttributeLayer() override;

    /// To be called by the constructor of the class that answers for an agent which knows nothing:
    /// what a deeper class puts in the place of these operations is the agent's.
    void defaultOperationsAre(VirtualSlots slots) { defaultOperations_ = slots; }

    /// What `reset` does, for derived classes to do in place.
    void forgetRoute() {
        QCF_ASSERT(functionCallDepth_ == 0);
        if ((modifiedFlags_ & AttributeContent::setFlags) != 0) {
            releaseModifiedSets();
        }
        modifiedFlags_ = 0;
        cache().populatedClear();
    }

    /// The cache; asserts that there is one.
    Cache & cache() const {
        QCF_ASSERT_TEXT(cache_, "nullptr != cache");
        return *cache_;
    }

    /// Fetches a set into its container in the cache, which must be there, and marks it populated.
    /// Without an operation of the agent's it is empty. Defined in Context/InputFetch.h.
    template <typename Set>
    Set * fetchSet(Input input, Ptr<Set> Cache::*slot, ModifyFlag modifyFlag,
                   void (AttributeOperations::*populate)(Ptr<Set> const &) const) const;
    /// The path in the cache, fetched unless it is populated.
    /// An exception of the agent's leaves it unpopulated, and the next access asks again.
    Path * fetchedPath(Input input, Path Cache::*slot) const;

private:
    friend struct TypeDataOf<GeneratedEvalContext>;

    /// Calls the write-backs of what is modified and overridden.
    void writeBack();
    /// Once a context: what a class overrides does not change.
    U32 findOverriddenWriteBacks() const;
    void releaseModifiedSets();

    /// Tells what an agent overrides; see VirtualSlot.h.
    VirtualSlots defaultOperations_ = nullptr;
    Ptr<AttributeContent> attributeContent_;
    Ptr<QcfEvalContextCacheGenerated> cache_;
    /// Raised and lowered by calls; 0 between routes.
    U32 functionCallDepth_ = 0;
    /// The one thing that says whether a field of the content counts.
    U32 modifiedFlags_ = 0;
    /// Write-backs to call, found out at the first flush; all bits set until then.
    U32 overriddenWriteBacks_ = ~U32{0};
};

} // namespace Qcf::Eval
