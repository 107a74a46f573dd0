#include "QcfLib/ClientPlugin/QcfEvalAttributeTypes.h"
#include "QcfLib/QcfEval.h"
#include "Text/BodyParser.h"
#include "Text/Words.h"

/// Conditions: chains of `and`, `or` and `??`, negations, calls, and what stands in parentheses.
namespace Qcf::Text {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

/// The class of the operator that joins a chain; null for all other words.
NodeClass const * logicalOperator(Cursor const & cursor) {
    for (NodeClass const * const each : {&nodeClassOf<AndOperator>(), &nodeClassOf<OrOperator>(),
                                         &nodeClassOf<SequentialOperator>()}) {
        if (cursor.is(each->facts.words)) {
            return each;
        }
    }
    return nullptr;
}

} // namespace

Draft * BodyParser::condition() {
    Span const begin = cursor_.spanOf(cursor_.now());
    return restOfChain(unary(), begin);
}

// One kind of operator a chain: which of two would bind first is nobody's to guess.
Draft * BodyParser::restOfChain(Draft * first, Span const & begin) {
    NodeClass const * const joint = logicalOperator(cursor_);
    if (joint == nullptr) {
        return first;
    }
    DraftChain operands{first};
    DraftChain operators;
    while (NodeClass const * const found = logicalOperator(cursor_)) {
        if (found != joint) {
            cursor_.fail(cursor_.here(), "mixed-operators",
                         "'" + String(found->facts.words) + "' and '" + String(joint->facts.words) +
                             "' need parentheses: which is meant first?");
        }
        operators.push_back(tree_.add(*joint, cursor_.spanOf(cursor_.take())));
        operands.push_back(unary());
    }
    return tree_.add<LogicalOperatorExpression>(cursor_.since(begin),
                                                {std::move(operands), std::move(operators)});
}

Draft * BodyParser::unary() {
    Cursor::Level const level(cursor_);
    Token const first = cursor_.now();
    if (cursor_.is("not")) {
        cursor_.take();
        Draft * const operand = unary();
        return tree_.add<NotExpression>(cursor_.since(first), {operand});
    }
    if (cursor_.is("(")) {
        return parenthesised();
    }
    if (cursor_.accept("block")) {
        return block();
    }
    if (cursor_.is("builtin")) {
        return builtIn();
    }
    if (startsCall()) {
        Draft * const made = call();
        if (startsTest()) {
            cursor_.fail(cursor_.here(), "call-as-value",
                         "a call is a condition by itself: its answer is not compared");
        }
        return made;
    }
    if (cursor_.is("if") || cursor_.is("return") || cursor_.is("exit")) {
        cursor_.fail(cursor_.here(), "syntax",
                     "'" + String(cursor_.text()) +
                         "' stands here as a condition; put it in parentheses if that is meant");
    }
    return valueOrTest(false);
}

// Only here may a change, an `if` or a way out be an operand.
Draft * BodyParser::parenthesised() {
    cursor_.take();
    Draft * inner = nullptr;
    if (cursor_.is("if")) {
        inner = ifExpression();
    } else if (cursor_.is("return") || cursor_.is("exit")) {
        inner = leave();
    } else if (startsCondition()) {
        inner = condition();
    } else {
        inner = restOfChain(valueOrTest(true));
    }
    if (!cursor_.accept(")")) {
        failBehind("')'");
    }
    return inner;
}

Draft * BodyParser::builtIn() {
    Token const first = cursor_.take();
    refuseInAssertion(cursor_.spanOf(first));
    NodeClass const * const nodeClass = cursor_.isWord() ? findBuiltIn(cursor_.text()) : nullptr;
    if (nodeClass == nullptr) {
        cursor_.fail(cursor_.here(), "unknown-builtin",
                     "no built-in body is called " + cursor_.found(),
                     nearest(cursor_.text(), builtInNames()));
    }
    cursor_.take();
    return tree_.add(*nodeClass, cursor_.since(first));
}

// Words that make values are no functions; a name in quotes is one where "(" follows.
bool BodyParser::startsCall() const {
    bool const follows = cursor_.isAhead("(") && !cursor_.ahead().afterGap;
    return follows && (cursor_.isString() || (cursor_.isWord() && isPlainName(cursor_.text())));
}

// All that is a condition and does not begin with a value.
bool BodyParser::startsCondition() const {
    return cursor_.is("not") || cursor_.is("(") || cursor_.is("block") || cursor_.is("builtin") ||
           startsCall();
}

Draft * BodyParser::call() {
    Token const first = cursor_.now();
    String const callee = name("a function");
    CallDraft made{nullptr, callee, cursor_.spanOf(first), arguments(callee)};
    DraftField chain;
    if (!made.arguments.empty()) {
        chain = DraftChain(made.arguments);
    }
    U64 id = 0;
    if (cursor_.is("@") && !cursor_.now().startsLine) {
        cursor_.take();
        id = number("the number of the call", 0xFFFFFFFF);
    }
    made.call = tree_.add<FunctionCallExpression>(cursor_.since(first),
                                                  {callee, DraftField(), std::move(chain), id});
    uses_.calls.push_back(made);
    return made.call;
}

// A number as a table, or one that is no state: documents may pass it, and nothing ever matches.
void BodyParser::warnOfNumber(Draft const & argument, std::size_t position) {
    bool const isNumber = argument.nodeClass == &nodeClassOf<IntImmediate>();
    if (isNumber && position == 0) {
        cursor_.warn(argument.span, "argument-type",
                     "a number names no ROA table; 'roa_table NAME' does");
    }
    if (isNumber && position == 1 &&
        std::get<U64>(argument.fields[0]) >
            *nodeClassOf<Attribute::OriginValidationState>().attribute->max) {
        cursor_.warn(argument.span, "argument-type",
                     "no state of origin validation; there are valid, not_found and invalid");
    }
}

// The states of origin validation have names as the argument that takes them.
std::vector<Draft *> BodyParser::arguments(std::string_view callee) {
    bool const validates = callee == nodeClassOf<MatchOriginAsValidityImplExpr>().facts.words;
    auto const & state = *nodeClassOf<Attribute::OriginValidationState>().attribute;
    cursor_.expect("(");
    Cursor::Level const level(cursor_);
    std::vector<Draft *> values;
    while (!cursor_.is(")")) {
        Want want{.prefixLists = !validates};
        want.roaTable = validates && values.empty();
        want.names = validates && values.size() == 1 ? &state : nullptr;
        Draft * const argument = value(want);
        if (!argument->isKind(NodeKind::storageType)) {
            cursor_.fail(argument->span, "type", "an argument is a value, not a condition");
        }
        if (validates) {
            warnOfNumber(*argument, values.size());
        }
        values.push_back(argument);
        if (!cursor_.accept(",") && !cursor_.is(")")) {
            cursor_.failWanted("',' or ')' of the call");
        }
    }
    cursor_.take();
    return values;
}

} // namespace Qcf::Text
