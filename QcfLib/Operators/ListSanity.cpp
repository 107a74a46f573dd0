#include "QcfLib/QcfLibHelpers.h"

/// Whether operators refer to the lists that their function declares. A tree from outside may have
/// any slot; the agent fills the slots by the names that the function's metadata declares, so that
/// a wrong one would match another list.
namespace Qcf::Eval {

namespace {

bool slotIsSane(String const & listName, char const * className, SlotMap const & slots, U16 index) {
    U16 const metadataIndex = slotOf(slots, listName);
    QCF_TRACE(traceQcfEval, 2,
              className << "::verifySanity: index=" << index << " metadataIndex=" << metadataIndex);
    return index != 0 && index == metadataIndex;
}

} // namespace

bool verifyCommListSanity(String const & listName, char const * className,
                          FunctionMetadata const & metadata, U16 index) {
    return slotIsSane(listName, className, metadata.commListsUsed, index);
}
bool verifyExtCommListSanity(String const & listName, char const * className,
                             FunctionMetadata const & metadata, U16 index) {
    return slotIsSane(listName, className, metadata.extCommListsUsed, index);
}
bool verifyLargeCommListSanity(String const & listName, char const * className,
                               FunctionMetadata const & metadata, U16 index) {
    return slotIsSane(listName, className, metadata.largeCommListsUsed, index);
}
bool verifyTagSetSanity(String const & tagSetName, char const * className,
                        FunctionMetadata const & metadata, U16 index) {
    return slotIsSane(tagSetName, className, metadata.tagSetsUsed, index);
}
bool verifyAsPathAccessListSanity(String const & listName, char const * className,
                                  FunctionMetadata const & metadata, U16 index) {
    return slotIsSane(listName, className, metadata.asPathAccessListsUsed, index);
}

} // namespace Qcf::Eval
