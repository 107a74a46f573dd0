#include "Mirror/PolicyVersion.h"

namespace Qcf::Mirror {

String VersionId::toString() const {
    return number == 0 ? String("no version")
                       : "version " + std::to_string(number) + ", digest " + digest.toString();
}

Eval::Function const * PolicyVersion::find(std::string_view name) const {
    auto const * const found = functions_.find(name);
    return found == nullptr ? nullptr : found->function.get();
}

FunctionMetadata PolicyVersion::slots() const {
    FunctionMetadata joined;
    for (auto const * const entry : functions_.inOrder()) {
        // Kinds come in one order for all metadata, so that two can be gone through side by side.
        std::vector<SlotMap const *> theirs;
        FunctionMetadata::eachKind(
            entry->value.function->metadata(),
            [&](char const *, SlotMap const & slots) { theirs.push_back(&slots); });
        auto next = theirs.begin();
        FunctionMetadata::eachKind(joined, [&](char const *, SlotMap & slots) {
            // Leaves names that are there already: the first function counts.
            slots.insert((*next)->begin(), (*next)->end());
            ++next;
        });
    }
    return joined;
}

} // namespace Qcf::Mirror
