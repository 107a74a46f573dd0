#include "Watch/ExplanationText.h"

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

void appendVerdict(String & out, ExplainedRoute const & route) {
    Decision const decision = route.watched.decision(route.places);
    EvalResult const result = route.evaluated.result;
    String const prefix = route.evaluated.route.ipPrefix.toString();
    out += std::to_string(route.evaluated.number) + "  " + (prefix.empty() ? "-" : prefix);
    out += "  " + String(verdictText(result));
    if (decision.statement != nullptr) {
        String line = route.places.line(*decision.statement, *decision.within);
        if (String const own = route.places.reason(*decision.statement); !own.empty()) {
            line.resize(std::min(line.size(), line.rfind(" because ")));
        }
        out += " by " + route.places.of(*decision.statement, *decision.within).text() + "  " + line;
    } else if (TraceNode const * const root = route.watched.root()) {
        bool const isRefused = root->children.empty();
        out += isRefused ? " because the function expects arguments"
                         : " at the end of " + root->within->funcName();
    }
    out += decision.reason.empty() ? "\n" : "   reason: " + decision.reason + '\n';
    TraceNode const * const root = route.watched.root();
    if (root != nullptr && !root->unknownBecause.empty()) {
        out += "  unknown because:";
        for (String const & reason : root->unknownBecause) {
            out += (&reason == &root->unknownBecause.front() ? " " : ", ") + reason;
        }
        out += '\n';
    }
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
        out += (&change == &changes.front() ? "" : ", ") + changeText(change);
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
    appendRows(out, rowsOf(*root, route.places, {.all = all}));
    appendChanges(out, *root);
}

} // namespace Qcf::Watch
