#include "Text/PrintedLists.h"

#include <array>

namespace Qcf::Text {

namespace {

constexpr U64 largestSlot = 0xffff;

} // namespace

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
