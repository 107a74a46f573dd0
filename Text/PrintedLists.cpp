#include "Text/PrintedLists.h"

#include "Documents/FieldVisitors.h"
#include "Text/FunctionContent.h"

#include <algorithm>
#include <array>

namespace Qcf::Text {

using Eval::FieldInfo;
using Eval::FieldRole;

namespace {

constexpr U64 largestSlot = 0xffff;

/// Picks name and slot out of a node's fields.
class ListFields final : public Documents::FieldVisitor<ListFields> {
public:
    explicit ListFields(SlotKind kind) : list{kind, {}, 0} {}

    template <typename T>
    void visit(FieldInfo const & field, T const & value) {
        if constexpr (std::is_same_v<T, String>) {
            list.name = plays(field, FieldRole::listName) ? value : list.name;
        } else if constexpr (std::is_same_v<T, bool>) {
            // The class says IPv4 for both families.
            bool const isV6 = plays(field, FieldRole::isV4) && !value;
            list.kind = isV6 ? SlotKind::v6PrefixList : list.kind;
        } else if constexpr (std::is_unsigned_v<T>) {
            list.slot = plays(field, FieldRole::listSlot) ? value : list.slot;
        }
    }
    void writeNode(FieldInfo const & /*field*/, Eval::AetNodeBase const * /*child*/) override {}

    PrintedList list;
};

} // namespace

PrintedList listOf(Eval::AetNodeBase const & node) {
    ListFields fields(*node.typeData().facts.list);
    node.typeData().write(node, fields);
    return std::move(fields.list);
}

// Slots that are contradicted may not settle at once: then all of a kind are written.
PrintedLists::PrintedLists(std::span<FunctionContent const> contents) {
    collectSlots(contents);
    collectAnnotated(contents);
    written_ = contradicted_;
    written_.merge(countedOtherwise(contents));
    for (auto const & [kind, name] : countedOtherwise(contents)) {
        for (auto const & [each, slot] : slots_.of(kind)) {
            written_.emplace(kind, each);
        }
    }
}

// Metadata goes before nodes, and the first node before later ones, as in documents.
void PrintedLists::collectSlots(std::span<FunctionContent const> contents) {
    for (FunctionContent const & content : contents) {
        for (SlotKindInfo const & info : slotKinds) {
            for (auto const & [name, slot] : content.function->metadata().of(info.kind)) {
                slots_.of(info.kind).emplace(name, slot);
                names_.insert(name);
            }
        }
    }
    for (FunctionContent const & content : contents) {
        for (PrintedList const & list : content.lists) {
            names_.insert(list.name);
            bool const isGiven = list.slot != 0 && list.slot <= largestSlot;
            if (isGiven) {
                slots_.of(list.kind).emplace(list.name, static_cast<U16>(list.slot));
            }
            if (slotOf(slots_.of(list.kind), list.name) != list.slot) {
                contradicted_.emplace(list.kind, list.name);
            }
        }
    }
}

// What nodes contradict, or a slot that selects nothing, a reader would derive otherwise.
bool PrintedLists::isAnnotated(FunctionContent const & content) const {
    FunctionMetadata const & metadata = content.function->metadata();
    for (SlotKindInfo const & info : slotKinds) {
        for (auto const & [name, slot] : metadata.of(info.kind)) {
            if (slot == 0 || contradicted_.contains({info.kind, name})) {
                return true;
            }
        }
    }
    return metadata != derivedFor(content);
}

FunctionMetadata PrintedLists::derivedFor(FunctionContent const & content) const {
    FunctionMetadata metadata;
    for (PrintedList const & list : content.lists) {
        metadata.of(list.kind).emplace(list.name, slotOf(slots_.of(list.kind), list.name));
    }
    return metadata;
}

void PrintedLists::collectAnnotated(std::span<FunctionContent const> contents) {
    for (FunctionContent const & content : contents) {
        if (isAnnotated(content)) {
            for (SlotKindInfo const & info : slotKinds) {
                for (auto const & [name, slot] : content.function->metadata().of(info.kind)) {
                    annotated_.emplace(info.kind, name);
                }
            }
        }
    }
}

// What is counted otherwise is taken to be written, so that it is counted past from then on.
PrintedLists::Names
PrintedLists::countedOtherwise(std::span<FunctionContent const> contents) const {
    std::array<std::set<U64>, std::size(slotKinds)> taken;
    std::array<U64, std::size(slotKinds)> last{};
    Names met;
    for (Names const * const given : {&annotated_, &written_}) {
        for (auto const & [kind, name] : *given) {
            taken.at(static_cast<std::size_t>(kind)).insert(slotOf(slots_.of(kind), name));
            met.emplace(kind, name);
        }
    }
    Names otherwise;
    for (FunctionContent const & content : contents) {
        for (PrintedList const & list : content.lists) {
            auto const kind = static_cast<std::size_t>(list.kind);
            if (!met.emplace(list.kind, list.name).second) {
                continue;
            }
            U64 next = last.at(kind) + 1;
            while (taken.at(kind).contains(next)) {
                ++next;
            }
            U64 const slot = slotOf(slots_.of(list.kind), list.name);
            if (next == slot) {
                last.at(kind) = next;
            } else {
                otherwise.emplace(list.kind, list.name);
                taken.at(kind).insert(slot);
            }
        }
    }
    return otherwise;
}

bool PrintedLists::isSlotWritten(PrintedList const & list) const {
    std::pair const name(list.kind, list.name);
    return written_.contains(name) ||
           (annotated_.contains(name) && slotOf(slots_.of(list.kind), list.name) != list.slot);
}

} // namespace Qcf::Text
