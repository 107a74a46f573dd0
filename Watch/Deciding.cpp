#include "Watch/Deciding.h"

#include <algorithm>

/// Whatever a node answers is the answer of the part that was evaluated last, but for blocks that
/// come to their end: so each node hands up what decided about its last part.
namespace Qcf::Watch {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

void Deciding::clear() {
    open_.clear();
    links_.clear();
    path_.clear();
}

void Deciding::entered(Expression const & node, EvalContext & /*context*/) {
    if (open_.empty()) {
        clear();
    }
    auto const * const function = as<Function>(node);
    bool const isOutermost = open_.empty();
    open_.push_back({function != nullptr || isOutermost ? function : open_.back().within});
}

void Deciding::left(Expression const & node, EvalResult result, EvalContext & /*context*/) {
    Open const at = open_.back();
    open_.pop_back();
    U32 last = at.last;
    if (is<Block>(node) && !result.terminates()) {
        last = none;
    } else if (is<ReturnExpression>(node) || is<ExitExpression>(node)) {
        links_.push_back({{&node, at.within}, last});
        last = static_cast<U32>(links_.size() - 1);
    }
    if (open_.empty()) {
        finish(last);
    } else {
        open_.back().last = last;
    }
}

void Deciding::thrown(Expression const & /*node*/, EvalContext & /*context*/) { open_.pop_back(); }

void Deciding::finish(U32 outermost) {
    for (U32 at = outermost; at != none; at = links_[at].inner) {
        path_.push_back(links_[at].statement);
    }
    std::ranges::reverse(path_);
}

String Deciding::reason(NodePlaces const & places) const {
    for (DecidingStatement const & statement : path_) {
        if (String reason = places.reason(*statement.node); !reason.empty()) {
            return reason;
        }
    }
    return {};
}

} // namespace Qcf::Watch
