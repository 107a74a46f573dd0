#include "Text/SourceMap.h"

#include "QcfLib/QcfEval.h"

#include <algorithm>

namespace Qcf::Text {

// Keys rise in the order in which nodes are made, but for functions, whose keys may be given: those
// come once each.
void SourceMap::add(Eval::AetNodeBase const & node, Span const & span, String const & reason) {
    U64 const key = node.aetNodeKey();
    bool const isFunction = Eval::is<Eval::Function>(node);
    if (key <= largest_ && !isFunction) {
        return;
    }
    largest_ = isFunction ? largest_ : key;
    U32 number = 0;
    if (!reason.empty()) {
        // Reasons are few and often the same one after the other.
        if (reasons_.back() != reason) {
            reasons_.push_back(reason);
        }
        number = static_cast<U32>(reasons_.size() - 1);
    }
    entries_.push_back({key, span, number});
}

void SourceMap::seal() {
    std::ranges::sort(entries_, {}, &Entry::key);
    entries_.shrink_to_fit();
}

SourceMap::Entry const * SourceMap::find(U64 key) const {
    auto const at = std::ranges::lower_bound(entries_, key, {}, &Entry::key);
    return at == entries_.end() || at->key != key ? nullptr : &*at;
}

String const & SourceMap::reasonOf(Entry const & entry) const { return reasons_[entry.reason]; }

} // namespace Qcf::Text
