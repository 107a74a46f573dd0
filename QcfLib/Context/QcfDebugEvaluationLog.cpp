#include "QcfLib/QcfDebugEvaluationLog.h"

#include "Platform/Render/NonBlockingCliTxnBuffer.h"
#include "Platform/Render/RendererV2.h"

/// The debug log's records and their text as JSON. What is logged when is decided by the context
/// and the walk.
namespace Qcf::Debug {

EvaluationLog::EvaluationLog(U64 aetNodeKey, Eval::EvalResult const & result,
                             Ptr<Routing::Policy::EvaluationLogBase const> const & functionCallLog)
    : result_(result), aetNodeKey_(aetNodeKey), functionCallLog_(functionCallLog) {}

EvaluationLog::~EvaluationLog() {
    // A chain may be long: let go of it link by link.
    // Where somebody else holds a link, the rest is theirs.
    while (nextLog_ && nextLog_->refCount() == 1) {
        Ptr<EvaluationLog> behind = std::move(nextLog_->nextLog_);
        nextLog_ = std::move(behind);
    }
}

Ptr<EvaluationLog> EvaluationLog::EvaluationLogIs(
    U64 aetNodeKey, Eval::EvalResult const & result,
    Ptr<Routing::Policy::EvaluationLogBase const> const & functionCallLog) {
    return makePtr<EvaluationLog>(aetNodeKey, result, functionCallLog);
}
Ptr<EvaluationLog>
evaluationLogFactory(U64 aetNodeKey, Eval::EvalResult const & result,
                     Ptr<Routing::Policy::EvaluationLogBase const> const & functionCallLog) {
    return makePtr<EvaluationLog>(aetNodeKey, result, functionCallLog);
}

void EvaluationLog::toJsonImpl(RendererV2 * renderer) const {
    renderer->beginObject();
    // Names and order are a settled form.
    renderer->key("aetNodeKey");
    renderer->value(aetNodeKey_);
    renderer->key("result");
    renderer->value(Eval::toString(result_.retVal()));
    renderer->key("termination");
    renderer->value(Eval::toString(result_.termination()));
    // Left out where nothing was called, or the callee logged nothing.
    if (functionCallLog_) {
        renderer->key("functionCallLog");
        renderer->beginObject();
        functionCallLog_->toJson(renderer);
        renderer->endObject();
    }
    renderer->endObject();
}

void EvaluationLog::toJson(RendererV2 * renderer) const {
    renderer->key("entries");
    renderer->beginArray();
    for (EvaluationLog const * record = this; record != nullptr; record = record->nextLog_.get()) {
        record->toJsonImpl(renderer);
    }
    renderer->endArray();
}

void EvaluationLog::toJsonOnFd(unsigned fd) const {
    // The renderer has to end before its text is complete.
    NonBlockingCliTxnBuffer buffer;
    {
        RendererV2 renderer(buffer);
        renderer.beginObject();
        toJson(&renderer);
        renderer.endObject();
    }
    // One document a line, for readers that go line by line.
    buffer.append("\n");
    buffer.flush(static_cast<int>(fd));
}

} // namespace Qcf::Debug
