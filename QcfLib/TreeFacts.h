#pragma once

#include "Platform/Framework/Types.h"

#include <algorithm>
#include <initializer_list>
#include <limits>

/// How large and deep a tree is, and what it can do, known at each node from its construction on.
/// Whoever bounds its work by this need not walk, and cannot be led astray by sharing.
///
///     if (node.treeFacts().size > limit || !node.treeFacts().onlyReads) { ... }
namespace Qcf::Eval {

/// The deepest tree that is accepted from outside: nodes above each other, through references and
/// calls; the links of chains do not count.
/// Whoever reads a document refuses what is deeper, with an error.
inline constexpr U32 maximumTreeDepth = 2048;

/// The deepest tree that is walked at all. Whoever builds trees by the creators may go deeper than
/// what comes from outside, and may free such a tree; to evaluate, lower, hash, compare, check or
/// dump one is misuse, and ends with an assertion instead of an overflow of the stack.
///
///     assertWalkable(node); // AetNode.h: what every recursive look at a tree begins with
///
inline constexpr U32 deepestWalkedTree = 4 * maximumTreeDepth;

/// What a node is by its class alone.
struct NodeEffects {
    bool onlyReads = true;       ///< changes nothing, ends nothing, and calls nothing that could
    bool looksIntoFrame = false; ///< reads arguments of the function that it belongs to
    bool isLevel = true;         ///< counts as a level of the tree; links and functions do not
    bool ownsFrame = false;      ///< what stands below reads arguments of this very node's call
};

/// What is known of a node together with all that stands below it, from its construction on:
/// whoever asks this of a tree need not walk it, however often the tree shares its nodes.
///
///     TreeFacts const facts = node.treeFacts(); // a copy of a few bytes
///
struct TreeFacts {
    /// All counted as if each place had a tree of its own.
    U32 size = 1;  ///< nodes, shared ones counted at each place; ends at the largest number
    U16 depth = 1; ///< levels, callees included; ends at the largest number
    // Of the whole tree: one node that writes, or that looks, is enough.
    bool onlyReads = true;
    bool looksIntoFrame = false;

    /// The facts of a node of those effects over children of these facts.
    /// Costs a step a child, once, in the constructor; nodes are immutable, so that it stays true.
    static constexpr TreeFacts over(NodeEffects own, std::initializer_list<TreeFacts> children) {
        // Shared nodes multiply: the numbers of a small document can be beyond every word.
        constexpr U64 largestSize = std::numeric_limits<U32>::max();
        constexpr U32 largestDepth = std::numeric_limits<U16>::max();
        // Sums in the wider type cannot wrap for any number of fields.
        U64 size = 1;
        U32 depth = 0;
        TreeFacts facts{1, 1, own.onlyReads, own.looksIntoFrame};
        for (TreeFacts const & child : children) {
            size += child.size;
            depth = std::max<U32>(depth, child.depth);
            facts.onlyReads = facts.onlyReads && child.onlyReads;
            facts.looksIntoFrame = facts.looksIntoFrame || child.looksIntoFrame;
        }
        // What a callee reads of its arguments, it does not read of its caller's.
        facts.looksIntoFrame = facts.looksIntoFrame && !own.ownsFrame;
        // Both stay at the end of their range, so that any limit still sees them as too large.
        facts.size = static_cast<U32>(std::min(size, largestSize));
        facts.depth = static_cast<U16>(std::min(depth + (own.isLevel ? 1U : 0U), largestDepth));
        return facts;
    }

    /// Of an absent child.
    /// No node and no level, and nothing done.
    static constexpr TreeFacts none() { return {0, 0, true, false}; }
};

} // namespace Qcf::Eval
