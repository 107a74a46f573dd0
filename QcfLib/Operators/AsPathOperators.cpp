#include "QcfLib/Operators/Lowering.h"
#include "QcfLib/QcfLibHelpers.h"

/// Operators on AS paths. A path is changed in a container of the context, into which the route's
/// own path is copied at the first change; its storage serves route after route.
namespace Qcf::Eval {

namespace {

using Routing::Bgp::Asn;
using Routing::Bgp::AspathContainerFromExisting;

/// A literal list as AS numbers, at most 255 to a segment; elements are 32 bits wide already.
using AsnBuffer = boost::container::small_vector<Asn, inlineSetCapacity>;

AsnBuffer asnsOf(IntListImmediate const & list, Ptr<EvalContextBase> const & context) {
    PtrConst<U64UnsortedSmallVector> fresh;
    AsnBuffer asns;
    if (auto const * const values = list.lendVal(context, fresh)) {
        for (U64 const value : values->view()) {
            asns.push_back(static_cast<Asn>(value));
        }
    }
    return asns;
}

/// The AS numbers that a built-in function's node arguments name.
class AsnSelection {
public:
    explicit AsnSelection(Ptr<EvalContextBase> const & context)
        : ranges_(argument<IntSetImmediate>(context, 0), argument<IntListImmediate>(context, 1),
                  argument<IntListImmediate>(context, 2), context) {}

    bool operator()(Asn asn) const { return ranges_.contain(asn); }

private:
    /// Bounds may be left out together at the end; a node of another kind is a malformed call.
    template <typename Node>
    static Node const * argument(Ptr<EvalContextBase> const & context, std::size_t index) {
        auto const & arguments = *evalContext(context).aetNodePtrArgValues();
        if (index >= arguments.size() || arguments[index] == nullptr) {
            return nullptr;
        }
        auto const * const node = as<Node>(*arguments[index]);
        QCF_ASSERT_TEXT(node != nullptr, "node arguments are an integer set and two integer lists");
        return node;
    }

    LentRanges ranges_;
};

/// The path to change in place. One that was stored as null is the empty path.
AspathContainerFromExisting * changeable(AspathContainerFromExisting * current,
                                         Ptr<EvalContextBase> const & context) {
    if (current == nullptr) {
        current = evalContext(context).asPathInputModifiable();
        current->expandEmpty();
    }
    return current;
}

/// What the bodies of the built-in functions do, whose arguments are on the frame of their call:
/// the path that they change is the route's. Changes it in place with `change(path)` and stores it.
template <typename Change>
EvalResult changeRoutePath(Ptr<EvalContextBase> const & context, Change change) {
    auto & c = evalContext(context);
    auto * const current =
        c.asPathModified() ? c.attributeContentConst().asPath : c.asPathInputModifiable();
    auto * const path = changeable(current, context);
    change(path->expand());
    c.modify(ModifiableAttribute::asPath).asPathIs(path);
    // Built-in functions are bodies: their result returns to the call.
    return EvalResult::fromBoolWithReturn(true);
}

} // namespace

EvalResult AsPathAssign::eval(Ptr<EvalContextBase> const & context) const {
    auto * const path = changeable(lhs_->getValModifiable(context), context);
    AsnBuffer const asns = asnsOf(*rhs_, context);
    path->expandEmpty().assignSequence({asns.data(), asns.size()});
    lhs_->setVal(path, context);
    return EvalResult::fromBool(true);
}
void AsPathAssign::lower(Lowering & to) const { to.operatorChange(operatorFunction<AsPathAssign>); }

EvalResult AsPathPrepend::eval(Ptr<EvalContextBase> const & context) const {
    auto * const path = changeable(lhs_->getValModifiable(context), context);
    AsnBuffer const asns = asnsOf(*rhs_, context);
    path->expand().prepend({asns.data(), asns.size()});
    lhs_->setVal(path, context);
    return EvalResult::fromBool(true);
}
void AsPathPrepend::lower(Lowering & to) const {
    to.operatorChange(operatorFunction<AsPathPrepend>);
}

EvalResult AsPathMatchAsPathAccessList::eval(Ptr<EvalContextBase> const & context) const {
    auto const & status = context->externalMatchers()->asPathLists.at(index_);
    auto const * const path = lhs_->getVal(context);
    return EvalResult::fromBool(context->matchAsPathAccessList(path, aetNodeKey(), status));
}
void AsPathMatchAsPathAccessList::lower(Lowering & to) const {
    to.operatorTest(operatorFunction<AsPathMatchAsPathAccessList>);
}

EvalResult AsPathReplaceImplExpr::eval(Ptr<EvalContextBase> const & context) const {
    AsnSelection const selected(context);
    auto const newAsn = getIntFromArgVector<U32>(context, 0);
    return changeRoutePath(context, [&](auto & path) { path.replaceIf(selected, newAsn); });
}
void AsPathReplaceImplExpr::lower(Lowering & to) const {
    to.builtIn(operatorFunction<AsPathReplaceImplExpr>);
}

EvalResult AsPathRemoveImplExpr::eval(Ptr<EvalContextBase> const & context) const {
    AsnSelection const selected(context);
    return changeRoutePath(context, [&](auto & path) { path.removeIf(selected); });
}
void AsPathRemoveImplExpr::lower(Lowering & to) const {
    to.builtIn(operatorFunction<AsPathRemoveImplExpr>);
}

} // namespace Qcf::Eval
