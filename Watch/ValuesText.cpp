#include "Watch/ExplanationRows.h"

#include <algorithm>

/// What nodes read and changed, in the words of a line.
namespace Qcf::Watch {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

String defaultText(String const & value) { return "(not given, default " + value + ')'; }

String operandText(Operand const & operand) {
    return operand.given ? operand.value : defaultText(operand.value);
}

String joined(std::vector<String> const & parts, char const * between) {
    String text;
    for (String const & part : parts) {
        text += text.empty() ? part : between + part;
    }
    return text;
}

void append(String & text, String const & more) {
    text += text.empty() || more.empty() ? more : "; " + more;
}

/// The values that differ from route to route.
String operandsText(TraceNode const & at) {
    std::vector<String> parts;
    for (Operand const & operand : at.operands) {
        // A list is told by what it says.
        bool const isList = operand.node->typeData().isKind(NodeKind::prefixList);
        if (!operand.constant && !isList) {
            parts.push_back(operandText(operand));
        }
    }
    return joined(parts, ", ");
}

} // namespace

String valuesText(TraceNode const & at) {
    NodeClass const & nodeClass = at.node->typeData();
    // A table tells what of them it was asked about.
    bool const isTold = nodeClass.fields.empty() && !at.listSays.empty();
    String text = isTold ? String() : operandsText(at);
    bool const isComparison = nodeClass.facts.compares != ComparisonOrder::none;
    if (isComparison && at.operands.size() == 2 && !text.empty()) {
        text = operandText(at.operands[0]) + ' ' + String(nodeClass.facts.words) + ' ' +
               operandText(at.operands[1]);
    }
    if (!at.listSays.empty()) {
        text += text.empty() ? at.listSays : (nodeClass.fields.empty() ? ", " : ": ") + at.listSays;
    }
    // A list that is silent has said why.
    if (at.children.empty() && joined(at.unknownBecause, ", ") != at.listSays) {
        append(text, joined(at.unknownBecause, ", "));
    }
    append(text, absorbedText(at));
    return text;
}

String absorbedText(TraceNode const & at) {
    return at.absorbed.empty() ? String() : "unknown absorbed: " + joined(at.absorbed, ", ");
}

namespace {

std::vector<String> elementsOf(String const & set) {
    std::vector<String> elements;
    for (std::size_t at = set.find(' '); at != String::npos && at + 1 < set.size();) {
        auto const end = set.find_first_of(", ", at + 1);
        if (end == String::npos) {
            break;
        }
        elements.push_back(set.substr(at + 1, end - at - 1));
        at = set[end] == ',' ? end + 1 : String::npos;
    }
    return elements;
}

/// What is among the first elements and not among the second.
String difference(std::vector<String> const & from, std::vector<String> const & without) {
    std::vector<String> left;
    for (String const & element : from) {
        if (std::ranges::find(without, element) == without.end()) {
            left.push_back(element);
        }
    }
    return joined(left, ", ");
}

} // namespace

String changeText(Change const & change) {
    auto const * const attribute = change.attribute();
    String text = attribute == nullptr ? "value" : attribute->languageName;
    bool const isSet = change.before.starts_with('{') && change.after.starts_with('{');
    if (change.hadNoEffect()) {
        text += ' ' + (change.given ? change.after : defaultText(change.after)) + " (no effect)";
    } else if (isSet) {
        auto const before = elementsOf(change.before);
        auto const after = elementsOf(change.after);
        String const removed = difference(before, after);
        String const added = difference(after, before);
        text += removed.empty() ? String() : ' ' + removed + " removed";
        text += removed.empty() || added.empty() ? "" : ",";
        text += added.empty() ? String() : ' ' + added + " added";
    } else {
        text += ' ' + (change.given ? change.before : defaultText(change.before)) + " -> " +
                change.after;
    }
    return text + (change.clamped ? " (clamped)" : "");
}

} // namespace Qcf::Watch
