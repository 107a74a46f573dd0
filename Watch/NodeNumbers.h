#pragma once

#include "QcfLib/QcfEval.h"

#include <span>
#include <vector>

namespace Qcf::Watch {

/// Dense numbers for the expressions of functions, those that they call included, so that whoever
/// counts evaluations keeps an array.
///
///     NodeNumbers const numbers(std::span(&function, 1));
///     std::vector<U64> entered(numbers.size());
///     ++entered[numbers.of(node)];
///
/// Numbers rise in the order of the text, function by function: those given first, then the called
/// ones in the order of their first calls. Does not change; any number of threads may ask. The
/// functions must outlive it.
class NodeNumbers {
public:
    explicit NodeNumbers(std::span<PtrConst<Eval::Function> const> functions);

    /// The number of an expression of these functions, functions themselves included. Another
    /// program's node has none: asking for it is misuse. One look into an array, unless keys lie
    /// far apart.
    U32 of(Eval::Expression const & node) const {
        U64 const key = node.aetNodeKey();
        return key < byKey_.size() ? byKey_[key] : search(key);
    }
    std::size_t size() const { return nodes_.size(); }

    /// An expression with the function in which it stands; of a shared one the first.
    struct Node {
        Eval::Expression const * node;
        Eval::Function const * within;
    };
    /// By number.
    std::vector<Node> const & nodes() const { return nodes_; }
    /// The functions, in the order of the numbers.
    std::vector<Eval::Function const *> const & functions() const { return functions_; }

private:
    void index();
    U32 search(U64 key) const;

    std::vector<Node> nodes_;
    std::vector<Eval::Function const *> functions_;
    /// By key, where keys are dense as compilers give them; else empty.
    std::vector<U32> byKey_;
    /// Keys with their numbers, where they are not.
    std::vector<std::pair<U64, U32>> sorted_;
};

} // namespace Qcf::Watch
