#pragma once

#include "Text/FunctionContent.h"

#include <set>
#include <span>

namespace Qcf::Text {

/// Which slots of lists a text has to give: those that reading it would not derive. A reader takes
/// the slots of annotations first, then those that stand at names, and counts the others by kind in
/// the order of first use, past what is taken.
///
///     PrintedLists const lists(contents);
///     if (lists.isSlotWritten(listOf(node))) ... // "BOGONS@7"
///
/// Takes time in proportion to the uses. Never changes once it is made.
class PrintedLists {
public:
    /// The functions of a text, in its order.
    explicit PrintedLists(std::span<FunctionContent const> contents);

    /// Whether the slot stands at the list's name.
    bool isSlotWritten(PrintedList const & list) const;
    /// Whether the function's metadata stands before it.
    bool isAnnotated(FunctionContent const & content) const;
    /// Whether a list of any kind has the name.
    bool isListName(String const & name) const { return names_.contains(name); }

private:
    using Names = std::set<std::pair<SlotKind, String>>;

    void collectSlots(std::span<FunctionContent const> contents);
    void collectAnnotated(std::span<FunctionContent const> contents);
    /// The names to which counting gives another slot than theirs.
    Names countedOtherwise(std::span<FunctionContent const> contents) const;
    FunctionMetadata derivedFor(FunctionContent const & content) const;

    FunctionMetadata slots_; ///< as functions and nodes say
    Names contradicted_;     ///< some node says another slot
    Names annotated_;        ///< an annotation gives their slots
    Names written_;          ///< nodes give their slots
    std::set<String> names_;
};

} // namespace Qcf::Text
