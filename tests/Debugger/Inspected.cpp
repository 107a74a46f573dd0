// What the printers for gdb are shown: a debugger stops at `inspect` and looks at its arguments.

#include "QcfLib/ClientPlugin/QcfEvalAttributeTypes.h"
#include "QcfLib/QcfEval.h"

using namespace Qcf::Eval; // NOLINT(google-build-using-namespace): shorter to read

namespace {

struct Inspected {
    Ptr<Function> function;
    PtrConst<Expression> assignment; ///< shown as the class that it is
    PtrConst<Block> none;
    Ptr<U64SmallVector> set = makePtr<U64SmallVector>(ModifyFlag::reuseOnWrite);
    Ptr<CommunitySmallVector> lent = makePtr<CommunitySmallVector>(ModifyFlag::copyOnWrite);
    EvalResult answer{QcfTrue(), TerminationFlag::returnToCaller};
};

[[gnu::noinline]] int inspect(Inspected const & inspected) {
    return static_cast<bool>(inspected.function) ? 0 : 1;
}

} // namespace

int main() {
    Acl::CommunityValue const communities[] = {{0x4004fc0049742400, 0}, {(64500ULL << 32) | 7, 9}};
    Inspected inspected;
    inspected.assignment =
        intAssignFactory(8, Attribute::localPrefFactory(7), intImmediateFactory(9, 200, false));
    inspected.function =
        functionFactory(23, "inspected", FunctionMetadata(), Routing::Policy::RouteMapFeatures(),
                        AccessibleAttributes(), false,
                        blockFactory(22, expressionListFactory(21, inspected.assignment, nullptr)));
    inspected.set->insert(100);
    inspected.set->insert(200);
    inspected.lent->lend(communities);
    return inspect(inspected);
}
