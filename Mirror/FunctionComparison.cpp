#include "Mirror/FunctionComparison.h"

#include "QcfLib/QcfEval.h"

namespace Qcf::Mirror {

FunctionComparison::FunctionComparison(U64 steps)
    : steps_(steps), meet_([this](Node const & a, Node const & b) { return meet(a, b); }) {}

bool FunctionComparison::meet(Node const & a, Node const & b) {
    if (&a == &b) {
        shared_.push_back(&a);
        return true;
    }
    // Fields are compared of nodes of one class only.
    if (&a.typeData() != &b.typeData()) {
        return false;
    }
    if (Eval::is<Eval::Function>(a)) {
        auto const known = known_.find(&a);
        if (known != known_.end() && known->second == &b) {
            return true;
        }
    }
    pairs_.push_back({&a, &b});
    return true;
}

// Level by level: what is met is the list of what is still to be looked at.
std::optional<bool> FunctionComparison::equal(Eval::Function const & a, Eval::Function const & b) {
    pairs_.clear();
    shared_.clear();
    meet(a, b);
    // NOLINTNEXTLINE(modernize-loop-convert): it grows meanwhile
    for (std::size_t at = 0; at < pairs_.size(); ++at) {
        if (steps_ == 0) {
            return std::nullopt;
        }
        --steps_;
        Pair const pair = pairs_[at];
        if (!pair.a->typeData().sameFields(*pair.a, *pair.b, meet_)) {
            return false;
        }
    }
    known_.insert_or_assign(&a, &b);
    return true;
}

} // namespace Qcf::Mirror
