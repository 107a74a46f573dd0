#include "tests/Mirror/CreatorStores.h"

#include "QcfLib/ClientPlugin/QcfEvalAttributeTypes.h"

#include <bit>
#include <limits>

namespace Qcf::Mirror::test {

using namespace Eval; // NOLINT(google-build-using-namespace): most names here are nodes'

namespace {

String const anyBytes("\xff\xfe caf\xe9 %41\n\0end", 16);

void manyNames(AllFunctionStatus & status) {
    auto const function = storedFunction(*status.aetNodesIs(), 1, "itself");
    status.aetIs("one", function);
    status.aetIs("another", function);
    for (String const & name : {String(), anyBytes, String("%"), String("%25"), String("\x01")}) {
        status.aetIs(name,
                     storedFunction(*status.aetNodesIs(), 100 + 10 * status.aet().size(), name));
    }
    status.aetIs("one", nullptr);
    status.aetDel("never there");
}

void equalKeys(AllFunctionStatus & status) {
    auto const store = status.aetNodesIs();
    auto const truth = store->triStateBoolImmediateCollIs(5, TriStateBoolValue::true_);
    auto const med = store->medCollIs(5);
    auto const number = store->intImmediateCollIs(5, 5, true);
    auto const is = store->intIsCollIs(5, med, number);
    auto const less = store->intLessThanCollIs(5, number, med);
    auto const expression = store->triStateBoolExpressionCollIs(5, truth);
    store->notExpressionCollIs(1, is);
    store->notExpressionCollIs(2, less);
    store->notExpressionCollIs(0, expression);
    store->notExpressionCollIs(~U64{0}, store->notExpressionCollIs(5, less));
    store->medInputCollDel(5);
    store->weightCollIs(5);
    store->weightCollDel(5);
}

void everyBandwidth(AllFunctionStatus & status) {
    using Limits = std::numeric_limits<F32>;
    U64 key = 0;
    for (F32 const value :
         {Limits::quiet_NaN(), -Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity(),
          std::bit_cast<F32>(0x7f800001U), -0.0F, Limits::denorm_min(), Limits::max(), 0.1F}) {
        status.aetNodesIs()->bandwidthImmediateCollIs(++key, value);
    }
}

void anyBytesInEveryText(AllFunctionStatus & status) {
    auto const store = status.aetNodesIs();
    FunctionMetadata metadata;
    metadata.commListsUsed[anyBytes] = 3;
    metadata.roaTablesUsed["%41"] = 4;
    metadata.roaTablesUsed["A"] = 5;
    auto const body = store->blockCollIs(1, nullptr);
    auto const function =
        store->functionCollIs(2, anyBytes, metadata, {anyBytes, "%", "plain"}, {}, false, body);
    status.aetIs(anyBytes, function);
    store->functionCallExpressionCollIs(3, anyBytes, function, nullptr, 0);
    store->interfaceImmediateCollIs(4, IntfId(anyBytes));
    Routing::Rib::ResolutionRibProfileConfig ribs(true);
    ribs.entryIs(1, {anyBytes, 200});
    store->resolutionRibsImmediateCollIs(5, ribs);
    store->intSetMatchCommListCollIs(6, store->communityCollIs(7), anyBytes, 9);
    store->triStateBoolVariableCollIs(8, "%", 255);
}

void nodesThatAreNoMembers(AllFunctionStatus & status) {
    auto const store = status.aetNodesIs();
    auto const med = store->medCollIs(1);
    auto const five = store->intImmediateCollIs(2, 5, false);
    store->intIsCollIs(3, med, five);
    store->intImmediateCollDel(2); // held by the comparison from here on
    store->intIsCollIs(4, med, five);
    store->intImmediateCollIs(2, 6, false); // another one under its key
    store->intIsCollIs(5, med, store->intImmediateColl(2));
    auto const member = store->intIsColl(4);
    store->notExpressionCollIs(6, member);
    store->intIsCollDel(4);
    auto const elsewhere = allAetEntitiesFactory();
    status.aetIs("elsewhere", storedFunction(*elsewhere, 1, "elsewhere"));
    status.aetIs("twice", elsewhere->functionColl(6));
}

void fields(AllFunctionStatus & status) {
    status.startOfDedupedFunctionUpdatesMarkerIs(7);
    status.dedupedFunctionsPresentIs(true);
    status.aetIs("f", storedFunction(*status.aetNodesIs(), 1, "f"));
    status.endOfDedupedFunctionUpdatesMarkerIs(~U32{0});
    status.startOfDedupedFunctionUpdatesMarkerIs(0);
    status.dedupedFunctionsPresentIs(false);
}

void noStore(AllFunctionStatus & status) {
    status.aetIs("left", storedFunction(*status.aetNodesIs(), 1, "f"));
    status.aetNodesDel();
}

void storeAnew(AllFunctionStatus & status) {
    noStore(status);
    status.aetNodesIs()->medCollIs(1);
    status.reset();
    status.aetNodesIs()->weightCollIs(1);
}

} // namespace

Ptr<Function> storedFunction(AllAetEntities & store, U64 key, String const & funcName) {
    auto const truth = store.triStateBoolImmediateCollIs(key, TriStateBoolValue::true_);
    auto const expression = store.triStateBoolExpressionCollIs(key + 1, truth);
    auto const end = store.returnExpressionCollIs(key + 2, expression);
    auto const body = store.blockCollIs(key + 3, store.expressionListCollIs(key + 4, end, nullptr));
    return store.functionCollIs(key + 5, funcName, {}, {}, {}, false, body);
}

PtrConst<Expression> deepExpression(U32 levels, U64 firstKey) {
    U64 key = firstKey + levels;
    PtrConst<Expression> expression = triStateBoolExpressionFactory(
        key, triStateBoolImmediateFactory(key + 1, TriStateBoolValue::true_));
    while (key-- > firstKey) {
        expression = notExpressionFactory(key, expression);
    }
    return expression;
}

std::vector<Filling> const & fillings() {
    static std::vector<Filling> const all{
        {"functions under any names", manyNames},
        {"equal keys in two collections", equalKeys},
        {"bandwidths that are no numbers", everyBandwidth},
        {"any bytes in every text", anyBytesInEveryText},
        {"nodes that are no members", nodesThatAreNoMembers},
        {"markers and flags", fields},
        {"no store", noStore},
        {"a store made anew", storeAnew},
    };
    return all;
}

} // namespace Qcf::Mirror::test
