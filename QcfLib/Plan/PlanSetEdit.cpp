#include "QcfLib/Plan/PlanSetEdit.h"

#include "QcfLib/Plan/PlanNodes.h"

namespace Qcf::Eval {

namespace {

template <typename Set, typename Immediate, typename Node>
std::optional<SetChange<Set>> changeBy(Node const & node, bool adds) {
    auto const * const constants = constantSet<Immediate>(*node.rhs());
    bool const few = !isEmptySet(constants) && constants->count() <= fewValues;
    if (!few || node.lhs()->source().stored == nullptr) {
        return std::nullopt;
    }
    return SetChange<Set>{&node, node.lhs().get(), constants, adds};
}

} // namespace

template <>
std::optional<SetChange<U64SmallVector>> setChangeOf(Expression const & node) {
    if (auto const * const n = as<IntSetAddImmediate>(node)) {
        return changeBy<U64SmallVector, IntSetImmediate>(*n, true);
    }
    if (auto const * const n = as<IntSetRemoveImmediate>(node)) {
        return changeBy<U64SmallVector, IntSetImmediate>(*n, false);
    }
    return std::nullopt;
}

template <>
std::optional<SetChange<CommunitySmallVector>> setChangeOf(Expression const & node) {
    if (auto const * const n = as<CommunitySetAddImmediate>(node)) {
        return changeBy<CommunitySmallVector, CommunitySetImmediate>(*n, true);
    }
    if (auto const * const n = as<CommunitySetRemoveImmediate>(node)) {
        return changeBy<CommunitySmallVector, CommunitySetImmediate>(*n, false);
    }
    if (auto const * const n = as<ExtCommunitySetAddImmediate>(node)) {
        auto const change = changeBy<CommunitySmallVector, CommunitySetImmediate>(*n, true);
        bool const isPlainUnion = change && change->constants->lbwValue().isZero();
        return isPlainUnion ? change : std::nullopt;
    }
    return std::nullopt;
}

} // namespace Qcf::Eval
