#pragma once

#include "QcfLib/AetNode.h"

#include <functional>
#include <unordered_map>
#include <utility>

/// How a recursive look at a tree stays in proportion to its nodes, however many places share them.
namespace Qcf::Eval {

/// What one thread's present look has found out of large trees: each is asked once. Small ones are
/// asked wherever they stand, which costs less than remembering them.
///
///     SharedHashes::Look const look(tree);                        // around the outermost one
///     U32 const hash = SharedHashes::of(child, &child, [&] { return child.hash(0); });
///
/// A tree of n nodes can have 2^n places: without this a document of some kilobytes would keep a
/// reader busy for ever. Each thread has answers of its own; no lock is needed.
template <typename Key, typename Answer, typename KeyHash = std::hash<Key>>
class SharedAnswers {
public:
    /// Answers are remembered while there is one for a large tree.
    /// Nested ones count up, and the last to end forgets everything: an answer must not outlive
    /// the nodes whose addresses name it.
    class Look {
    public:
        explicit Look(AetNodeBase const & tree) : large_(isLarge(tree)) { depth() += large_; }
        Look(Look const &) = delete;
        Look & operator=(Look const &) = delete;
        ~Look() {
            depth() -= large_;
            if (large_ != 0 && depth() == 0) {
                known().clear();
            }
        }

    private:
        /// 1 or 0, to be added to the depth.
        U32 large_;
    };

    /// The answer of `ask()` for the tree, which `key` names.
    /// `ask` may come here again for what stands below; an answer is noted when it is complete.
    template <typename Ask>
    static Answer of(AetNodeBase const & tree, Key const & key, Ask ask) {
        if (isLarge(tree) == 0) {
            return ask();
        }
        Look const look(tree);
        auto const found = known().find(key);
        if (found != known().end()) {
            return found->second;
        }
        Answer const answer = ask();
        known().emplace(key, answer);
        return answer;
    }

private:
    /// Size counts shared nodes at each place, and so tells of sharing before anybody walks.
    static U32 isLarge(AetNodeBase const & tree) {
        constexpr U32 nodesOfLargeTree = 256;
        return tree.treeFacts().size >= nodesOfLargeTree ? 1 : 0;
    }
    static U32 & depth() {
        thread_local U32 depth = 0;
        return depth;
    }
    static std::unordered_map<Key, Answer, KeyHash> & known() {
        thread_local std::unordered_map<Key, Answer, KeyHash> known;
        return known;
    }
};

// Answers by tree; those of comparisons by both trees, in their order.
using SharedHashes = SharedAnswers<AetNodeBase const *, U32>;
using SharedSanity = SharedAnswers<AetNodeBase const *, bool>;

/// The factor keeps (a, b) and (b, a) apart.
struct NodePairHash {
    std::size_t operator()(std::pair<AetNodeBase const *, AetNodeBase const *> const & pair) const {
        std::hash<AetNodeBase const *> const hash;
        return hash(pair.first) * 31 + hash(pair.second);
    }
};
using SharedComparisons =
    SharedAnswers<std::pair<AetNodeBase const *, AetNodeBase const *>, bool, NodePairHash>;

} // namespace Qcf::Eval
