#pragma once

#include "Mirror/PublishedLists.h"
#include "Platform/Render/JsonDocument.h"

#include <optional>

namespace Qcf::Mirror {

/// Builds lists of the lines of a batch beside those that are there. Throws DocumentError with the
/// line for what cannot be meant.
///
///     BatchLists lists(base);
///     ... lists.headLine(line), lists.editLine(line) ...
///     PublishedLists const after = lists.finish();
///
/// A list counts when its entries are as many as its first line says and have the digest that it
/// says; it takes no more memory than its entries and those of the list that it builds on.
class BatchLists {
public:
    /// `base` is what the batch builds on, and must outlive this.
    explicit BatchLists(PublishedLists const & base) : base_(base), lists_(base) {}

    /// A list that becomes another one, or goes.
    void headLine(JsonValue const & line);
    /// Edits of the list that was named last.
    void editLine(JsonValue const & line);
    /// Numbers of entries of that list, once its edits are made.
    void numberLine(JsonValue const & line);
    /// Whether the list that was named last may have more edits.
    bool isOpen() const { return open_.has_value(); }
    /// The list that was named last is whole.
    void endList();
    /// All lists after the batch.
    PublishedLists const & lists() const { return lists_; }

private:
    /// The list that is being built.
    struct Open {
        ListKey key;
        PtrConst<PublishedList> base; ///< null for a list from nothing
        Lists::ListContent content;
        U64 entries;
        String digest;
        String place; ///< of its first line, for messages
        std::size_t row = 0;
        std::size_t taken = 0;    ///< of the base's row
        std::size_t numbered = 0; ///< up to where the row has its numbers
    };

    /// Goes on to the row that the line names; those before it end.
    std::size_t openRow(JsonValue const & line, std::optional<JsonValue> const & of);
    /// Takes entries of the base's row over, up to a place.
    void keepUpTo(std::size_t place);
    /// The next row: what is left of this one stays.
    void endRow();
    std::size_t baseCount() const;

    PublishedLists const & base_;
    PublishedLists lists_;
    std::optional<Open> open_;
};

} // namespace Qcf::Mirror
