#pragma once

#include "QcfLib/AetNode.h"
#include "Text/SourceText.h"

#include <optional>

namespace Qcf::Text {

/// Where the nodes of a compiled text come from, and why its verdicts decide as they do.
///
///     if (auto const entry = map.find(node.aetNodeKey()))
///         std::cerr << sources.placeText(entry->span);
///
/// Keys are those of the program's nodes. A value that stands in several places is one node and has
/// the first of them. About 24 bytes a node. Written by the compiler, then read by any thread.
class SourceMap {
public:
    struct Entry {
        U64 key;
        Span span;
        U32 reason; ///< 0 for none, else its number in `reasons()` plus 1
    };

    /// A later entry for a key that is known is left out.
    void add(Eval::AetNodeBase const & node, Span const & span, String const & reason);
    /// To be called once all are added.
    void seal();

    Entry const * find(U64 key) const;
    /// The reason of an entry; empty for none.
    String const & reasonOf(Entry const & entry) const;
    /// In the order of the keys.
    std::vector<Entry> const & entries() const { return entries_; }

private:
    U64 largest_ = 0;
    std::vector<Entry> entries_;
    std::vector<String> reasons_{String()};
};

} // namespace Qcf::Text
