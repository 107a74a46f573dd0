#pragma once

#include "QcfLib/AetNode.h"

#include <algorithm>
#include <span>

namespace Qcf::Documents {

/// How many arguments of each type a tree reads from its frame.
struct ArgumentNeeds {
    U16 integers = 0;
    U16 bandwidths = 0;
    U16 triStateBools = 0;
    U16 prefixLists = 0;
    bool nodes = false; ///< singletons and bounds of ranges, by reference
    /// Integer arguments, by position, whose values must fit 32 bits.
    U64 narrowIntegers = 0;

    bool any() const;
    void add(ArgumentNeeds const & other);
};

/// What the reader keeps of a node beside the node, so that nothing has to walk a tree: all of it
/// follows from the node's class and its children's facts.
struct NodeFacts {
    U64 size = 1;      ///< nodes of the tree, shared ones counted at each place; saturating
    U64 reads = 0;     ///< bits of AttributeSet
    U32 writes = 0;    ///< bits of ModifiableAttributeSet
    U32 structure = 0; ///< equal for equal shared nodes; 0 for others
    U32 names = 0;     ///< the set of list names used, see ListNames
    U32 length = 0;    ///< of chains: links from this one on; of literal lists and sets: elements
    ArgumentNeeds needs;
    bool constant = false; ///< a constant element, or a chain of them
    bool returns = false;  ///< evaluating it can yield a return
    bool onFrame = false;  ///< its value depends on the frame
    bool dumpable = true;  ///< operands and operators of its logical chains match
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
