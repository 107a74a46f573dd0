#include "QcfLib/Operators/Lowering.h"
#include "QcfLib/QcfEval.h"
#include "QcfLib/Sets/SetEdits.h"

/// The community-list operators. What a list holds and how it matches is the agent's: the status of
/// the node's slot is passed on as it is, null included.
namespace Qcf::Eval {

namespace {

using Context = Ptr<EvalContextBase>;

/// The set is handed over borrowed, so that a match touches no count.
template <typename Node, typename Status, typename Operation>
EvalResult match(Node const & node, Context const & context, MatcherTable<Status> const & table,
                 Operation operation) {
    using Set = typename std::remove_reference_t<decltype(*node.lhs())>::Set;
    auto const & status = table.at(node.index());
    PtrConst<Set> fresh;
    BorrowedPtr<Set const> const set(node.lhs()->lendVal(context, fresh));
    return EvalResult::fromBool((*context.*operation)(set, status));
}

/// The agent may answer with the set that it was given, edited or not, or with another one.
template <typename Node, typename Status, typename Operation>
EvalResult edit(Node const & node, Context const & context, MatcherTable<Status> const & table,
                Operation operation) {
    auto const & status = table.at(node.index());
    using Set = typename std::remove_reference_t<decltype(*node.lhs())>::Set;
    PtrConst<Set> fresh;
    Set const * const lent = node.lhs()->lendVal(context, fresh);
    // A set that others see is copyOnWrite; the agent's edit honours the flag.
    BorrowedPtr<Set> const current(lent == nullptr ? nullptr : &writable(*lent));
    Ptr<Set> result = (*context.*operation)(current, status);
    if (result.get() == lent) {
        storeLent(*node.lhs(), lent, context);
    } else {
        node.lhs()->setVal(ptrCast<Set const>(std::move(result)), context);
    }
    return EvalResult::fromBool(true);
}

/// The present set is not read.
template <typename Node, typename Status, typename Operation>
EvalResult assign(Node const & node, Context const & context, MatcherTable<Status> const & table,
                  Operation operation) {
    node.lhs()->setVal((*context.*operation)(table.at(node.index())), context);
    return EvalResult::fromBool(true);
}

/// What matches is a test, what assigns and edits are changes.
template <typename Node>
void lower_match(Lowering & to) {
    to.operatorTest(operatorFunction<Node>);
}
template <typename Node>
void lower_edit(Lowering & to) {
    to.operatorChange(operatorFunction<Node>);
}
template <typename Node>
void lower_assign(Lowering & to) {
    to.operatorChange(operatorFunction<Node>);
}

} // namespace

// The status is read before the set: agents see that order.
#define QCF_LIST_OPERATOR(Class, family, table, operation)                                         \
    EvalResult Class::eval(Context const & context) const {                                        \
        return family(*this, context, context->externalMatchers()->table,                          \
                      &EvalContextBase::operation);                                                \
    }                                                                                              \
    void Class::lower(Lowering & to) const { lower_##family<Class>(to); }

QCF_LIST_OPERATOR(IntSetMatchCommList, match, commLists, matchCommList)
QCF_LIST_OPERATOR(IntSetMatchExactCommList, match, commLists, matchExactCommList)
QCF_LIST_OPERATOR(IntSetAssignCommList, assign, commLists, commAssignCommList)
QCF_LIST_OPERATOR(IntSetAddCommList, edit, commLists, commAddCommList)
QCF_LIST_OPERATOR(IntSetRemoveCommList, edit, commLists, commRemoveCommList)
QCF_LIST_OPERATOR(IntSetRetainCommList, edit, commLists, commRetainCommList)

QCF_LIST_OPERATOR(CommunitySetMatchExtCommList, match, extCommLists, matchExtCommList)
QCF_LIST_OPERATOR(CommunitySetMatchExactExtCommList, match, extCommLists, matchExactExtCommList)
QCF_LIST_OPERATOR(CommunitySetAssignExtCommList, assign, extCommLists, extCommAssignExtCommList)
QCF_LIST_OPERATOR(CommunitySetAddExtCommList, edit, extCommLists, extCommAddExtCommList)
QCF_LIST_OPERATOR(CommunitySetRemoveExtCommList, edit, extCommLists, extCommRemoveExtCommList)
QCF_LIST_OPERATOR(CommunitySetRetainExtCommList, edit, extCommLists, extCommRetainExtCommList)

QCF_LIST_OPERATOR(CommunitySetMatchLargeCommList, match, largeCommLists, matchLargeCommList)
QCF_LIST_OPERATOR(CommunitySetMatchExactLargeCommList, match, largeCommLists,
                  matchExactLargeCommList)
QCF_LIST_OPERATOR(CommunitySetAssignLargeCommList, assign, largeCommLists,
                  largeCommAssignLargeCommList)
QCF_LIST_OPERATOR(CommunitySetAddLargeCommList, edit, largeCommLists, largeCommAddLargeCommList)
QCF_LIST_OPERATOR(CommunitySetRemoveLargeCommList, edit, largeCommLists,
                  largeCommRemoveLargeCommList)
QCF_LIST_OPERATOR(CommunitySetRetainLargeCommList, edit, largeCommLists,
                  largeCommRetainLargeCommList)
#undef QCF_LIST_OPERATOR

} // namespace Qcf::Eval
