#include "Watch/NodeNumbers.h"

#include "QcfLib/NodeWalk.h"

#include <algorithm>
#include <unordered_set>

namespace Qcf::Watch {

using Eval::AetNodeBase;
using Eval::Expression;
using Eval::Function;

namespace {

/// The expressions of one function without those of what it calls, which come to `callees`.
template <typename Take, typename Callee>
void walkFunction(Function const & function, std::unordered_set<AetNodeBase const *> & met,
                  Take const & take, Callee const & callee) {
    Eval::walkTree(function, [&](Eval::WalkedNode const & at) {
        if (auto const * const called = Eval::as<Function>(at.node);
            called != nullptr && called != &function) {
            callee(*called);
            return false;
        }
        if (!met.insert(&at.node).second) {
            return false;
        }
        if (at.node.typeData().isKind(Eval::NodeKind::expression)) {
            take(static_cast<Expression const &>(at.node));
        }
        return true;
    });
}

} // namespace

// By a queue of its own: calls may be nested as deep as there are functions.
NodeNumbers::NodeNumbers(std::span<PtrConst<Function> const> functions) {
    std::unordered_set<AetNodeBase const *> met;
    std::unordered_set<Function const *> known;
    auto const add = [&](Function const & function) {
        if (known.insert(&function).second) {
            functions_.push_back(&function);
        }
    };
    for (auto const & function : functions) {
        add(*function);
    }
    for (std::size_t i = 0; i < functions_.size(); ++i) {
        Function const & function = *functions_[i];
        walkFunction(
            function, met,
            [&](Expression const & node) {
                nodes_.push_back({&node, &function});
            },
            add);
    }
    index();
}

// Keys of documents may be anything. A table that is mostly empty would be slower than a search.
void NodeNumbers::index() {
    U64 largest = 0;
    for (Node const & each : nodes_) {
        largest = std::max(largest, each.node->aetNodeKey());
    }
    constexpr U64 smallTable = 65536;
    bool const isDense = largest < std::max<U64>(smallTable, U64{16} * nodes_.size());
    byKey_.resize(isDense ? largest + 1 : 0);
    for (std::size_t number = 0; number < nodes_.size(); ++number) {
        U64 const key = nodes_[number].node->aetNodeKey();
        if (isDense) {
            byKey_[key] = static_cast<U32>(number);
        } else {
            sorted_.emplace_back(key, static_cast<U32>(number));
        }
    }
    std::ranges::sort(sorted_);
}

U32 NodeNumbers::search(U64 key) const {
    auto const found = std::ranges::lower_bound(sorted_, key, {}, &std::pair<U64, U32>::first);
    QCF_ASSERT_TEXT(found != sorted_.end() && found->first == key,
                    "the node is of these functions");
    return found->second;
}

} // namespace Qcf::Watch
