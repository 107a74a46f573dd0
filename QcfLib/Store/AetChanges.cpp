#include "QcfLib/AetChanges.h"

#include <algorithm>

/// Folding a record of changes: each place once, with what its changes come to.
namespace Qcf {

namespace {

using Change = AetChanges::Change;

// Of a place's first change: only what comes was not there. Of its last: only what went is not.
bool stoodBefore(Change const & change) { return change.kind != Notification::added; }
bool standsNow(Change const & change) { return change.kind != Notification::removed; }

/// What a place's first and last change come to.
Notification::Kind joined(Change const & first, Change const & last) {
    if (!stoodBefore(first)) {
        return Notification::added;
    }
    return standsNow(last) ? Notification::changed : Notification::removed;
}

} // namespace

// Only removals can leave something that need not be told any more, so that the record is gone
// through when they have become a good part of it.
void AetChanges::add(CollKey const & place, Notification::Kind kind) {
    constexpr std::size_t fewRemovals = 16;
    touched_ = true;
    changes_.push_back({place.key, place.collection, kind});
    removals_ += kind == Notification::removed ? 1 : 0;
    if (removals_ > fewRemovals && removals_ * 4 > changes_.size()) {
        settle();
    }
}

void AetChanges::settle() const {
    if (settled_ == changes_.size()) {
        return;
    }
    // Stable: changes of one place stay in the order in which they happened.
    std::stable_sort(changes_.begin(), changes_.end(),
                     [](Change const & a, Change const & b) { return a.place() < b.place(); });
    auto out = changes_.begin();
    for (auto first = changes_.begin(); first != changes_.end();) {
        auto const end = std::find_if(first, changes_.end(), [&](Change const & change) {
            return change.place() != first->place();
        });
        Change const & last = *std::prev(end);
        if (stoodBefore(*first) || standsNow(last)) {
            *out++ = {first->key, first->collection, joined(*first, last)};
        }
        first = end;
    }
    changes_.erase(out, changes_.end());
    settled_ = changes_.size();
    removals_ = 0;
    // Far more room than is in use: a burst of changes is over.
    if (changes_.capacity() > 4 * changes_.size() + 64) {
        changes_.shrink_to_fit();
    }
}

std::vector<AetChanges::Change> const & AetChanges::changes() const {
    settle();
    return changes_;
}

void AetChanges::clear() { *this = AetChanges(); }

} // namespace Qcf
