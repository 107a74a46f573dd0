#pragma once

#include "QcfLib/NodeClass.h"

#include <optional>
#include <span>
#include <unordered_map>
#include <vector>

namespace Qcf::Eval {
class Function;
}

namespace Qcf::Mirror {

/// Compares functions by walking both side by side, which ends at the first difference. Equal is
/// what has equal digests: classes, scalars and structure, callees included; neither keys nor
/// sharing count. A walk costs a small part of a digest, and tells which nodes stand for which.
///
///     FunctionComparison comparison(steps);
///     if (comparison.equal(mine, theirs) == true) { ... comparison.met() ... }
///
/// A callee that was found equal before is not walked again. Belongs to one thread; functions that
/// were compared must outlive it.
class FunctionComparison {
public:
    using Node = Eval::AetNodeBase;

    /// Nodes that stand in the same place, the first function's first.
    struct Pair {
        Node const * a;
        Node const * b;
    };

    /// Looks at so many pairs in all: a small tree may share its nodes so often that walking each
    /// place of them would take for ever.
    explicit FunctionComparison(U64 steps);
    /// Pairs that may be looked at for a program of so many nodes. Values that many nodes share are
    /// met at each place; what goes far beyond that is left to digests, which walk no node twice.
    static U64 stepsFor(std::size_t nodes) { return 1000 + 16 * U64{nodes}; }
    /// It refers to itself.
    FunctionComparison(FunctionComparison const &) = delete;
    FunctionComparison & operator=(FunctionComparison const &) = delete;

    /// Whether both are equal; nothing when the steps ran out before that was known.
    std::optional<bool> equal(Eval::Function const & a, Eval::Function const & b);
    /// What the last comparison met: of equal functions all nodes, but those under callees that
    /// were known to be equal, and under nodes that both hold.
    std::span<Pair const> met() const { return pairs_; }
    /// The nodes that both hold, as the last comparison met them; it went no further there.
    std::span<Node const * const> shared() const { return shared_; }

private:
    /// Two children: whether they may be equal; then they are looked at later.
    bool meet(Node const & a, Node const & b);

    U64 steps_;
    std::vector<Pair> pairs_; ///< met, and looked at from the front
    std::vector<Node const *> shared_;
    std::unordered_map<Node const *, Node const *> known_; ///< functions, with those equal to them
    Eval::NodeClass::ChildComparison meet_;
};

} // namespace Qcf::Mirror
