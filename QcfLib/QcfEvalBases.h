#pragma once

#include "QcfLib/AetNode.h"
#include "QcfLib/KeptPlan.h"
#include "QcfLib/QcfEvalAttributeSet.h"

namespace Qcf::Eval {

class Block;
class ExpressionList;
class Function;
class FunctionArgumentList;
class LogicalOperatorList;
class TriStateBool;

/// Base of Function: what a function is known by.
class FunctionBase : public Expression {
public:
    FunctionBase(U64 aetNodeKey, String funcName, FunctionMetadata metadata,
                 Routing::Policy::RouteMapFeatures features)
        : Expression(aetNodeKey),
          funcName_(std::move(funcName)),
          metadata_(std::move(metadata)),
          features_(std::move(features)) {}

    String const & funcName() const { return funcName_; }
    FunctionMetadata const & metadata() const { return metadata_; }
    Routing::Policy::RouteMapFeatures const & features() const { return features_; }

private:
    String funcName_;
    FunctionMetadata metadata_;
    Routing::Policy::RouteMapFeatures features_;
};

/// The hash that a function keeps once it was computed. Written by the publishing thread alone;
/// each change is published by the function's publisher.
class CachedHash {
public:
    explicit CachedHash(Entity const & owner) : owner_(owner) {}

    bool cachedHashValueSet() const { return cachedHashValueSet_; }
    U32 cachedHashValue() const { return cachedHashValue_; }
    void cachedHashValueSetIs(bool set) const;
    void cachedHashValueIs(U32 value) const;

private:
    Entity const & owner_;
    mutable bool cachedHashValueSet_ = false;
    mutable U32 cachedHashValue_ = 0;
};

/// What a function keeps beside its declared fields.
class FunctionState : public CachedHash, public KeptPlan {
public:
    using CachedHash::CachedHash;
};

/// Base of the operators between the operands of a LogicalOperatorExpression.
class LogicalOperator : public AetNodeBase {
public:
    using AetNodeBase::AetNodeBase;

    /// By the concrete class alone: an operator has no content.
    bool compare(PtrConst<AetNodeBase> const & other) const final;
    U32 hash(U32 seed) const final;

    /// "and", "or" or "??".
    virtual String toStrep() const = 0;
    /// Whether a chain of this kind ends with that operand's result.
    virtual bool shouldShortCircuit(EvalResult const & result) const = 0;
    /// The chain's result from that of its last operand: unknown becomes false.
    virtual EvalResult maybeCastUnknownToFalse(EvalResult const & result) const;
};

} // namespace Qcf::Eval
