#include "Documents/ConstantAnswer.h"

#include "Documents/IntSpan.h"

#include <vector>

namespace Qcf::Documents {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

/// The two sides of a comparison.
template <typename Value>
struct Sides {
    Value const & lhs;
    Value const & rhs;
};

/// The sides of a comparison of two values of that kind, which `Value` is the base of; nothing for
/// other nodes. Taken from the fields, so that a new comparison needs nothing here but its row.
template <typename Value>
std::optional<Sides<Value>> sidesOf(AetNodeBase const & node, NodeKind kind) {
    if (node.typeData().facts.compares == ComparisonOrder::none) {
        return std::nullopt;
    }
    std::vector<Value const *> sides;
    node.typeData().visitChildren(node, [&](FieldInfo const &, AetNodeBase const * child) {
        if (child != nullptr && child->typeData().isKind(kind)) {
            sides.push_back(static_cast<Value const *>(child));
        }
    });
    return sides.size() == 2 ? std::optional(Sides<Value>{*sides[0], *sides[1]}) : std::nullopt;
}

template <typename Value>
bool holds(ComparisonOrder order, Value const & a, Value const & b) {
    switch (order) {
    case ComparisonOrder::is:
        return a == b;
    case ComparisonOrder::lessThan:
        return a < b;
    case ComparisonOrder::lessThanEq:
        return a <= b;
    case ComparisonOrder::greaterThan:
        return a > b;
    case ComparisonOrder::greaterThanEq:
        return a >= b;
    case ComparisonOrder::none:
        break;
    }
    return false;
}

std::optional<bool> answerOf(ComparisonOrder order, Sides<Int> const & sides) {
    bool const isSame = &sides.lhs == &sides.rhs && sides.lhs.typeData().attribute != nullptr;
    // Any value will do in place of the attribute's.
    if (isSame) { // an attribute is the same however often it is read
        return holds(order, 0, 0);
    }
    IntSpan const lhs = IntSpan::ofLeft(sides.lhs);
    auto const rhs = IntSpan::of(sides.rhs);
    if (!rhs) {
        return std::nullopt;
    }
    if (order == ComparisonOrder::is) {
        bool const always = lhs.isOne() && lhs == *rhs;
        return always || !lhs.meets(*rhs) ? std::optional(always) : std::nullopt;
    }
    // An order that holds, or fails, for both extreme pairs does so for every pair between.
    bool const low = holds(order, lhs.least(), rhs->most());
    bool const high = holds(order, lhs.most(), rhs->least());
    return low == high ? std::optional(low) : std::nullopt;
}

/// NaN makes every comparison false, so a value is not always equal to itself.
std::optional<bool> answerOf(ComparisonOrder order, Sides<Bandwidth> const & sides) {
    auto const * const lhs = as<BandwidthImmediate>(sides.lhs);
    auto const * const rhs = as<BandwidthImmediate>(sides.rhs);
    if (lhs == nullptr || rhs == nullptr) {
        return std::nullopt;
    }
    return holds(order, lhs->value(), rhs->value());
}

// The one comparison of its type, and so without an order. A value that is the same node on both
// sides is read twice, with one answer.
std::optional<bool> answerOf(TriStateBoolIs const & comparison) {
    auto const & lhs = *comparison.lhs();
    auto const & rhs = *comparison.rhs();
    auto const * const left = as<TriStateBoolImmediate>(lhs);
    auto const * const right = as<TriStateBoolImmediate>(rhs);
    if (left != nullptr && right != nullptr) {
        return left->value() == right->value();
    }
    return &lhs == &rhs ? std::optional(true) : std::nullopt;
}

/// Never true when no element is among the values; never surely true otherwise.
std::optional<bool> answerOf(IntInImmediateSet const & membership) {
    auto const * const set = as<IntSetImmediate>(*membership.rhs());
    if (set == nullptr) {
        return std::nullopt;
    }
    IntSpan const values = IntSpan::ofLeft(*membership.lhs());
    for (auto const * link = set->head().get(); link != nullptr; link = link->next().get()) {
        auto const element = IntSpan::of(*link->entry());
        // An element that is not known could be any value.
        bool const isKnown = element && element->isOne();
        if (!isKnown || values.meets(element->asElement())) {
            return std::nullopt;
        }
    }
    return false;
}

/// A constant as it is written, with its sign, any other value by its name.
String nameOf(Int const & value) {
    return is<IntImmediate>(value) ? IntSpan::of(value)->text() : value.toStrep();
}

String textWithRange(Int const & value) {
    auto const span = IntSpan::of(value);
    bool const isConstant = span && span->isOne();
    return nameOf(value) + (span && !isConstant ? " (" + span->text() + ")" : "");
}

/// Of a constant that is assigned to an attribute, or that its value is reckoned with.
String outOfRange(IntModifiable const & target, Int const & operand, bool assigns) {
    auto const constant = IntSpan::of(operand);
    if (!constant || !constant->isOne()) {
        return {};
    }
    S128 const value = constant->least();
    // The default of an attribute may lie outside of its range, as "not set" does; it may be
    // assigned, but not reckoned with.
    bool const isDefault = assigns && value == S128(target.defaultValue());
    bool const fits = isDefault || (assigns ? value >= target.min() && value <= target.max()
                                            : abs(value) <= S128(target.max()));
    if (fits) {
        return {};
    }
    String const kept = std::to_string(value < S128(target.min()) ? target.min() : target.max());
    return nameOf(operand) + " is out of the range of " + target.toStrep() + ", " +
           IntSpan(target.min(), target.max()).text() +
           (assigns ? "; it is written as " + kept : String());
}

/// Of a node that writes to an integer attribute; empty for others. By what the fields want, as all
/// classes that write have the same two.
String writtenOutOfRange(AetNodeBase const & node) {
    IntModifiable const * target = nullptr;
    Int const * operand = nullptr;
    node.typeData().visitChildren(node, [&](FieldInfo const & field, AetNodeBase const * child) {
        if (field.wanted == wanting(NodeKind::intModifiable)) {
            target = static_cast<IntModifiable const *>(child);
        } else if (field.wanted == wanting(NodeKind::int_)) {
            operand = static_cast<Int const *>(child);
        }
    });
    bool const writes = target != nullptr && operand != nullptr;
    return writes ? outOfRange(*target, *operand, node.typeData().facts.assigns) : String();
}

/// Of a membership that may be true: an element that no value of the left side equals. Where the
/// answer is constant that is told instead, once for all elements.
String outOfRange(IntInImmediateSet const & membership) {
    auto const * const set = as<IntSetImmediate>(*membership.rhs());
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

/// Of a bandwidth that is moved beyond the bits that a community has.
String outOfRange(BandwidthToCommunityValue const & moved) {
    constexpr U32 bandwidthBits = 32;
    constexpr U32 communityBits = 96;
    U32 const offset = moved.offset();
    return offset + bandwidthBits <= communityBits
               ? String()
               : std::to_string(offset) + " as offset leaves " +
                     (offset < communityBits ? "not all" : "nothing") +
                     " of the bandwidth in the community: wants 0 to " +
                     std::to_string(communityBits - bandwidthBits);
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

// Unknown counts as not true, as where a condition is unknown.
std::optional<bool> constantAnswer(Expression const & predicate) {
    ComparisonOrder const order = predicate.typeData().facts.compares;
    if (auto const ints = sidesOf<Int>(predicate, NodeKind::int_)) {
        return answerOf(order, *ints);
    }
    if (auto const bandwidths = sidesOf<Bandwidth>(predicate, NodeKind::bandwidth)) {
        return answerOf(order, *bandwidths);
    }
    if (auto const * const comparison = as<TriStateBoolIs>(predicate)) {
        return answerOf(*comparison);
    }
    if (auto const * const membership = as<IntInImmediateSet>(predicate)) {
        return answerOf(*membership);
    }
    if (auto const * const constant = as<TriStateBoolExpression>(predicate)) {
        auto const * const value = as<TriStateBoolImmediate>(*constant->expr());
        return value == nullptr ? std::nullopt
                                : std::optional(value->value() == TriStateBoolValue::true_);
    }
    if (auto const * const negation = as<NotExpression>(predicate)) {
        auto const answer = constantAnswer(*negation->expr());
        return answer ? std::optional(!*answer) : std::nullopt;
    }
    return std::nullopt;
}

// Only for what `constantAnswer` knows of comparisons: both go by the same classes in the same
// order.
String comparedValues(Expression const & comparison) {
    if (auto const ints = sidesOf<Int>(comparison, NodeKind::int_)) {
        return textWithRange(ints->lhs) + " and " + textWithRange(ints->rhs);
    }
    if (auto const bandwidths = sidesOf<Bandwidth>(comparison, NodeKind::bandwidth)) {
        return bandwidths->lhs.toStrep() + " and " + bandwidths->rhs.toStrep();
    }
    if (auto const * const tests = as<TriStateBoolIs>(comparison)) {
        return tests->lhs()->toStrep() + " and " + tests->rhs()->toStrep();
    }
    if (auto const * const membership = as<IntInImmediateSet>(comparison)) {
        return textWithRange(*membership->lhs()) + " and " + membership->rhs()->toStrep();
    }
    return {};
}

String constantsOutOfRange(AetNodeBase const & node) {
    if (auto const * const moved = as<BandwidthToCommunityValue>(node)) {
        return outOfRange(*moved);
    }
    if (node.typeData().fieldOf(FieldRole::target) != nullptr) {
        return writtenOutOfRange(node);
    }
    if (auto const * const membership = as<IntInImmediateSet>(node)) {
        return outOfRange(*membership);
    }
    if (auto const * const set = as<IntSetImmediate>(node)) {
        return outOfRange(set->head().get());
    }
    if (auto const * const list = as<IntListImmediate>(node)) {
        return outOfRange(list->head().get());
    }
    return {};
}

} // namespace Qcf::Documents
