#include "Watch/ExplanationRows.h"

#include <algorithm>

/// Which nodes of an evaluation are shown, and how: people look for the line that decided and for
/// the tests that led there.
namespace Qcf::Watch {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

void append(String & text, String const & more) {
    text += text.empty() || more.empty() ? more : "; " + more;
}

bool leaves(TraceNode const & at) {
    return is<ReturnExpression>(*at.node) || is<ExitExpression>(*at.node);
}

class RowMaker {
public:
    RowMaker(TraceNode const & root, NodePlaces const & places, RowOptions const & options)
        : places_(places), options_(options), path_(decidingPath(root)) {
        for (TraceNode const * const step : path_) {
            decides_ = leaves(*step) ? step : decides_;
        }
        file_ = root.children.empty() ? String() : placeOf(*root.children.front()).file;
    }

    void function(TraceNode const & function, std::size_t depth) {
        for (TraceNode const * const body : function.children) {
            statements(*body, depth);
        }
    }
    std::vector<ExplanationRow> take() { return std::move(rows_); }

private:
    bool isOnPath(TraceNode const & at) const {
        return std::ranges::find(path_, &at) != path_.end();
    }
    NodePlace placeOf(TraceNode const & at) const {
        return at.within == nullptr ? NodePlace() : places_.of(*at.node, *at.within);
    }
    String lineOf(TraceNode const & at) const {
        return at.within == nullptr ? String(at.node->typeData().name)
                                    : places_.line(*at.node, *at.within);
    }
    /// The line alone in the outermost function's text, else with the file.
    String labelOf(NodePlace const & place) const {
        if (!place.isInText()) {
            return place.pointer;
        }
        return (place.file == file_ ? String() : place.file + ':') + std::to_string(place.line);
    }

    ExplanationRow & row(TraceNode const & at, std::size_t depth) {
        NodePlace const place = placeOf(at);
        rows_.push_back({.depth = depth,
                         .line = place.line,
                         .label = labelOf(place),
                         .text = lineOf(at),
                         .values = valuesText(at)});
        return rows_.back();
    }

    void statements(TraceNode const & block, std::size_t depth) {
        if (!is<Block>(*block.node)) {
            statement(block, depth);
            return;
        }
        for (TraceNode const * const each : block.children) {
            statement(*each, depth);
        }
    }

    void statement(TraceNode const & at, std::size_t depth) {
        if (is<Block>(*at.node)) {
            statements(at, depth);
        } else if (is<IfExpression>(*at.node)) {
            branch(at, depth);
        } else if (leaves(at)) {
            leave(at, depth);
        } else if (options_.all || isOnPath(at) || (options_.withCalls && !calledBy(at).empty())) {
            other(at, depth);
        }
    }

    // The row is the condition's: its result says which way was taken.
    void branch(TraceNode const & at, std::size_t depth) {
        if (at.children.empty()) {
            return;
        }
        TraceNode const & condition = *at.children.front();
        ExplanationRow & added = row(at, depth);
        added.result = resultText(condition);
        // What is negated says why; that it is negated stands in the line.
        TraceNode const * asked = &condition;
        while (is<NotExpression>(*asked->node) && !asked->children.empty()) {
            asked = asked->children.front();
        }
        added.isTest = isSimple(*asked) || isFolded(*asked);
        if (added.isTest) {
            added.text = options_.withCalls ? lineOf(condition) : added.text;
            added.values = isFolded(*asked) ? foldedText(*asked) : valuesText(*asked);
            noteAbsorbed(added, condition, *asked);
        } else if (is<LogicalOperatorExpression>(*asked->node)) {
            noteAbsorbed(added, condition, *asked);
            eachPart(*asked, depth + 3);
        } else {
            parts(*asked, depth + 3);
        }
        for (std::size_t i = 1; i < at.children.size(); ++i) {
            TraceNode const & taken = *at.children[i];
            // What stands in `else if` is as deep as the `if`.
            bool const isChained = is<IfExpression>(*taken.node);
            if (options_.all || options_.withCalls || isChained || isOnPath(taken)) {
                statements(taken, isChained ? depth : depth + 1);
            }
        }
    }

    /// What `if` and `not` around a condition made something else of.
    static void noteAbsorbed(ExplanationRow & row, TraceNode const & condition,
                             TraceNode const & asked) {
        for (TraceNode const * each = asked.parent; each != condition.parent->parent;
             each = each->parent) {
            append(row.values, absorbedText(*each));
        }
        if (!isSimple(asked)) {
            append(row.values, absorbedText(asked));
        }
    }

    void leave(TraceNode const & at, std::size_t depth) {
        ExplanationRow & added = row(at, depth);
        added.values = &at == decides_ ? "<- decides" : "";
        for (TraceNode const * const operand : at.children) {
            bool const isPlain = operand->children.empty() && valuesText(*operand).empty();
            if (!isPlain) {
                parts(*operand, depth + 1);
            }
        }
    }

    void other(TraceNode const & at, std::size_t depth) {
        ExplanationRow & added = row(at, depth);
        if (at.change) {
            added.values = changeText(*at.change);
            return;
        }
        added.result = resultText(at);
        for (TraceNode const * const called : calledBy(at)) {
            function(*called, depth + 1);
        }
        if (options_.all && calledBy(at).empty()) {
            eachPart(at, depth + 1);
        }
    }

    /// A condition with what it consists of: operands that were evaluated, functions' statements.
    void parts(TraceNode const & at, std::size_t depth) {
        bool const isChain = is<LogicalOperatorExpression>(*at.node);
        bool const isWhole = isChain && is<IfExpression>(*at.parent->node);
        if (isWhole) {
            eachPart(at, depth);
            return;
        }
        NodePlace const place = placeOf(at);
        bool const isSameLine = !options_.withCalls && !rows_.empty() && rows_.back().line != 0;
        rows_.push_back({.depth = depth,
                         .line = place.line,
                         .label = isSameLine ? String() : labelOf(place),
                         .text = lineOf(at),
                         .result = resultText(at),
                         .values = at.change ? changeText(*at.change) : valuesText(at),
                         .isTest = isSimple(at)});
        if (isFolded(at)) {
            rows_.back().values = foldedText(at);
            rows_.back().isTest = true;
            return;
        }
        eachPart(at, depth + 1);
    }

    void eachPart(TraceNode const & at, std::size_t depth) {
        for (TraceNode const * const child : at.children) {
            if (is<Function>(*child->node)) {
                function(*child, depth);
            } else if (is<Block>(*child->node)) {
                statements(*child, depth);
            } else {
                parts(*child, depth);
            }
        }
    }

    /// A call that is told in a line: whoever wants more asks for all.
    bool isFolded(TraceNode const & at) const {
        return !options_.all && calledBy(at).size() == 1 && !isOnPath(at);
    }

    String foldedText(TraceNode const & call) const {
        String text = valuesText(call);
        append(text, endOf(*calledBy(call).front()));
        return text;
    }

    /// Where a call ended: "-> 15 return ... (3 operands false)". A built-in function ends in its
    /// body, whose values say more.
    String endOf(TraceNode const & function) const {
        auto const path = decidingPath(function);
        auto const last = std::find_if(path.rbegin(), path.rend(),
                                       [](TraceNode const * step) { return leaves(*step); });
        if (last == path.rend()) {
            return valuesText(*path.back());
        }
        TraceNode const & statement = **last;
        String const to = "-> " + labelOf(placeOf(statement)) + ' ';
        TraceNode const & operand = *statement.children.back();
        if (is<LogicalOperatorExpression>(*operand.node) && isEven(operand)) {
            return to + String(statement.node->typeData().facts.words) + " ... (" +
                   std::to_string(operand.children.size()) + " operands " + resultText(operand) +
                   ')';
        }
        TraceNode const & leaf = *path.back();
        String const values = valuesText(leaf);
        String const text = lineOf(&leaf == &operand || values.empty() ? statement : leaf);
        return to + text + (values.empty() ? String() : " [" + values + ']');
    }

    /// Whether all operands of a chain came to what it came to: no single one decided.
    static bool isEven(TraceNode const & chain) {
        return chain.children.size() > 1 &&
               std::ranges::all_of(chain.children, [&](TraceNode const * operand) {
                   return operand->result == chain.result;
               });
    }

    static std::vector<TraceNode const *> calledBy(TraceNode const & at) {
        std::vector<TraceNode const *> called;
        for (TraceNode const * const child : at.children) {
            if (is<Function>(*child->node)) {
                called.push_back(child);
            }
        }
        return called;
    }
    /// Whether its own line says all.
    static bool isSimple(TraceNode const & at) { return at.children.empty(); }
    static String resultText(TraceNode const & at) {
        return at.thrown ? "exception" : toString(at.result.retVal());
    }

    NodePlaces const & places_;
    RowOptions const & options_;
    std::vector<TraceNode const *> path_;
    TraceNode const * decides_ = nullptr;
    String file_;
    std::vector<ExplanationRow> rows_;
};

} // namespace

std::vector<ExplanationRow> rowsOf(TraceNode const & root, NodePlaces const & places,
                                   RowOptions const & options) {
    RowMaker maker(root, places, options);
    maker.function(root, 0);
    return maker.take();
}

} // namespace Qcf::Watch
