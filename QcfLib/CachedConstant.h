#pragma once

#include "Platform/Framework/Assert.h"
#include "Platform/Framework/Entity.h"
#include "Platform/Framework/Ptr.h"
#include "QcfLib/PlanEpoch.h"
#include "QcfLib/QcfEvalCollections.h"

#include <forward_list>

/// Values of literals that are computed once, when the tree is built.
///
///     auto const set = intSetImmediateFactory(key, elements, true);
///     cacheConstantValue(*set);                // QcfEval.h: builds the value from the elements
///     set->cachedGetVal()->contains(65000);    // what evaluations read
namespace Qcf::Eval {

/// The precomputed value of a literal list or set whose elements are all constants.
///
/// Whoever builds the tree stores it before the node is shared; evaluation never fills it. The node
/// holds it, and evaluations use it uncounted: a context keeps the function that it evaluated
/// alive, and with it the node.
template <typename Container>
class CachedConstant {
public:
    /// The node itself, as whose change a new value is published.
    explicit CachedConstant(Entity const & owner) : owner_(owner) {}
    CachedConstant(CachedConstant const &) = delete;
    CachedConstant & operator=(CachedConstant const &) = delete;

    /// Null while there is none: the value is then built at each evaluation. Uncounted; good as
    /// long as the node.
    Container const * cachedGetVal() const { return cachedGetVal_.get(); }

    /// Takes the value over, which every evaluation shares: asserts that it is `copyOnWrite`. Plans
    /// that were made with another value are not used any more; that value stays alive with the
    /// node, since a route that was evaluated may still have it. Belongs to the thread that builds
    /// the tree, while nobody evaluates it. Publishes the change.
    /// A null value takes it away again: the value is built at each evaluation from then on.
    void cachedGetValIs(Ptr<Container> value) const {
        QCF_ASSERT_TEXT(!value || value->modifyFlag() == ModifyFlag::copyOnWrite,
                        "a cached value is copyOnWrite");
        if (value == cachedGetVal_) {
            return;
        }
        if (cachedGetVal_) {
            replaced_.push_front(std::move(cachedGetVal_));
            PlanEpoch::next();
        }
        cachedGetVal_ = std::move(value);
        // Immutable from here on, so that a large one is worth an index.
        if (cachedGetVal_) {
            cachedGetVal_->indexIs();
        }
        owner_.publish({.attribute = "cachedGetVal", .subject = &owner_});
    }

private:
    /// Outlives this, which is a part of it.
    Entity const & owner_;
    // A node is constant to all but its builder, and the value is none of its content.
    mutable Ptr<Container> cachedGetVal_;
    /// Values that were here before; freed with the node.
    mutable std::forward_list<Ptr<Container>> replaced_;
};

} // namespace Qcf::Eval
