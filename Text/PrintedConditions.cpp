#include "QcfLib/ClientPlugin/QcfEvalAttributeTypes.h"
#include "Text/NodePrinter.h"
#include "Text/Words.h"

/// Conditions: chains, tests, calls. An operand of a chain, of `not` or of a statement stands in
/// parentheses where it is more than one test.
namespace Qcf::Text {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

/// The row of each operator's class, by the class's number; null for other classes.
Operator const * rowOf(AetNodeBase const & node) {
    static std::vector<Operator const *> const rows = [] {
        std::vector<Operator const *> all(nodeClasses().size());
        for (Operator const & row : operatorTable()) {
            all[row.nodeClass->number()] = &row;
        }
        return all;
    }();
    return rows[node.typeData().number()];
}

struct Sides {
    AetNodeBase const * left = nullptr;
    AetNodeBase const * right = nullptr;
};

Sides sidesOf(AetNodeBase const & node) {
    Sides sides;
    node.typeData().visitChildren(node, [&](FieldInfo const &, AetNodeBase const * child) {
        (sides.left == nullptr ? sides.left : sides.right) = child;
    });
    return sides;
}

bool asksFor(AetNodeBase const & node, SlotKind lists) {
    AttributeInfo const * const attribute = node.typeData().attribute;
    return attribute != nullptr && attribute->lists == lists;
}

/// What stands between the operands; empty where the operator has no spelling behind this one.
/// "add" keeps one link bandwidth with extended communities, and adds plainly to others.
std::string_view wordsOf(Operator const & row, AetNodeBase const & left) {
    bool const isExtended = asksFor(left, SlotKind::extCommList);
    if (row.nodeClass == &nodeClassOf<ExtCommunitySetAddImmediate>() && !isExtended) {
        return {};
    }
    if (row.nodeClass == &nodeClassOf<CommunitySetAddImmediate>() && !isExtended) {
        return nodeClassOf<ExtCommunitySetAddImmediate>().facts.words;
    }
    return row.words;
}

} // namespace

void NodePrinter::condition(Expression const & node) {
    if (isChain(node)) {
        chain(static_cast<LogicalOperatorExpression const &>(node));
    } else {
        operand(node);
    }
}

void NodePrinter::operand(Expression const & node) {
    if (inParentheses(node)) {
        return;
    }
    if (auto const * const negation = as<NotExpression>(node)) {
        put("not ");
        operand(*negation->expr());
    } else if (auto const * const nested = as<Block>(node)) {
        put("block ");
        block(nested);
    } else if (auto const * const predicate = as<TriStateBoolExpression>(node)) {
        value(*predicate->expr());
    } else if (node.typeData().fields.empty()) {
        put("builtin ");
        put(node.typeData().facts.words);
    } else if (!call(node) && !rangesTest(node) && !operation(node)) {
        raw(node);
    }
}

bool NodePrinter::inParentheses(Expression const & node) {
    bool const isLeave = is<ReturnExpression>(node) || is<ExitExpression>(node);
    bool const isBracketed =
        isChain(node) || isIfElse(node) || isLeave || isChange(node) || beginsWithBracket(node);
    if (!isBracketed) {
        return false;
    }
    open("( ");
    if (isChain(node)) {
        chain(static_cast<LogicalOperatorExpression const &>(node));
    } else if (isIfElse(node)) {
        ifElse(static_cast<IfExpression const &>(node));
    } else if (!leave(node) && !rangesTest(node)) {
        operation(node);
    }
    close(" )");
    return true;
}

// Operators of one kind, one between each two operands.
bool NodePrinter::isChain(Node const & node) {
    auto const * const logical = as<LogicalOperatorExpression>(node);
    if (logical == nullptr || !logical->expressionList()) {
        return false;
    }
    ExpressionList const * operands = logical->expressionList()->next().get();
    LogicalOperatorList const * operators = logical->operatorList().get();
    auto const & kind = operators->entry()->typeData();
    bool isUniform = true;
    for (; operands != nullptr && operators != nullptr; operands = operands->next().get()) {
        isUniform = isUniform && &operators->entry()->typeData() == &kind;
        operators = operators->next().get();
    }
    return isUniform && operands == nullptr && operators == nullptr;
}

void NodePrinter::chain(LogicalOperatorExpression const & node) {
    auto const words = node.operatorList()->entry()->typeData().facts.words;
    for (auto const * link = node.expressionList().get(); link != nullptr;
         link = link->next().get()) {
        if (link != node.expressionList().get()) {
            lines_.breakable();
            put(words);
            put(" ");
        }
        operand(*link->entry());
    }
}

bool NodePrinter::call(Node const & node) {
    auto const * const call = as<FunctionCallExpression>(node);
    if (call == nullptr || call->calleeName() != call->calleePtr()->funcName() ||
        !program_.signatureOf(*call->calleePtr()).takes(*call)) {
        return false;
    }
    put(nameWord(call->calleeName()));
    open("(");
    std::size_t position = 0;
    for (auto const * link = call->argListHead().get(); link != nullptr;
         link = link->next().get()) {
        separate(position == 0);
        value(*link->entry(), argumentStyle(*call, position));
        ++position;
    }
    close(")");
    if (call->functionCallId() != 0) {
        put("@" + std::to_string(call->functionCallId()));
    }
    return true;
}

// The built-in test of the origin is asked for a state by its name.
NodePrinter::Style NodePrinter::argumentStyle(FunctionCallExpression const & call,
                                              std::size_t position) const {
    constexpr std::size_t statePosition = 1;
    bool const isState =
        position == statePosition &&
        call.calleeName() == nodeClassOf<MatchOriginAsValidityImplExpr>().facts.words &&
        program_.signatureOf(*call.calleePtr()).isOpen();
    Style style;
    if (isState) {
        style.valueNames = nodeClassOf<Attribute::OriginValidationState>().attribute->valueNames;
    }
    return style;
}

bool NodePrinter::isChange(Node const & node) const {
    Operator const * const row = rowOf(node);
    return row != nullptr && row->isChange && !wordsOf(*row, *sidesOf(node).left).empty();
}

// At the start of a statement a brace is a block, and behind a condition, too.
bool NodePrinter::beginsWithBracket(Node const & node) const {
    if (rowOf(node) == nullptr) {
        return false;
    }
    Node const & left = *sidesOf(node).left;
    return left.typeData().fieldOf(FieldRole::elements) != nullptr && isSpelled(left);
}

bool NodePrinter::operation(Node const & node) {
    Operator const * const row = rowOf(node);
    if (row == nullptr || is<IntInImmediateSetWithRanges>(node)) {
        return false;
    }
    Sides const sides = sidesOf(node);
    auto const words = wordsOf(*row, *sides.left);
    bool const isOfPrefixes =
        row->right != nullptr && row->right->wanted == wanting(NodeKind::prefixList);
    if (words.empty() || (isOfPrefixes && !isSpelled(*sides.right))) {
        return false;
    }
    Style ofLeft;
    ofLeft.standardCommunities =
        sides.right != nullptr && asksFor(*sides.right, SlotKind::commList);
    value(*sides.left, ofLeft);
    put(" ");
    put(words);
    if (row->side != RightSide::nothing) {
        put(" ");
    }
    if (row->side == RightSide::value) {
        value(*sides.right, styleOf(node, *sides.left));
    } else if (row->side == RightSide::list) {
        listReference(node, *sides.left);
    }
    return true;
}

NodePrinter::Style NodePrinter::styleOf(Node const & node, Node const & left) {
    ClassFacts const & facts = node.typeData().facts;
    NodeClass const & leftClass = left.typeData();
    bool const isOfValues = facts.assigns || facts.compares != ComparisonOrder::none ||
                            is<IntInImmediateSet>(node) || is<IntInImmediateSetWithRanges>(node);
    Style style;
    if (isOfValues && leftClass.attribute != nullptr) {
        style.valueNames = leftClass.attribute->valueNames;
    }
    style.standardCommunities = asksFor(left, SlotKind::commList);
    style.communities =
        leftClass.isKind(NodeKind::communitySet) || leftClass.isKind(NodeKind::communityValue);
    return style;
}

// The kind is written where the left side does not tell it, and before a name in quotes, which
// could be taken for something else.
void NodePrinter::listReference(Node const & node, Node const & left) {
    PrintedList const list = listOf(node);
    bool const isOfCommunities =
        left.typeData().isKind(NodeKind::intSet) || left.typeData().isKind(NodeKind::communitySet);
    if ((isOfCommunities && !asksFor(left, list.kind)) || !isPlainName(list.name)) {
        put(listKindWord(list.kind));
        put(" ");
    }
    put(nameWord(list.name));
    slot(list);
}

namespace {

std::size_t lengthOf(IntListImmediate const & list) {
    std::size_t length = 0;
    for (auto const * link = list.head().get(); link != nullptr; link = link->next().get()) {
        ++length;
    }
    return length;
}

} // namespace

// What a set of items can say: single values or ranges, whose ends are as many, or both.
bool NodePrinter::rangesTest(Node const & node) {
    auto const * const test = as<IntInImmediateSetWithRanges>(node);
    if (test == nullptr) {
        return false;
    }
    auto const * const single = test->singletons().get();
    auto const * const lower = test->lowerBounds().get();
    auto const * const upper = test->upperBounds().get();
    bool const hasBounds = lower != nullptr && upper != nullptr;
    bool const isWritten = (single == nullptr || (single->head() && isSpelled(*single))) &&
                           (hasBounds || (lower == nullptr && upper == nullptr)) &&
                           (single != nullptr || hasBounds);
    if (!isWritten || (hasBounds && (!isSpelled(*lower) || !isSpelled(*upper) ||
                                     lengthOf(*lower) != lengthOf(*upper)))) {
        return false;
    }
    Style const style = styleOf(node, *test->lhs());
    value(*test->lhs());
    put(hasBounds ? " in " : " in ranges ");
    open("{ ");
    bool isFirst = true;
    for (auto const * link = single != nullptr ? single->head().get() : nullptr; link != nullptr;
         link = link->next().get()) {
        separate(std::exchange(isFirst, false));
        value(*link->entry(), style);
    }
    auto const * high = hasBounds ? upper->head().get() : nullptr;
    for (auto const * low = hasBounds ? lower->head().get() : nullptr; low != nullptr;
         low = low->next().get()) {
        separate(std::exchange(isFirst, false));
        value(*low->entry(), style);
        put("..");
        value(*high->entry(), style);
        high = high->next().get();
    }
    close(" }");
    return true;
}

} // namespace Qcf::Text
