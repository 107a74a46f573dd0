#include "Watch/UnknownReasons.h"

#include "Text/FunctionContent.h"
#include "Text/Words.h"
#include "Watch/CallArguments.h"
#include "Watch/ListAnswers.h"

#include <algorithm>

namespace Qcf::Watch {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

using Reasons = std::vector<String>;

bool isUnknown(TraceNode const & at) { return !at.thrown && at.result.retVal() == QcfUnknown(); }

/// Each once, in the order in which they came.
void addReasons(Reasons & to, Reasons const & from) {
    for (String const & reason : from) {
        if (std::ranges::find(to, reason) == to.end()) {
            to.push_back(reason);
        }
    }
}

// Of an argument what was handed on as such.
String whyValueIsUnknown(AetNodeBase const & read, TraceNode const & at) {
    AetNodeBase const & value = valueBehind(read, at);
    NodeClass const & nodeClass = value.typeData();
    if (nodeClass.attribute != nullptr) {
        return "attribute " + String(nodeClass.attribute->languageName) + " is unknown";
    }
    if (nodeClass.fieldOf(FieldRole::argumentIndex) != nullptr) {
        return "argument " + Text::variableOf(value).name + " is unknown";
    }
    return "unknown is written";
}

/// Of a block that came to its end, which says nothing by itself.
String whyBlockIsUnknown(TraceNode const & at) {
    bool const isBody = at.parent != nullptr && is<Function>(*at.parent->node);
    return isBody ? "function " + Text::nameWord(at.within->funcName()) + " ended without return"
                  : String("block ended without return");
}

/// Of a node whose result is not that of another one.
String whyByItself(TraceNode const & at, EvalContext & context) {
    if (auto const * const predicate = as<TriStateBoolExpression>(*at.node)) {
        return whyValueIsUnknown(*predicate->expr(), at);
    }
    if (is<Block>(*at.node)) {
        return whyBlockIsUnknown(at);
    }
    if (is<LogicalOperatorExpression>(*at.node)) {
        return "chain without operands";
    }
    String why = whyListIsSilent(at, context);
    return why.empty() ? String(at.node->typeData().name) + " answered unknown" : why;
}

bool isSequence(TraceNode const & at) {
    auto const * const chain = as<LogicalOperatorExpression>(*at.node);
    return chain != nullptr && is<SequentialOperator>(*chain->operatorList()->entry());
}

/// Whether the node looks at the child's result and may go on with something else. A statement's
/// result nobody looks at.
bool looksAt(TraceNode const & at, TraceNode const & child) {
    if (auto const * const branch = as<IfExpression>(*at.node)) {
        return child.node == branch->condition().get() && &child == at.children.front();
    }
    return is<LogicalOperatorExpression>(*at.node) || is<NotExpression>(*at.node);
}

Reasons absorbedBy(TraceNode const & at) {
    Reasons absorbed;
    // Of alternatives that are all unknown nothing was made.
    bool const isHandedOn = isSequence(at) && isUnknown(at);
    for (TraceNode const * const child : at.children) {
        bool const isSeen = !child->result.terminates() && looksAt(at, *child);
        if (isUnknown(*child) && isSeen && !isHandedOn) {
            addReasons(absorbed, child->unknownBecause);
        }
    }
    if (auto const * const test = as<TriStateBoolIs>(*at.node)) {
        for (Operand const & operand : at.operands) {
            bool const isAsked = operand.node == test->lhs().get() && !operand.constant;
            if (isAsked && operand.value == toString(QcfUnknown())) {
                absorbed.push_back(whyValueIsUnknown(*operand.node, at));
            }
        }
    }
    return absorbed;
}

} // namespace

void noteUnknown(TraceNode & at, EvalContext & context) {
    at.absorbed = absorbedBy(at);
    if (!isUnknown(at)) {
        return;
    }
    TraceNode const * const decides = at.decidingChild();
    if (decides == nullptr) {
        at.unknownBecause.push_back(whyByItself(at, context));
        return;
    }
    // Of alternatives all had to be unknown.
    if (isSequence(at) && !at.result.terminates()) {
        for (TraceNode const * const child : at.children) {
            addReasons(at.unknownBecause, child->unknownBecause);
        }
        return;
    }
    addReasons(at.unknownBecause, decides->unknownBecause);
}

} // namespace Qcf::Watch
