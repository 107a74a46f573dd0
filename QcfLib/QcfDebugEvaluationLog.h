#pragma once

#include "Platform/Framework/Ptr.h"
#include "Platform/Framework/Slab.h"
#include "Platform/Routing/EvaluationLogBase.h"
#include "QcfLib/EvalResult.h"

class RendererV2;

namespace Qcf::Debug {

/// One record of the debug log of an evaluation: a node's key and its result, and for a call the
/// callee's own chain. Records of one frame form a chain with rising keys, which owns them.
///
///     context->reset();
///     context->shouldLogEvalIs(true);
///     function->eval(context);
///     if (auto const log = context->evaluationLog()) { log->toJsonOnFd(1); }
///
/// Written by the evaluating thread, which appends while it evaluates; constant afterwards.
class EvaluationLog final : public Routing::Policy::EvaluationLogBase {
public:
    /// Identifies this engine's logs among those of other policy engines: "Qcf" in ASCII.
    static constexpr U32 policyTypeQcf = 0x516366;

    /// `functionCallLog` is null for all nodes but calls.
    EvaluationLog(U64 aetNodeKey, Eval::EvalResult const & result,
                  Ptr<Routing::Policy::EvaluationLogBase const> const & functionCallLog);
    /// Lets go of a chain link by link: it may be too long for one destructor within another.
    ~EvaluationLog() override;
    /// A record that nothing follows yet.
    static Ptr<EvaluationLog>
    EvaluationLogIs(U64 aetNodeKey, Eval::EvalResult const & result,
                    Ptr<Routing::Policy::EvaluationLogBase const> const & functionCallLog);

    /// As the node yielded it; of a call, after its callee's `return` was taken off.
    Eval::EvalResult const & result() const { return result_; }
    /// A callee's records are apart, in a chain of their own.
    U64 aetNodeKey() const { return aetNodeKey_; }
    /// The first record of the callee's frame; null where the callee logged nothing.
    Ptr<Routing::Policy::EvaluationLogBase const> const & functionCallLog() const {
        return functionCallLog_;
    }
    /// Null for the last one of the frame.
    Ptr<EvaluationLog> const & nextLog() const { return nextLog_; }
    /// For the context, which appends at the end.
    void nextLogIs(Ptr<EvaluationLog> nextLog) { nextLog_ = std::move(nextLog); }

    U32 policyType() const override { return policyTypeQcf; }
    /// This record alone, as an object.
    void toJsonImpl(RendererV2 * renderer) const;
    /// The chain from this record on, as the member "entries" of the renderer's open object.
    /// By loop over the chain; nested calls are written within their records.
    void toJson(RendererV2 * renderer) const override;
    /// The chain as a document with a line end. Waits for a descriptor that would block; throws
    /// std::system_error when it fails.
    void toJsonOnFd(unsigned fd) const override;

    // From a slab: a logged evaluation makes one a node.
    static void * operator new(std::size_t) { return Slab<EvaluationLog>::allocate(); }
    static void operator delete(void * memory) noexcept { Slab<EvaluationLog>::deallocate(memory); }

private:
    Eval::EvalResult result_;
    U64 aetNodeKey_;
    Ptr<Routing::Policy::EvaluationLogBase const> functionCallLog_;
    Ptr<EvaluationLog> nextLog_;
};

Ptr<EvaluationLog>
evaluationLogFactory(U64 aetNodeKey, Eval::EvalResult const & result,
                     Ptr<Routing::Policy::EvaluationLogBase const> const & functionCallLog);

} // namespace Qcf::Debug
