#pragma once

#include "QcfLib/QcfEval.h"

#include <algorithm>
#include <functional>
#include <optional>
#include <vector>

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

/// Single integers and ranges, as the literals of a node keep them: the bounds are null, or of
/// equal length. Where they are null there are none of that kind.
struct ConstantRanges {
    U64SmallVector const * singletons = nullptr;
    U64UnsortedSmallVector const * lower = nullptr;
    U64UnsortedSmallVector const * upper = nullptr;

    std::size_t size() const {
        return (singletons != nullptr ? singletons->count() : 0) +
               (lower != nullptr ? lower->count() : 0);
    }
    /// Calls `use(bounds)` for each.
    template <typename Use>
    void each(Use use) const {
        for (std::size_t i = 0; singletons != nullptr && i < singletons->count(); ++i) {
            use(IntBounds{singletons->at(i), singletons->at(i)});
        }
        for (std::size_t i = 0; lower != nullptr && i < lower->count(); ++i) {
            use(IntBounds{lower->at(i), upper->at(i)});
        }
    }
};

/// A test of an integer, a set or a prefix against constants, which live as long as the node where
/// they are not here. One `of` for each kind, so that no test has the operand of one kind and the
/// constants of another.
struct ConstantTest {
    enum class Kind : U8 {
        intBounds,
        intInSet,
        intInRanges,
        setHasAny,
        communitySetHasAny,
        prefixCovered,
    };

    static ConstantTest of(Int const & operand, IntBounds const & bounds) {
        return {Kind::intBounds, &operand, bounds};
    }
    static ConstantTest of(Int const & operand, U64SmallVector const & set) {
        return {Kind::intInSet, &operand, {}, &set};
    }
    /// Whether it lies in any of them.
    static ConstantTest of(Int const & operand, ConstantRanges const & ranges) {
        return {Kind::intInRanges, &operand, {}, nullptr, nullptr, ranges};
    }
    static ConstantTest of(IntSet const & operand, U64SmallVector const & anyOf) {
        return {Kind::setHasAny, &operand, {}, &anyOf};
    }
    static ConstantTest of(CommunitySet const & operand, CommunitySmallVector const & anyOf) {
        return {Kind::communitySetHasAny, &operand, {}, nullptr, &anyOf};
    }
    /// Whether any of them covers it. The operand has a source.
    static ConstantTest of(IpPrefix const & operand, std::vector<IpGenPrefix> prefixes) {
        return {Kind::prefixCovered, &operand, {}, nullptr, nullptr, {}, std::move(prefixes)};
    }

    Kind kind;
    StorageType const * operand;
    IntBounds bounds;
    U64SmallVector const * ints = nullptr;
    CommunitySmallVector const * communities = nullptr;
    ConstantRanges ranges = {};
    std::vector<IpGenPrefix> prefixes = {};

    /// How many constants it compares with.
    std::size_t size() const {
        return ints != nullptr          ? ints->count()
               : communities != nullptr ? communities->count()
                                        : std::max<std::size_t>(1, ranges.size() + prefixes.size());
    }
};

/// Operands with one identity have one value: they are one node, or one attribute.
inline void const * identityOf(StorageType const & operand) {
    NodeClass const & nodeClass = operand.typeData();
    return nodeClass.attribute != nullptr ? static_cast<void const *>(&nodeClass) : &operand;
}

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

/// An operator's own function for a node of its class: what is yes or no, and never unknown. It
/// leaves nothing, so that nobody has to look whether it did; of a statement the answer is dropped.
using OperatorFunction = bool (*)(Expression const & node, Ptr<EvalContextBase> const & context);

/// What an agent does for a built-in function. It may answer anything: leave or go on, with any
/// value.
using AgentOperation = EvalResult (EvalContextBase::*)();

/// What `eval` of the class computes, called without dispatch; for classes whose result is known to
/// be of that kind.
template <typename Node>
bool operatorFunction(Expression const & node, Ptr<EvalContextBase> const & context) {
    return static_cast<Node const &>(node).Node::eval(context).isTrue();
}

/// The forms. An operator calls at most one of them. The plan derives from it, once for each place
/// in which a node can stand; what it does not override has no step in that place.
class Lowering {
public:
    virtual ~Lowering() = default;

    /// The constant that an operand is in this place: a literal, or an argument of a function whose
    /// call is inlined with constants. To be asked of operands whose field is a `constantPlace`.
    virtual std::optional<SignedMagnitude> constantOf(Int const & operand) const = 0;
    /// The integer argument of that position in this place, where it is such a constant. For bodies
    /// of built-in functions, which have no node for what they read.
    virtual std::optional<SignedMagnitude> constantArgument(std::size_t index) const = 0;

    // Conditions.
    virtual void truth(TriStateBoolValue /*value*/) {}
    /// The value of an attribute or an argument, unknown included.
    virtual void valueTest(TriStateBool const & /*value*/) {}
    virtual void test(ConstantTest const & /*test*/) {}
    /// `withoutList` is the answer where there is no such list.
    virtual void listTest(IpPrefix const & /*candidate*/, PrefixList const & /*list*/,
                          TriStateBoolValue /*withoutList*/) {}
    virtual void listTest(IpAddress const & /*candidate*/, PrefixList const & /*list*/,
                          TriStateBoolValue /*withoutList*/) {}
    /// A test that nothing above says.
    virtual void operatorTest(OperatorFunction /*function*/) {}
    virtual void negation(Expression const & /*operand*/) {}
    virtual void chain(LogicalOperatorExpression const & /*node*/) {}

    // Statements.
    virtual void assign(IntModifiable const & /*target*/, SignedMagnitude /*value*/) {}
    virtual void compute(IntModifiable const & /*target*/, SignedMagnitude /*operand*/,
                         IntArithmetic /*operation*/) {}
    virtual void change(SetChange<U64SmallVector> const & /*change*/) {}
    virtual void change(SetChange<CommunitySmallVector> const & /*change*/) {}
    /// A change that nothing above says.
    virtual void operatorChange(OperatorFunction /*function*/) {}
    /// Bodies of built-in functions, which return what the function answers, or whether the ROA
    /// table of that slot gives the route that state.
    virtual void builtIn(OperatorFunction /*function*/) {}
    virtual void originTest(U32 /*slot*/, U32 /*state*/) {}
    /// A body that is an operation of the agent and nothing else.
    virtual void agentBody(AgentOperation /*operation*/) {}
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
