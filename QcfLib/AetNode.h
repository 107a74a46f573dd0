#pragma once

#include "Platform/Framework/Assert.h"
#include "Platform/Framework/DumpContext.h"
#include "Platform/Framework/Entity.h"
#include "Platform/Framework/Slab.h"
#include "Platform/Framework/Trace.h"
#include "Platform/Framework/Types.h"
#include "QcfLib/EvalResult.h"
#include "QcfLib/FunctionMetadata.h"
#include "QcfLib/NodeClass.h"
#include "QcfLib/TreeFacts.h"

#include <utility>

namespace Qcf::Eval {

/// What nodes only refer to: the headers of contexts and plans include this one.
class EvalContextBase;
class Lowering;
class StackFrameData_;
/// A frame as value nodes push their arguments onto it.
using StackFrameDataBase_ = StackFrameData_;

/// Trace messages of the engine: level 1 evaluation steps, level 2 sanity checks.
extern TraceFacility traceQcfEval;

/// Base of every node of an evaluation tree.
///
/// Nodes are immutable once built (whoever builds a literal may still set its links before it is
/// shared), counted, shared by any number of parents, as documents share equal values, and read by
/// any number of evaluating threads at once. Every class X has the creators
/// `X::XIs(key, fields...)` and `xFactory(key, fields...)`.
class AetNodeBase : public Entity {
public:
    explicit AetNodeBase(U64 aetNodeKey) : aetNodeKey_(aetNodeKey) {}

    /// The key under which the node is stored and published and stands in evaluation logs.
    /// Given by whoever builds the tree. A log keeps a record only where keys rise in the order of
    /// the text.
    U64 aetNodeKey() const { return aetNodeKey_; }

    /// What is known of the node's concrete class.
    NodeClass const & typeData() const override = 0;

    /// True when `other` is a node of the same class with equal content; keys do not count.
    virtual bool compare(PtrConst<AetNodeBase> const & other) const = 0;

    /// Structural hash: equal nodes have equal hashes within one process. Keys do not count. Two
    /// exceptions: a call counts its callee as an object, and a function keeps its first hash.
    virtual U32 hash(U32 seed) const = 0;

    /// What is known of the tree from this node down.
    TreeFacts const & treeFacts() const { return treeFacts_; }
    /// Its levels: nodes above each other, through references and calls; 1 for a leaf.
    U32 treeDepth() const { return treeFacts_.depth; }

protected:
    /// To be called by the constructors of nodes that have children, or effects of their own.
    /// Children that are null count nothing. A callee is a child as well: a call's facts are its
    /// function's.
    template <typename... Children>
    void standsOn(NodeEffects own, Children const &... children) {
        treeFacts_ =
            TreeFacts::over(own, {(children ? children->treeFacts() : TreeFacts::none())...});
    }

    /// Frees node by node what nobody else holds, so that no tree is too deep and no chain too long
    /// to be let go of.
    void lastUserGone() const override;

private:
    U64 aetNodeKey_;
    TreeFacts treeFacts_;
};

/// A node that evaluates to a result: statement, predicate, operator, control flow.
class Expression : public AetNodeBase {
public:
    /// A class that does not call `standsOn` itself counts as one that may change or end things,
    /// but reads no arguments.
    explicit Expression(U64 aetNodeKey) : AetNodeBase(aetNodeKey) {
        standsOn({.onlyReads = false});
    }

    /// Evaluates against the route of the context, which must not be null. Called by the thread
    /// that owns the context. A function is kept alive by the context as long as that holds values
    /// of its tree; any other node that is evaluated by itself must live until the next reset.
    /// Allocates nothing once a context has seen a few routes, and takes no lock.
    virtual EvalResult eval(Ptr<EvalContextBase> const & context) const = 0;

    /// Static check before use, against the names that the function declares; true when sane.
    virtual bool verifySanity(FunctionMetadata const & metadata) const;

    /// Prints the tree as source-like text. Lines begin with `indent` blanks.
    virtual void dumpState(PtrConst<DumpContext> const & dumpContext, U32 indent) const = 0;

    /// Says by which form a plan can run the node without asking it, at most one; nothing for a
    /// node that has to be evaluated as it stands. What it says must do what `eval` does.
    virtual void lower(Lowering & /*to*/) const {}
};

/// A node that holds or yields a typed value.
class StorageType : public AetNodeBase {
public:
    using AetNodeBase::AetNodeBase;

    /// True when the value comes, wholly or in part, from the arguments of the running function.
    virtual bool valueDependsOnStackFrameData() const { return treeFacts().looksIntoFrame; }

    /// Short text form.
    /// For dumps and traces.
    virtual String toStrep() const = 0;

    /// Pushes this value as the next argument of a call. Values without an argument type of their
    /// own are passed as references; asserts that such a value does not depend on the frame.
    virtual void pushFuncArgToStack(Ptr<EvalContextBase> const & context,
                                    StackFrameDataBase_ * frame) const;

    /// Static check before use, against the names that the function declares; true when sane.
    /// A value that names an outside list checks its slot here; the others have nothing to check.
    virtual bool verifySanity(FunctionMetadata const & metadata) const;
};

/// The node as one of that class; null when it is of another.
/// Two looks at memory and no search; a base class is no answer, ask `isKind` for those.
template <typename Node>
Node const * as(AetNodeBase const & node) {
    return &node.typeData() == &nodeClassOf<Node>() ? static_cast<Node const *>(&node) : nullptr;
}
/// Whether the node is of that very class.
template <typename Node>
bool is(AetNodeBase const & node) {
    return &node.typeData() == &nodeClassOf<Node>();
}

/// The node's class and key: "IntIs#12".
/// What texts name a node by; those of frames are read back by it.
String referenceText(AetNodeBase const & node);

/// Asserts that walking the tree from this node down does not take more stack than there is.
inline void assertWalkable(AetNodeBase const & node) {
    QCF_ASSERT_TEXT(node.treeDepth() <= deepestWalkedTree, "treeDepth() <= deepestWalkedTree");
}

} // namespace Qcf::Eval
