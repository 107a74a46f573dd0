#include "Documents/ConstantAnswer.h"

#include "Documents/IntSpan.h"

namespace Qcf::Documents {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

/// How the two sides of a comparison are compared.
enum class Order : U8 { is, less, lessEq, greater, greaterEq };

/// A comparison's sides; null where the node is none of that type.
template <typename Value>
struct Sides {
    Value const * lhs = nullptr;
    Value const * rhs = nullptr;
    Order order = Order::is;
};

template <typename Comparison, typename Value>
void take(AetNodeBase const & node, Order order, Sides<Value> & sides) {
    if (auto const * const comparison = dynamic_cast<Comparison const *>(&node)) {
        sides = {comparison->lhs().get(), comparison->rhs().get(), order};
    }
}

Sides<Int> intSides(AetNodeBase const & node) {
    Sides<Int> sides;
    take<IntIs>(node, Order::is, sides);
    take<IntLessThan>(node, Order::less, sides);
    take<IntLessThanEq>(node, Order::lessEq, sides);
    take<IntGreaterThan>(node, Order::greater, sides);
    take<IntGreaterThanEq>(node, Order::greaterEq, sides);
    return sides;
}

Sides<Bandwidth> bandwidthSides(AetNodeBase const & node) {
    Sides<Bandwidth> sides;
    take<BandwidthIs>(node, Order::is, sides);
    take<BandwidthLessThan>(node, Order::less, sides);
    take<BandwidthLessThanEq>(node, Order::lessEq, sides);
    take<BandwidthGreaterThan>(node, Order::greater, sides);
    take<BandwidthGreaterThanEq>(node, Order::greaterEq, sides);
    return sides;
}

template <typename Value>
bool holds(Order order, Value const & a, Value const & b) {
    switch (order) {
    case Order::is:
        return a == b;
    case Order::less:
        return a < b;
    case Order::lessEq:
        return a <= b;
    case Order::greater:
        return a > b;
    case Order::greaterEq:
        return a >= b;
    }
    return false;
}

std::optional<bool> answerOf(Sides<Int> const & sides) {
    bool const isSame = sides.lhs == sides.rhs && sides.lhs->typeData().attribute != nullptr;
    if (isSame) { // an attribute is the same however often it is read
        return holds(sides.order, 0, 0);
    }
    IntSpan const lhs = IntSpan::ofLeft(*sides.lhs);
    auto const rhs = IntSpan::of(*sides.rhs);
    if (!rhs) {
        return std::nullopt;
    }
    if (sides.order == Order::is) {
        bool const always = lhs.isOne() && lhs == *rhs;
        return always || !lhs.meets(*rhs) ? std::optional(always) : std::nullopt;
    }
    // An order that holds, or fails, for both extreme pairs does so for every pair between.
    bool const low = holds(sides.order, lhs.least(), rhs->most());
    bool const high = holds(sides.order, lhs.most(), rhs->least());
    return low == high ? std::optional(low) : std::nullopt;
}

/// NaN makes every comparison false, so a value is not always equal to itself.
std::optional<bool> answerOf(Sides<Bandwidth> const & sides) {
    auto const * const lhs = dynamic_cast<BandwidthImmediate const *>(sides.lhs);
    auto const * const rhs = dynamic_cast<BandwidthImmediate const *>(sides.rhs);
    if (lhs == nullptr || rhs == nullptr) {
        return std::nullopt;
    }
    return holds(sides.order, lhs->value(), rhs->value());
}

std::optional<bool> answerOf(TriStateBoolIs const & comparison) {
    auto const & lhs = *comparison.lhs();
    auto const & rhs = *comparison.rhs();
    auto const * const left = dynamic_cast<TriStateBoolImmediate const *>(&lhs);
    auto const * const right = dynamic_cast<TriStateBoolImmediate const *>(&rhs);
    if (left != nullptr && right != nullptr) {
        return left->value() == right->value();
    }
    return &lhs == &rhs ? std::optional(true) : std::nullopt;
}

/// Never true when no element is among the values; never surely true otherwise.
std::optional<bool> answerOf(IntInImmediateSet const & membership) {
    auto const * const set = dynamic_cast<IntSetImmediate const *>(membership.rhs().get());
    if (set == nullptr) {
        return std::nullopt;
    }
    IntSpan const values = IntSpan::ofLeft(*membership.lhs());
    for (auto const * link = set->head().get(); link != nullptr; link = link->next().get()) {
        auto const element = IntSpan::of(*link->entry());
        bool const isKnown = element && element->isOne();
        if (!isKnown || values.meets(element->asElement())) {
            return std::nullopt;
        }
    }
    return false;
}

/// A constant as it is written, with its sign, any other value by its name.
String nameOf(Int const & value) {
    bool const isNumber = dynamic_cast<IntImmediate const *>(&value) != nullptr;
    return isNumber ? IntSpan::of(value)->text() : value.toStrep();
}

String described(Int const & value) {
    auto const span = IntSpan::of(value);
    bool const isConstant = span && span->isOne();
    return nameOf(value) + (span && !isConstant ? " (" + span->text() + ")" : "");
}

/// Of a node that writes a constant to an attribute, or reckons with one.
template <typename Modifier>
String outOfRange(Modifier const & modifier, bool assigns) {
    auto const constant = IntSpan::of(*modifier.rhs());
    if (!constant || !constant->isOne()) {
        return {};
    }
    IntModifiable const & target = *modifier.lhs();
    S128 const value = constant->least();
    bool const isDefault = assigns && value == S128(target.defaultValue());
    bool const fits = isDefault || (assigns ? value >= target.min() && value <= target.max()
                                            : abs(value) <= S128(target.max()));
    return fits ? String()
                : nameOf(*modifier.rhs()) + " is out of the range of " + target.toStrep() + ", " +
                      IntSpan(target.min(), target.max()).text();
}

/// Of a membership that may be true: an element that no value of the left side equals.
String outOfRange(IntInImmediateSet const & membership) {
    auto const * const set = dynamic_cast<IntSetImmediate const *>(membership.rhs().get());
    if (set == nullptr || answerOf(membership)) {
        return {};
    }
    IntSpan const values = IntSpan::ofLeft(*membership.lhs());
    for (auto const * link = set->head().get(); link != nullptr; link = link->next().get()) {
        auto const element = IntSpan::of(*link->entry());
        if (element && element->isOne() && !values.meets(element->asElement())) {
            return nameOf(*link->entry()) + " is out of the range of " +
                   membership.lhs()->toStrep() + ", " + values.text();
        }
    }
    return {};
}

/// Of a literal list or set, whose elements are forced into 32 bits.
String outOfRange(IntLinkedList const * link) {
    for (; link != nullptr; link = link->next().get()) {
        auto const element = IntSpan::of(*link->entry());
        if (element && element->isOne() && element->asElement() != *element) {
            return nameOf(*link->entry()) + " is out of the range of elements, " +
                   IntSpan::elements().text();
        }
    }
    return {};
}

} // namespace

std::optional<bool> constantAnswer(Expression const & predicate) {
    if (auto const sides = intSides(predicate); sides.lhs != nullptr) {
        return answerOf(sides);
    }
    if (auto const sides = bandwidthSides(predicate); sides.lhs != nullptr) {
        return answerOf(sides);
    }
    if (auto const * const comparison = dynamic_cast<TriStateBoolIs const *>(&predicate)) {
        return answerOf(*comparison);
    }
    if (auto const * const membership = dynamic_cast<IntInImmediateSet const *>(&predicate)) {
        return answerOf(*membership);
    }
    if (auto const * const constant = dynamic_cast<TriStateBoolExpression const *>(&predicate)) {
        auto const * const value =
            dynamic_cast<TriStateBoolImmediate const *>(constant->expr().get());
        return value == nullptr ? std::nullopt
                                : std::optional(value->value() == TriStateBoolValue::true_);
    }
    if (auto const * const negation = dynamic_cast<NotExpression const *>(&predicate)) {
        auto const answer = constantAnswer(*negation->expr());
        return answer ? std::optional(!*answer) : std::nullopt;
    }
    return std::nullopt;
}

String comparedValues(Expression const & comparison) {
    if (auto const sides = intSides(comparison); sides.lhs != nullptr) {
        return described(*sides.lhs) + " and " + described(*sides.rhs);
    }
    if (auto const sides = bandwidthSides(comparison); sides.lhs != nullptr) {
        return sides.lhs->toStrep() + " and " + sides.rhs->toStrep();
    }
    if (auto const * const tests = dynamic_cast<TriStateBoolIs const *>(&comparison)) {
        return tests->lhs()->toStrep() + " and " + tests->rhs()->toStrep();
    }
    if (auto const * const membership = dynamic_cast<IntInImmediateSet const *>(&comparison)) {
        return described(*membership->lhs()) + " and " + membership->rhs()->toStrep();
    }
    return {};
}

String constantsOutOfRange(AetNodeBase const & node) {
    if (auto const * const assign = dynamic_cast<IntAssign const *>(&node)) {
        return outOfRange(*assign, true);
    }
    if (auto const * const plus = dynamic_cast<IntPlusEq const *>(&node)) {
        return outOfRange(*plus, false);
    }
    if (auto const * const minus = dynamic_cast<IntMinusEq const *>(&node)) {
        return outOfRange(*minus, false);
    }
    if (auto const * const times = dynamic_cast<IntMultEq const *>(&node)) {
        return outOfRange(*times, false);
    }
    if (auto const * const membership = dynamic_cast<IntInImmediateSet const *>(&node)) {
        return outOfRange(*membership);
    }
    if (auto const * const set = dynamic_cast<IntSetImmediate const *>(&node)) {
        return outOfRange(set->head().get());
    }
    if (auto const * const list = dynamic_cast<IntListImmediate const *>(&node)) {
        return outOfRange(list->head().get());
    }
    return {};
}

} // namespace Qcf::Documents
