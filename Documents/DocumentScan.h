#pragma once

#include "Documents/ListNames.h"
#include "Documents/NodeObject.h"

#include <unordered_map>
#include <vector>

namespace Qcf::Documents {

/// A look over a whole document before its nodes are read: which slots it gives to names, and which
/// entries of `nodes` must wait for a function because they call it.
///
/// It judges nothing: what it cannot make sense of is left to whoever reads the nodes. Only
/// metadata are read, and refused with a DocumentError. The document must outlive it.
class DocumentScan {
public:
    /// `nodes` and `functions` are the document's two arrays; `nodes` may be missing. Hands
    /// metadata and given slots to `names`.
    DocumentScan(std::optional<JsonValue> const & nodes, JsonValue const & functions,
                 ListNames & names);

    /// Entries of `nodes` that can be read once so many functions are read, in document order.
    std::vector<JsonValue> const & nodesAfter(std::size_t functions) const {
        return waiting_[functions];
    }

private:
    /// What a node's object says of a list's slot: it counts only where no metadata do.
    struct GivenSlot {
        ListMention list;
        U64 slot;
    };

    // Functions and nodes wherever they stand, each with what stands below.
    void scanMetadata(JsonValue const & function);
    void scanEntry(JsonValue const & node);
    // Whatever is found in it, an object alone, and an object of a class that there is.
    void scan(JsonValue const & json);
    void scanObject(JsonValue const & json);
    void scanNode(NodeObject const & node);
    void scanCall(NodeObject const & call);
    /// Of the entry that is looked at: it can be read after so many functions.
    void waitFor(std::size_t functions) { wait_ = std::max(wait_, functions); }

    /// Told at the end of what nodes give, because metadata go before it.
    ListNames & names_;
    std::vector<GivenSlot> givenSlots_;
    /// By the number of functions.
    std::vector<std::vector<JsonValue>> waiting_;
    /// How many functions must be read before a call of that name.
    std::unordered_map<String, std::size_t> waitByName_;
    /// The same before a reference to that key.
    std::unordered_map<U64, std::size_t> waitByKey_;
    /// Of the entry that is looked at: the functions that it waits for.
    std::size_t wait_ = 0;
    /// And the keys that it gives to nodes.
    std::vector<U64> keys_;
};

} // namespace Qcf::Documents
