#include "Watch/TraceTree.h"

#include "Watch/ListAnswers.h"
#include "Watch/UnknownReasons.h"

namespace Qcf::Watch {

namespace {

/// Reads what is to be shown of a node. What cannot be read is left out: whatever keeps us from it
/// the node itself is about to meet, or has met.
template <typename Read>
void readIfPossible(Read const & read) {
    try {
        read();
    } catch (std::exception const &) { // NOLINT(bugprone-empty-catch)
    }
}

} // namespace

void TraceTree::clear() {
    nodes_.clear();
    current_ = nullptr;
}

// A change is read before it takes place, and a call's arguments in the caller's frame.
void TraceTree::entered(Eval::Expression const & node, Eval::EvalContext & context) {
    if (current_ == nullptr) {
        clear();
    }
    TraceNode & at = nodes_.emplace_back();
    at.node = &node;
    at.parent = current_;
    auto const * const function = Eval::as<Eval::Function>(node);
    at.within = function != nullptr || current_ == nullptr ? function : current_->within;
    if (current_ != nullptr) {
        current_->children.push_back(&at);
    }
    current_ = &at;
    readIfPossible([&] {
        at.change = changeBefore(node, context);
        if (at.change || Eval::is<Eval::FunctionCallExpression>(node)) {
            at.operands = operandsOf(node, context);
        }
    });
}

void TraceTree::left(Eval::Expression const & node, Eval::EvalResult result,
                     Eval::EvalContext & context) {
    TraceNode & at = *current_;
    at.result = result;
    readIfPossible([&] {
        if (at.change) {
            changeDone(*at.change, context);
        } else if (at.children.empty()) {
            at.operands = operandsOf(node, context);
            at.listSays = listSays(at, context);
        }
    });
    readIfPossible([&] { noteUnknown(at, context); });
    current_ = at.parent;
}

void TraceTree::thrown(Eval::Expression const & /*node*/, Eval::EvalContext & /*context*/) {
    current_->thrown = true;
    current_ = current_->parent;
}

} // namespace Qcf::Watch
