#include "Watch/ExplanationText.h"

#include "Platform/Render/Utf8.h"
#include "Watch/ExplanationRows.h"

#include <algorithm>

namespace Qcf::Watch {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

constexpr std::size_t indentation = 2;
constexpr std::size_t widestText = 76;

void padTo(String & out, std::size_t start, std::size_t width) {
    std::size_t const length = out.size() - start;
    out.append(length < width ? width - length : 0, ' ');
}

char const * verdictText(EvalResult result) {
    if (result.isTrue()) {
        return "accepted (true)";
    }
    return result.retVal() == QcfUnknown() ? "undecided (unknown)" : "rejected (false)";
}

/// What decided: a statement, or that there was none.
String decisionText(ExplainedRoute const & route, Decision const & decision) {
    if (decision.statement != nullptr) {
        String line = route.places.line(*decision.statement, *decision.within);
        if (String const own = route.places.reason(*decision.statement); !own.empty()) {
            line.resize(std::min(line.size(), line.rfind(" because ")));
        }
        return " by " + route.places.of(*decision.statement, *decision.within).text() + "  " + line;
    }
    TraceNode const * const root = route.watched.root();
    if (root == nullptr) {
        return {};
    }
    bool const isRefused = root->children.empty();
    return isRefused ? " because the function expects arguments"
                     : " at the end of " + root->within->funcName();
}

String verdictLine(ExplainedRoute const & route) {
    Decision const decision = route.watched.decision(route.places);
    Agent::Route const & of = route.evaluated.route;
    String const prefix = of.ipPrefix.toString();
    String line = std::to_string(route.evaluated.number) + "  " + (prefix.empty() ? "-" : prefix);
    if (IpGenAddr const & peer = of.sourceSessionRemoteIpAddress; !peer.isAddrZero()) {
        line += " via " + peer.toString();
    }
    line += "  " + String(verdictText(route.evaluated.result)) + decisionText(route, decision);
    return line + (decision.reason.empty() ? "" : "   reason: " + decision.reason);
}

void appendVerdict(String & out, ExplainedRoute const & route) {
    out += visibleText(verdictLine(route)) + '\n';
    TraceNode const * const root = route.watched.root();
    if (root == nullptr || root->unknownBecause.empty()) {
        return;
    }
    String line;
    for (String const & reason : root->unknownBecause) {
        line += (line.empty() ? " " : ", ") + reason;
    }
    out += "  unknown because:" + visibleText(line) + '\n';
}

/// Names of files, lists and interfaces may be anything.
std::vector<ExplanationRow> visible(std::vector<ExplanationRow> rows) {
    for (ExplanationRow & row : rows) {
        row.label = visibleText(row.label);
        row.text = visibleText(row.text);
        row.values = visibleText(row.values);
    }
    return rows;
}

// Two columns of fixed width: what stands there, and what it came to.
void appendRows(String & out, std::vector<ExplanationRow> const & rows) {
    std::size_t labels = 0;
    std::size_t texts = 0;
    for (ExplanationRow const & row : rows) {
        labels = std::max(labels, row.label.size());
        texts = std::max(texts, indentation * row.depth + row.text.size());
    }
    texts = std::min(texts, widestText);
    for (ExplanationRow const & row : rows) {
        std::size_t const start = out.size();
        out.append(4, ' ');
        out.append(labels - row.label.size(), ' ');
        out += row.label;
        out.append(2 + indentation * row.depth, ' ');
        out += row.text;
        padTo(out, start, 4 + labels + 2 + texts);
        out += "  " + row.result;
        padTo(out, start, 4 + labels + 2 + texts + 2 + 9);
        out += ' ' + row.values;
        out.resize(out.find_last_not_of(' ') + 1);
        out += '\n';
    }
}

/// What was changed, an attribute once: from what it was first to what it is at the end.
std::vector<Change> netChanges(TraceNode const & at) {
    std::vector<Change> changes;
    auto const gather = [&](auto const & self, TraceNode const & node) -> void {
        if (node.change && !node.thrown) {
            auto const known = std::ranges::find_if(changes, [&](Change const & change) {
                return &change.target->typeData() == &node.change->target->typeData();
            });
            if (known == changes.end()) {
                changes.push_back(*node.change);
            } else {
                known->after = node.change->after;
                known->clamped = known->clamped || node.change->clamped;
            }
        }
        for (TraceNode const * const child : node.children) {
            self(self, *child);
        }
    };
    gather(gather, at);
    return changes;
}

void appendChanges(String & out, TraceNode const & root) {
    auto const changes = netChanges(root);
    if (changes.empty()) {
        return;
    }
    bool const isUndecided = root.result.retVal() == QcfUnknown();
    char const * const why = isUndecided ? "undecided" : "rejected";
    out += root.result.isTrue() ? String("  changes: ")
                                : "  changes made and dropped (" + String(why) + "): ";
    for (Change const & change : changes) {
        out += (&change == &changes.front() ? "" : ", ") + visibleText(changeText(change));
    }
    out += '\n';
}

} // namespace

void appendExplanation(String & out, ExplainedRoute const & route, bool all) {
    appendVerdict(out, route);
    TraceNode const * const root = route.watched.root();
    if (root == nullptr) {
        return;
    }
    appendRows(out, visible(rowsOf(*root, route.places, {.all = all})));
    appendChanges(out, *root);
}

} // namespace Qcf::Watch
