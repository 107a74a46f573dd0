#include "QcfLib/Nodes/NodeContract.h"
#include "QcfLib/QcfEvalGenerated.h"

/// The two hashes that follow a rule of their own.
namespace Qcf::Eval {

// A function keeps its first hash, and says so, since whoever publishes it publishes that, too.
U32 Function::hash(U32 seed) const {
    if (cachedHashValueSet()) {
        return cachedHashValue();
    }
    assertWalkable(*this);
    cachedHashValueSetIs(true);
    Hash hash(seed);
    hash.hashMix(typeData().typeCode);
    contract::mixChild(hash, body_.get());
    hash.hashMix(argumentsExpected_);
    cachedHashValueIs(hash.result());
    return cachedHashValue();
}

// The callee counts as an object, its name does not.
U32 FunctionCallExpression::hash(U32 seed) const {
    Hash hash(seed);
    hash.hashMix(typeData().typeCode);
    hash.hashMixIdentity(calleePtr_.get());
    contract::mixChild(hash, argListHead_.get());
    hash.hashMix(functionCallId_);
    return hash.result();
}

} // namespace Qcf::Eval
