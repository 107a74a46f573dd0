#pragma once

#include "QcfLib/AetNode.h"

#include <algorithm>
#include <unordered_set>
#include <vector>

/// Walking a tree node by node, in the order of the text, without recursion: trees may be deep and
/// chains a million links long. All walks that do not evaluate go this way.
///
///     std::unordered_set<AetNodeBase const *> met;
///     walkTree(*function, [&](WalkedNode const & at) {
///         count += is<IntIs>(at.node);
///         return met.insert(&at.node).second; // whether to go on to its children
///     });
///
/// A node that several places share is met at each of them, and a called function's body under the
/// call: it is `enter` that bounds a walk.
namespace Qcf::Eval {

/// A node, and the field of its parent in which it stands; null for the first one.
/// Good during the call alone; the node itself as long as its tree.
struct WalkedNode {
    AetNodeBase const & node;
    FieldInfo const * field;
};

/// Calls `enter(WalkedNode)` for `root` and what stands below it, parents before children. Where it
/// answers true the walk goes on to the node's children, and then calls `leave(node)`.
/// Memory grows with the depth and the children of what is open, not with the tree. A link is a
/// child of the one before it, so that entering a chain keeps a place for each link until its end.
/// Nodes are not counted on the way: whoever keeps one counts it.
/// `meet(WalkedNode)` says of each child, when its parent is entered, whether the walk is to come
/// to it at all.
template <typename Meet, typename Enter, typename Leave>
void walkTree(AetNodeBase const & root, Meet && meet, Enter && enter, Leave && leave) {
    // One that is entered stays until all that it pushed is done.
    struct Place {
        AetNodeBase const * node;
        FieldInfo const * field;
        bool isEntered;
    };
    std::vector<Place> places{{&root, nullptr, false}};
    while (!places.empty()) {
        Place const at = places.back();
        if (at.isEntered || !enter(WalkedNode{*at.node, at.field})) {
            places.pop_back();
            if (at.isEntered) {
                leave(*at.node);
            }
            continue;
        }
        places.back().isEntered = true;
        auto const firstChild = static_cast<std::ptrdiff_t>(places.size());
        at.node->typeData().visitChildren(
            *at.node, [&](FieldInfo const & field, AetNodeBase const * child) {
                if (child != nullptr && meet(WalkedNode{*child, &field})) {
                    places.push_back({child, &field, false});
                }
            });
        // The last one pushed comes first.
        std::reverse(places.begin() + firstChild, places.end());
    }
}

/// The same to every place of every node.
template <typename Enter, typename Leave>
void walkTree(AetNodeBase const & root, Enter && enter, Leave && leave) {
    walkTree(
        root, [](WalkedNode const &) { return true; }, std::forward<Enter>(enter),
        std::forward<Leave>(leave));
}

/// The same to each node once: to the place where the walk first sees it below a parent, which for
/// a shared node may come after another of its places.
template <typename Enter, typename Leave>
void walkNodes(AetNodeBase const & root, Enter && enter, Leave && leave) {
    std::unordered_set<AetNodeBase const *> met{&root};
    walkTree(
        root, [&](WalkedNode const & at) { return met.insert(&at.node).second; },
        std::forward<Enter>(enter), std::forward<Leave>(leave));
}

/// The same as the first without looking at nodes when they are left.
/// An exception of `enter` ends the walk, here and above; nothing has to be undone.
template <typename Enter>
void walkTree(AetNodeBase const & root, Enter && enter) {
    walkTree(root, std::forward<Enter>(enter), [](AetNodeBase const &) {});
}

} // namespace Qcf::Eval
