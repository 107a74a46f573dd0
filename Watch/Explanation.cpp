#include "Watch/Explanation.h"

#include "Watch/ExplanationRows.h"

namespace Qcf::Watch {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

Watched::Watched(EvalContext & context) : context_(context) {
    context_.evaluationObserverIs(&tree_);
}

Watched::~Watched() { context_.evaluationObserverIs(nullptr); }

Decision Watched::decision(NodePlaces const & places) const {
    Decision decision;
    if (root() == nullptr) {
        return decision;
    }
    auto const path = decidingPath(*root());
    decision.leaf = path.back()->node;
    for (TraceNode const * const step : path) {
        bool const leaves = is<ReturnExpression>(*step->node) || is<ExitExpression>(*step->node);
        if (!leaves) {
            continue;
        }
        decision.statement = step->node;
        decision.within = step->within;
        if (String reason = places.reason(*step->node); !reason.empty()) {
            decision.reason = std::move(reason);
        }
    }
    return decision;
}

String decidingText(Watched const & watched, NodePlaces const & places, std::size_t indent) {
    String text;
    if (watched.root() == nullptr) {
        return text;
    }
    RowOptions options;
    options.withCalls = true;
    for (ExplanationRow const & row : rowsOf(*watched.root(), places, options)) {
        if (!row.isTest) {
            continue;
        }
        text.append(indent, ' ');
        text += row.line == 0 ? row.label : "line " + std::to_string(row.line);
        text += ": " + row.text + "  " + row.result;
        text += row.values.empty() ? String() : "   [" + row.values + ']';
        text += '\n';
    }
    return text;
}

} // namespace Qcf::Watch
