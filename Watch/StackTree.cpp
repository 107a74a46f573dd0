#include "Watch/StackTree.h"

#include <algorithm>

namespace Qcf::Watch {

void StackTree::enter(U32 number) {
    current_ = child(current_, number);
    ++places_[current_].entered;
}

void StackTree::leave(U64 nanoseconds) {
    places_[current_].nanoseconds += nanoseconds;
    current_ = places_[current_].parent;
}

// Few nodes stand directly in another one; a block of thousands of statements is the exception.
U32 StackTree::child(U32 parent, U32 number) {
    for (U32 at = places_[parent].firstChild; at != none; at = places_[at].next) {
        if (places_[at].number == number) {
            return at;
        }
    }
    U32 const made = static_cast<U32>(places_.size());
    places_.push_back({number, parent, none, places_[parent].firstChild, 0, 0});
    places_[parent].firstChild = made;
    return made;
}

std::vector<U32> StackTree::sortedChildren(U32 parent) const {
    std::vector<U32> children;
    for (U32 at = places_[parent].firstChild; at != none; at = places_[at].next) {
        children.push_back(at);
    }
    std::ranges::sort(children, std::greater(), [this](U32 at) { return places_[at].number; });
    return children;
}

// A place stands behind its parent, so that the parent's counterpart is known.
void StackTree::add(StackTree const & other) {
    std::vector<U32> here(other.places_.size(), root);
    for (std::size_t i = 1; i < other.places_.size(); ++i) {
        Place const & from = other.places_[i];
        here[i] = child(here[from.parent], from.number);
        places_[here[i]].entered += from.entered;
        places_[here[i]].nanoseconds += from.nanoseconds;
    }
}

} // namespace Qcf::Watch
