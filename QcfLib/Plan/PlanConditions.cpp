#include "QcfLib/Plan/PlanConditions.h"

#include "QcfLib/Plan/PlanNodes.h"

namespace Qcf::Eval {

namespace {

constexpr U64 largest = ~U64{0};
constexpr IntBounds never{1, 0};

IntBounds exactly(U64 constant) { return {constant, constant}; }
IntBounds below(U64 constant) { return constant == 0 ? never : IntBounds{0, constant - 1}; }
IntBounds upTo(U64 constant) { return {0, constant}; }
IntBounds above(U64 constant) {
    return constant == largest ? never : IntBounds{constant + 1, largest};
}
IntBounds from(U64 constant) { return {constant, largest}; }

template <typename Node>
std::optional<ConstantTest> comparisonOf(Expression const & node, IntBounds (*boundsOf)(U64)) {
    auto const * const test = as<Node>(node);
    auto const * const constant = test == nullptr ? nullptr : as<IntImmediate>(*test->rhs());
    if (constant == nullptr || (constant->negative() && constant->value() != 0)) {
        return std::nullopt;
    }
    return ConstantTest{ConstantTest::Kind::intBounds, test->lhs().get(),
                        boundsOf(constant->value())};
}

template <typename Node>
std::optional<ConstantTest> intSetTestOf(Expression const & node, ConstantTest::Kind kind) {
    auto const * const test = as<Node>(node);
    auto const * const set = test == nullptr ? nullptr : constantSet<IntSetImmediate>(*test->rhs());
    if (set == nullptr) {
        return std::nullopt;
    }
    return ConstantTest{kind, test->lhs().get(), {}, set};
}

std::optional<ConstantTest> communitySetTestOf(Expression const & node) {
    auto const * const test = as<CommunitySetHasAnyImmediate>(node);
    auto const * const set =
        test == nullptr ? nullptr : constantSet<CommunitySetImmediate>(*test->rhs());
    if (set == nullptr) {
        return std::nullopt;
    }
    return ConstantTest{
        ConstantTest::Kind::communitySetHasAny, test->lhs().get(), {}, nullptr, set};
}

} // namespace

std::optional<ConstantTest> constantTestOf(Expression const & node) {
    switch (node.typeData().number()) {
    case IntIs::classNumber:
        return comparisonOf<IntIs>(node, exactly);
    case IntLessThan::classNumber:
        return comparisonOf<IntLessThan>(node, below);
    case IntLessThanEq::classNumber:
        return comparisonOf<IntLessThanEq>(node, upTo);
    case IntGreaterThan::classNumber:
        return comparisonOf<IntGreaterThan>(node, above);
    case IntGreaterThanEq::classNumber:
        return comparisonOf<IntGreaterThanEq>(node, from);
    case IntInImmediateSet::classNumber:
        return intSetTestOf<IntInImmediateSet>(node, ConstantTest::Kind::intInSet);
    case IntSetHasAnyImmediate::classNumber:
        return intSetTestOf<IntSetHasAnyImmediate>(node, ConstantTest::Kind::setHasAny);
    case CommunitySetHasAnyImmediate::classNumber:
        return communitySetTestOf(node);
    default:
        return std::nullopt;
    }
}

} // namespace Qcf::Eval
