#pragma once

#include "Watch/NodeNumbers.h"

namespace Qcf::Watch {

/// Evaluations by what they stood in: each node under the nodes around it, calls included. Grows
/// with the different ways to reach nodes, not with the routes.
///
///     StackTree stacks;
///     stacks.enter(number);          // what follows stands in it
///     stacks.leave(nanoseconds);
///     stacks.each([](std::span<U32 const> path, U64 entered, U64 nanoseconds) { ... });
class StackTree {
public:
    void enter(U32 number);
    /// Leaves what was entered last, to which so much time is added.
    void leave(U64 nanoseconds);
    /// Adds what another one has.
    void add(StackTree const & other);

    /// Calls `visit(path, entered, nanoseconds)` for each way to a node, the outermost number
    /// first; in the order of the numbers.
    template <typename Visitor>
    void each(Visitor const & visit) const {
        std::vector<U32> path;
        struct Open {
            U32 place;
            std::size_t depth;
        };
        std::vector<Open> open;
        auto const push = [&](U32 parent, std::size_t depth) {
            for (U32 const child : sortedChildren(parent)) {
                open.push_back({child, depth});
            }
        };
        push(root, 0);
        while (!open.empty()) {
            Open const at = open.back();
            open.pop_back();
            Place const & place = places_[at.place];
            path.resize(at.depth);
            path.push_back(place.number);
            visit(std::span<U32 const>(path), place.entered, place.nanoseconds);
            push(at.place, at.depth + 1);
        }
    }

private:
    static constexpr U32 root = 0;
    static constexpr U32 none = ~U32{0};

    struct Place {
        U32 number = none;
        U32 parent = none;
        U32 firstChild = none;
        U32 next = none; ///< of the same parent
        U64 entered = 0;
        U64 nanoseconds = 0;
    };
    /// The place below `parent`, made where there is none.
    U32 child(U32 parent, U32 number);
    /// The last one first.
    std::vector<U32> sortedChildren(U32 parent) const;

    std::vector<Place> places_{Place()};
    U32 current_ = root;
};

} // namespace Qcf::Watch
