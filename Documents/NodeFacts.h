#pragma once

#include "QcfLib/AetNode.h"

#include <algorithm>
#include <span>

namespace Qcf::Documents {

/// How many arguments of each type a tree reads from its frame: one more than the largest index.
/// Who calls a function must pass at least as many.
struct ArgumentNeeds {
    U16 integers = 0;
    U16 bandwidths = 0;
    U16 triStateBools = 0;
    U16 prefixLists = 0;
    /// Singletons and bounds of ranges, by reference.
    bool nodes = false;
    /// Integer arguments, by position, whose values must fit 32 bits.
    U64 narrowIntegers = 0;

    /// Whether it reads any.
    bool any() const;
    /// Raises these to what reading both needs.
    void add(ArgumentNeeds const & other);
};

/// What the reader keeps of a node beside the node, so that nothing has to walk a tree: all of it
/// follows from the node's class and its children's facts. Of the whole tree from the node down,
/// unless something else is said; what stands in a called function is that function's own, its size
/// excepted.
struct NodeFacts {
    /// Nodes of the tree, shared ones and called functions counted at each place; saturating.
    U64 size = 1;
    /// Attributes that are read, as bits of AttributeSet.
    U64 reads = 0;
    /// Attributes that are written, as bits of ModifiableAttributeSet.
    U32 writes = 0;
    /// The number of its content: equal for equal shared nodes; 0 for others.
    U32 structure = 0;
    /// The set of list names used, see ListNames.
    U32 names = 0;
    /// Of chains: links from this one on. Of literal lists and sets: elements. Else 0.
    U32 length = 0;
    /// What it reads of its function's arguments.
    ArgumentNeeds needs;
    /// A constant element, or a chain of them.
    bool constant = false;
    /// Evaluating it can yield a return.
    bool returns = false;
    /// Its value depends on the frame.
    bool onFrame = false;
    /// Operands and operators of its logical chains match.
    bool dumpable = true;
};

/// Ends above any real size instead of wrapping around.
inline U64 saturatingSum(U64 a, U64 b) { return std::min(a + b, U64{1} << 62); }

/// Facts of a node from its children's, which stand in the order of its node fields (null for
/// absent ones). `names` and `structure` are left to the caller.
NodeFacts factsOf(Eval::AetNodeBase const & node, std::span<NodeFacts const * const> children);

/// Whether the node is an argument of the running function.
bool readsArgument(Eval::AetNodeBase const & node);

/// The place of an argument in its container; for nodes that are one.
U8 argumentIndexOf(Eval::AetNodeBase const & node);

} // namespace Qcf::Documents
