#include "QcfLib/QcfEvalContext.h"

/// What a context answers whose agent has no lists: nothing matches, every edit empties the set.
namespace Qcf::Eval {

bool EvalContext::matchAsPathAccessList(Routing::Bgp::AspathContainerFromExisting const * /*path*/,
                                        U64 /*aetNodeKey*/,
                                        PtrConst<AsPathListStatus> const & /*status*/) const {
    return false;
}
// No state is the right one where no table is known.
bool EvalContext::matchRoaTable(U32 /*slot*/, U32 /*state*/) const { return false; }

// One body for all kinds of lists: the operations differ by type alone.
#define QCF_DEFAULT_MATCH(Operation, Set, Status)                                                  \
    bool EvalContext::Operation(PtrConst<Set> const &, PtrConst<Status> const &) const {           \
        return false;                                                                              \
    }
QCF_DEFAULT_MATCH(matchCommList, U64SmallVector, CommListStatus)
QCF_DEFAULT_MATCH(matchExactCommList, U64SmallVector, CommListStatus)
QCF_DEFAULT_MATCH(matchExtCommList, CommunitySmallVector, ExtCommListStatus)
QCF_DEFAULT_MATCH(matchExactExtCommList, CommunitySmallVector, ExtCommListStatus)
QCF_DEFAULT_MATCH(matchLargeCommList, CommunitySmallVector, LargeCommListStatus)
QCF_DEFAULT_MATCH(matchExactLargeCommList, CommunitySmallVector, LargeCommListStatus)
#undef QCF_DEFAULT_MATCH

// Null is the empty set.
#define QCF_DEFAULT_ASSIGN(Operation, Set, Status)                                                 \
    Ptr<Set> EvalContext::Operation(PtrConst<Status> const &) { return nullptr; }
QCF_DEFAULT_ASSIGN(commAssignCommList, U64SmallVector, CommListStatus)
QCF_DEFAULT_ASSIGN(extCommAssignExtCommList, CommunitySmallVector, ExtCommListStatus)
QCF_DEFAULT_ASSIGN(largeCommAssignLargeCommList, CommunitySmallVector, LargeCommListStatus)
#undef QCF_DEFAULT_ASSIGN

// Also where there was a set: an edit by a list that is not there leaves none.
#define QCF_DEFAULT_EDIT(Operation, Set, Status)                                                   \
    Ptr<Set> EvalContext::Operation(Ptr<Set> const &, PtrConst<Status> const &) { return nullptr; }
QCF_DEFAULT_EDIT(commAddCommList, U64SmallVector, CommListStatus)
QCF_DEFAULT_EDIT(commRemoveCommList, U64SmallVector, CommListStatus)
QCF_DEFAULT_EDIT(commRetainCommList, U64SmallVector, CommListStatus)
QCF_DEFAULT_EDIT(extCommAddExtCommList, CommunitySmallVector, ExtCommListStatus)
QCF_DEFAULT_EDIT(extCommRemoveExtCommList, CommunitySmallVector, ExtCommListStatus)
QCF_DEFAULT_EDIT(extCommRetainExtCommList, CommunitySmallVector, ExtCommListStatus)
QCF_DEFAULT_EDIT(largeCommAddLargeCommList, CommunitySmallVector, LargeCommListStatus)
QCF_DEFAULT_EDIT(largeCommRemoveLargeCommList, CommunitySmallVector, LargeCommListStatus)
QCF_DEFAULT_EDIT(largeCommRetainLargeCommList, CommunitySmallVector, LargeCommListStatus)
#undef QCF_DEFAULT_EDIT

} // namespace Qcf::Eval
