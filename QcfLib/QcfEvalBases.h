#pragma once

#include "QcfLib/AetNode.h"
#include "QcfLib/KeptPlan.h"
#include "QcfLib/QcfEvalAttributeSet.h"

/// The bases of functions and of logical operators: what the classes of QcfEval.h share beyond
/// being nodes. Compilers of policies make the concrete classes by their creators; these bases are
/// for who holds a function without caring how it was made.
namespace Qcf::Eval {

class Block;
class ExpressionList;
class Function;
class FunctionArgumentList;
class LogicalOperatorList;
class TriStateBool;

/// Base of Function: what a function is known by, and what it needs from outside. A published store
/// holds functions as this type.
class FunctionBase : public Expression {
public:
    /// Takes everything over. The key is that of the function's node.
    FunctionBase(U64 aetNodeKey, String funcName, FunctionMetadata metadata,
                 Routing::Policy::RouteMapFeatures features)
        : Expression(aetNodeKey),
          funcName_(std::move(funcName)),
          metadata_(std::move(metadata)),
          features_(std::move(features)) {}

    /// The name under which it is published and called.
    String const & funcName() const { return funcName_; }
    /// The outside lists that its tree names, by kind, each with its slot.
    /// What the sanity check compares nodes with, and what an agent fills its tables of lists by.
    FunctionMetadata const & metadata() const { return metadata_; }
    /// What it asks of a host's route maps; told in dumps, of no meaning to evaluation.
    Routing::Policy::RouteMapFeatures const & features() const { return features_; }

private:
    String funcName_;
    FunctionMetadata metadata_;
    Routing::Policy::RouteMapFeatures features_;
};

/// The hash that a function keeps once it was computed. Written by the publishing thread alone;
/// each change is published by the function's publisher.
/// Computed with the first seed that was asked for, whatever others ask later.
class CachedHash {
public:
    /// The function itself, as whose change a hash is published.
    explicit CachedHash(Entity const & owner) : owner_(owner) {}

    /// Whether there is one; a mirrored copy says so before it has the value.
    bool cachedHashValueSet() const { return cachedHashValueSet_; }
    /// 0 until one was set.
    U32 cachedHashValue() const { return cachedHashValue_; }
    /// Both publish a change, and nothing when there is none.
    /// For the function's first hash, and for mirrors, which set what they are told.
    void cachedHashValueSetIs(bool set) const;
    void cachedHashValueIs(U32 value) const;

private:
    Entity const & owner_;
    // A function is constant to all who hold it, and the hash is none of its content.
    mutable bool cachedHashValueSet_ = false;
    mutable U32 cachedHashValue_ = 0;
};

/// What a function keeps beside its declared fields: neither is part of its content, so that equal
/// functions may differ in both.
/// Both may come to be after the function was shared, by const operations.
class FunctionState : public CachedHash, public KeptPlan {
public:
    using CachedHash::CachedHash;
};

/// Base of the operators between the operands of a LogicalOperatorExpression: `and`, `or` and `??`.
/// A chain has operators of one kind; the first one decides, the others stand for themselves in
/// logs and dumps.
///
///     a and b     ends with the first operand that is not true
///     a or b      ends with the first one that is true
///     a ?? b      ends with the first one that is not unknown, and may itself be unknown
///
class LogicalOperator : public AetNodeBase {
public:
    using AetNodeBase::AetNodeBase;

    /// By the concrete class alone: an operator has no content.
    bool compare(PtrConst<AetNodeBase> const & other) const final;
    // Final, so that no operator can have content that these would overlook.
    U32 hash(U32 seed) const final;

    /// "and", "or" or "??".
    /// As it stands between two operands of a dump.
    virtual String toStrep() const = 0;
    /// Whether a chain of this kind ends with that operand's result.
    /// Asked of the operands in turn, so that those behind are not evaluated.
    virtual bool shouldShortCircuit(EvalResult const & result) const = 0;
    /// The chain's result from that of its last operand: unknown becomes false.
    virtual EvalResult maybeCastUnknownToFalse(EvalResult const & result) const;
};

} // namespace Qcf::Eval
