#pragma once

#include "Documents/ListNames.h"

#include <unordered_map>
#include <vector>

namespace Qcf::Documents {

/// A look over a whole document before its nodes are read: which slots it gives to names, and which
/// entries of `nodes` must wait for a function because they call it.
class DocumentScan {
public:
    /// `nodes` may be missing. Hands metadata and given slots to `names`.
    DocumentScan(std::optional<JsonValue> const & nodes, JsonValue const & functions,
                 ListNames & names);

    /// Entries of `nodes` that can be read once so many functions are read, in document order.
    std::vector<JsonValue> const & nodesAfter(std::size_t functions) const {
        return waiting_[functions];
    }

private:
    struct GivenSlot {
        SlotMapMember kind;
        String name;
        U64 slot;
    };

    void functionIs(JsonValue const & function);
    void nodeIs(JsonValue const & node);
    void scan(JsonValue const & json);
    void scanObject(JsonValue const & json);
    void scanClass(JsonValue const & json, Eval::NodeClass const & nodeClass);
    void waitFor(std::size_t functions) { wait_ = std::max(wait_, functions); }

    ListNames & names_;
    std::vector<GivenSlot> givenSlots_;
    std::vector<std::vector<JsonValue>> waiting_;
    // How many functions must be read before a call of that name or a reference to that key.
    std::unordered_map<String, std::size_t> waitByName_;
    std::unordered_map<U64, std::size_t> waitByKey_;
    // Of the entry that is looked at.
    std::size_t wait_ = 0;
    std::vector<U64> keys_;
};

} // namespace Qcf::Documents
