#include "QcfLib/Nodes/NodeTexts.h"
#include "QcfLib/QcfEval.h"

#include <algorithm>

/// Lists and sets written in a function, turned into containers.
namespace Qcf::Eval {

namespace {

/// Elements are 32 bits wide, as communities and AS numbers are: larger ones become the largest,
/// negative ones zero.
constexpr U64 largestElement = 0xFFFFFFFF;

void fill(U64UnsortedSmallVector & list, IntLinkedList const * link,
          Ptr<EvalContextBase const> const & context) {
    for (; link != nullptr; link = link->next().get()) {
        bool const negative = link->entry()->negative(context);
        U64 const value = link->entry()->getVal(context);
        list.insert(negative ? 0 : std::min(value, largestElement));
    }
}

void fill(U64SmallVector & set, IntLinkedList const * link,
          Ptr<EvalContextBase const> const & context) {
    for (; link != nullptr; link = link->next().get()) {
        bool const negative = link->entry()->negative(context);
        U64 const value = link->entry()->getVal(context);
        set.insert(negative ? 0 : std::min(value, largestElement));
    }
    set.normalize();
}

void fill(CommunitySmallVector & set, CommunityLinkedList const * link,
          Ptr<EvalContextBase const> const & context) {
    for (; link != nullptr; link = link->next().get()) {
        set.insert(link->entry()->getVal(context));
    }
    set.normalize();
}

/// A value that is to be kept is shared by every evaluation; one that is not belongs to whoever
/// asked.
template <typename Container, typename Immediate>
Ptr<Container> build(Immediate const & node, Ptr<EvalContextBase const> const & context) {
    auto const flag = node.cachable() ? ModifyFlag::copyOnWrite : ModifyFlag::reuseOnWrite;
    auto container = makePtr<Container>(flag);
    fill(*container, node.head().get(), context);
    return container;
}

/// Nothing in the brackets is null and not an empty container: both mean the empty set.
template <typename Container, typename Immediate>
Container const * lend(Immediate const & node, Ptr<EvalContextBase const> const & context,
                       PtrConst<Container> & fresh) {
    if (!node.head()) {
        return nullptr;
    }
    if (auto const * const cached = node.cachedGetVal()) {
        return cached;
    }
    fresh = build<Container>(node, context);
    return fresh.get();
}

/// Whether all elements are values that need no context, so that the literal can be built before
/// any route is seen.
template <typename Link>
bool allConstant(Link const * link) {
    for (; link != nullptr; link = link->next().get()) {
        if (!link->entry()->typeData().facts.isConstant) {
            return false;
        }
    }
    return true;
}

template <typename Container, typename Immediate>
void cache(Immediate const & node) {
    // A tree from outside may claim more than it can keep.
    if (node.cachable() && node.head() && node.cachedGetVal() == nullptr &&
        allConstant(node.head().get())) {
        node.cachedGetValIs(build<Container>(node, nullptr));
    }
}

} // namespace

U64UnsortedSmallVector const *
IntListImmediate::lendVal(Ptr<EvalContextBase const> const & context,
                          PtrConst<U64UnsortedSmallVector> & fresh) const {
    return lend(*this, context, fresh);
}

PtrConst<U64UnsortedSmallVector>
IntListImmediate::getVal(Ptr<EvalContextBase const> const & context) const {
    PtrConst<U64UnsortedSmallVector> fresh;
    auto const * const lent = lendVal(context, fresh);
    return fresh ? std::move(fresh) : PtrConst<U64UnsortedSmallVector>(lent);
}

U64SmallVector const * IntSetImmediate::lendVal(Ptr<EvalContextBase const> const & context,
                                                PtrConst<U64SmallVector> & fresh) const {
    return lend(*this, context, fresh);
}

CommunitySmallVector const *
CommunitySetImmediate::lendVal(Ptr<EvalContextBase const> const & context,
                               PtrConst<CommunitySmallVector> & fresh) const {
    return lend(*this, context, fresh);
}

void cacheConstantValue(IntListImmediate const & node) { cache<U64UnsortedSmallVector>(node); }
void cacheConstantValue(IntSetImmediate const & node) { cache<U64SmallVector>(node); }
void cacheConstantValue(CommunitySetImmediate const & node) { cache<CommunitySmallVector>(node); }

} // namespace Qcf::Eval
