#pragma once

#include "QcfLib/QcfEval.h"

#include <functional>
#include <optional>

/// What operators say to a plan: each family's source says, beside what an operator does, by which
/// of these few forms a plan can run it without asking its node.
///
///     void IntIs::lower(Lowering & to) const {
///         if (auto const constant = to.constantOf(*rhs_)) {
///             to.test(ConstantTest::of(*lhs_, IntBounds{constant->magnitude,
///             constant->magnitude}));
///         }
///     }
///
/// A node that calls nothing here is evaluated as it stands, and so is one that is handed over as a
/// form which the plan has no step for in that place. A form must do what the node's `eval` does,
/// reads in the same order included; every family's tests run both.
namespace Qcf::Eval {

/// The values that satisfy a comparison of an integer; none when `low` is above `high`.
struct IntBounds {
    U64 low = 0;
    U64 high = ~U64{0};

    bool contain(U64 value) const { return low <= value && value <= high; }
    /// The values that satisfy both.
    IntBounds operator&(IntBounds const & other) const {
        return {std::max(low, other.low), std::min(high, other.high)};
    }
};

/// A test of an integer or a set against constants, which live as long as the node. One `of` for
/// each kind, so that no test has the operand of one kind and the constants of another.
struct ConstantTest {
    enum class Kind : U8 { intBounds, intInSet, setHasAny, communitySetHasAny };

    static ConstantTest of(Int const & operand, IntBounds const & bounds) {
        return {Kind::intBounds, &operand, bounds};
    }
    static ConstantTest of(Int const & operand, U64SmallVector const & set) {
        return {Kind::intInSet, &operand, {}, &set};
    }
    static ConstantTest of(IntSet const & operand, U64SmallVector const & anyOf) {
        return {Kind::setHasAny, &operand, {}, &anyOf};
    }
    static ConstantTest of(CommunitySet const & operand, CommunitySmallVector const & anyOf) {
        return {Kind::communitySetHasAny, &operand, {}, nullptr, &anyOf};
    }

    Kind kind;
    StorageType const * operand;
    IntBounds bounds;
    U64SmallVector const * ints = nullptr;
    CommunitySmallVector const * communities = nullptr;

    /// How many constants it compares with.
    std::size_t size() const {
        return ints != nullptr ? ints->count() : communities != nullptr ? communities->count() : 1;
    }
};

/// A statement that adds a few constants to a set attribute, or removes them.
template <typename Set>
struct SetChange {
    Expression const * node;
    SetStorage<Set> const * target;
    Set const * constants;
    bool adds;
};

/// What an arithmetic operator writes for a range, a current value and an operand.
using IntArithmetic = U64 (*)(IntRange const &, U64, SignedMagnitude);

/// The forms. An operator calls at most one of them. The plan derives from it, once for each place
/// in which a node can stand; what it does not override has no step in that place.
class Lowering {
public:
    virtual ~Lowering() = default;

    /// The constant that an operand is in this place: a literal, or an argument of a function whose
    /// call is inlined with constants. To be asked of operands whose field is a `constantPlace`.
    virtual std::optional<SignedMagnitude> constantOf(Int const & operand) const = 0;

    // Conditions.
    virtual void truth(TriStateBoolValue /*value*/) {}
    virtual void test(ConstantTest const & /*test*/) {}
    virtual void listTest(IpPrefix const & /*candidate*/, PrefixListImmediate const & /*list*/) {}
    virtual void listTest(IpAddress const & /*candidate*/, PrefixListImmediate const & /*list*/) {}
    virtual void negation(Expression const & /*operand*/) {}
    virtual void chain(LogicalOperatorExpression const & /*node*/) {}

    // Statements.
    virtual void assign(IntModifiable const & /*target*/, SignedMagnitude /*value*/) {}
    virtual void compute(IntModifiable const & /*target*/, SignedMagnitude /*operand*/,
                         IntArithmetic /*operation*/) {}
    virtual void change(SetChange<U64SmallVector> const & /*change*/) {}
    virtual void change(SetChange<CommunitySmallVector> const & /*change*/) {}
    virtual void block(Block const & /*node*/) {}
    virtual void branch(IfExpression const & /*node*/) {}
    /// Leaves the function, or all of them, with the operand's value.
    virtual void leave(Expression const & /*operand*/, TerminationFlag /*how*/) {}

    /// Either.
    virtual void call(FunctionCallExpression const & /*node*/) {}
};

/// The kept set of a literal; null for any other operand, and for a literal that has none.
template <typename Immediate>
auto const * constantSet(StorageType const & operand) {
    auto const * const literal = as<Immediate>(operand);
    return literal == nullptr ? nullptr : literal->cachedGetVal();
}

} // namespace Qcf::Eval
