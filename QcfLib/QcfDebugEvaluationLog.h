#pragma once

#include "Platform/Framework/Ptr.h"
#include "Platform/Framework/Slab.h"
#include "Platform/Routing/EvaluationLogBase.h"
#include "QcfLib/EvalResult.h"

class RendererV2;

namespace Qcf::Debug {

/// One record of the debug log of an evaluation: a node's key and its result, and for a call the
/// callee's own chain. Records of one frame form a chain with rising keys, which owns them.
class EvaluationLog final : public Routing::Policy::EvaluationLogBase {
public:
    /// Identifies this engine's logs among those of other policy engines: "Qcf" in ASCII.
    static constexpr U32 policyTypeQcf = 0x516366;

    EvaluationLog(U64 aetNodeKey, Eval::EvalResult const & result,
                  Ptr<Routing::Policy::EvaluationLogBase const> const & functionCallLog);
    ~EvaluationLog() override;
    static Ptr<EvaluationLog>
    EvaluationLogIs(U64 aetNodeKey, Eval::EvalResult const & result,
                    Ptr<Routing::Policy::EvaluationLogBase const> const & functionCallLog);

    Eval::EvalResult const & result() const { return result_; }
    U64 aetNodeKey() const { return aetNodeKey_; }
    Ptr<Routing::Policy::EvaluationLogBase const> const & functionCallLog() const {
        return functionCallLog_;
    }
    Ptr<EvaluationLog> const & nextLog() const { return nextLog_; }
    void nextLogIs(Ptr<EvaluationLog> nextLog) { nextLog_ = std::move(nextLog); }

    U32 policyType() const override { return policyTypeQcf; }
    /// This record alone, as an object.
    void toJsonImpl(RendererV2 * renderer) const;
    /// The chain from this record on, as the member "entries" of the renderer's open object.
    void toJson(RendererV2 * renderer) const override;
    /// The chain as a document with a line end. Waits for a descriptor that would block; throws
    /// std::system_error when it fails.
    void toJsonOnFd(unsigned fd) const override;

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
