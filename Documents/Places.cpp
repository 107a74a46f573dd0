#include "Documents/Places.h"

#include <algorithm>
#include <functional>

/// Notes are taken for every node and asked for only when a message is written: noting must be
/// cheap, and sorting waits for the first question.
namespace Qcf::Documents {

void Places::documentIs(JsonDocument document, String const & fileName) {
    document_.emplace(std::move(document));
    fileName_ = fileName;
    sorted_ = false;
}

// Stable: the first of several places is the first in the text. Pointers of different objects have
// no order of their own in the language, but std::less gives them one.
void Places::sort() const {
    sorted_ = true;
    std::ranges::stable_sort(noted_, [](Noted const & a, Noted const & b) {
        return a.node == b.node ? a.entry < b.entry : std::less<>()(a.node, b.node);
    });
}

/// The node's first place in the entry, else its first one.
Places::Noted const * Places::find(Eval::AetNodeBase const & node, U32 entry) const {
    constexpr std::less<> before;
    auto const first = std::ranges::lower_bound(noted_, &node, before, &Noted::node);
    auto const last = std::ranges::upper_bound(first, noted_.end(), &node, before, &Noted::node);
    auto const at = std::ranges::lower_bound(first, last, entry, {}, &Noted::entry);
    if (at != last && at->entry == entry) {
        return &*at;
    }
    return first == last ? nullptr : &*first;
}

// The function itself stands once, in its entry; that tells which places of a shared node are
// within.
String Places::pointerOf(Eval::AetNodeBase const & node, Eval::Function const & within) const {
    if (!sorted_) {
        sort();
    }
    Noted const * const function = find(within, 0);
    Noted const * const at = find(node, function == nullptr ? 0 : function->entry);
    return at == nullptr ? String() : at->place.pointer();
}

String Places::of(Eval::AetNodeBase const & node, Eval::Function const & within) const {
    String const pointer = pointerOf(node, within);
    return pointer.empty() ? fileName_ : fileName_ + ':' + pointer;
}

} // namespace Qcf::Documents
