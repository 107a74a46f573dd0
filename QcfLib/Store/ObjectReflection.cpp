#include "Platform/Framework/ValueText.h"
#include "QcfLib/QcfAllAetEntities.h"
#include "QcfLib/Reflection.h"

/// The records of contexts, frames, containers, the status and the values they hold.

using namespace Qcf;
using namespace Qcf::Eval;

namespace {

using Kind = TypeData::Kind;

TypeData record(Kind kind, char const * nameSpace, char const * name, char const * base,
                std::span<FieldInfo const> fields) {
    return {kind, name, nameSpace, base, fields, {}};
}

/// A table of external matchers shows its size.
template <auto table>
constexpr FieldInfo tableOf(char const * name, char const * type) {
    return fieldOf<ExternalMatchersBase, [](ExternalMatchersBase const & matchers) {
        return (matchers.*table).size();
    }>(name, type);
}

template <typename Container>
TypeData const & argumentRecord(char const * name, char const * type) {
    static FieldInfo const fields[] = {fieldOf<Container, &Container::values>("values", type)};
    static TypeData const data = record(Kind::object, "Qcf::Eval", name, "", fields);
    return data;
}

template <typename Set>
String valuesText(Set const & set) {
    return "[" + set.toStrep() + "]";
}

template <typename Names>
TypeData const & flagSetRecord(char const * name) {
    static constexpr FieldInfo fields[] = {
        fieldOf<FlagSet<Names>, &FlagSet<Names>::value>("value", "U64")};
    static TypeData const data = record(Kind::value, "Qcf::Eval", name, "", fields);
    return data;
}

} // namespace

// Values.

TypeData const & TypeDataOf<EvalResult>::get() {
    static constexpr FieldInfo fields[] = {
        fieldOf<EvalResult, &EvalResult::retVal>("retVal", "TriStateBoolValue"),
        fieldOf<EvalResult, &EvalResult::termination>("termination", "TerminationFlag"),
    };
    static TypeData const data = record(Kind::value, "Qcf::Eval", "EvalResult", "", fields);
    return data;
}

TypeData const & TypeDataOf<FunctionMetadata>::get() {
    using Metadata = FunctionMetadata;
    static constexpr FieldInfo fields[] = {
        fieldOf<Metadata, &Metadata::commListsUsed>("commListsUsed", "SlotMap"),
        fieldOf<Metadata, &Metadata::extCommListsUsed>("extCommListsUsed", "SlotMap"),
        fieldOf<Metadata, &Metadata::largeCommListsUsed>("largeCommListsUsed", "SlotMap"),
        fieldOf<Metadata, &Metadata::tagSetsUsed>("tagSetsUsed", "SlotMap"),
        fieldOf<Metadata, &Metadata::asPathAccessListsUsed>("asPathAccessListsUsed", "SlotMap"),
        fieldOf<Metadata, &Metadata::V4PrefixListsUsed>("V4PrefixListsUsed", "SlotMap"),
        fieldOf<Metadata, &Metadata::V6PrefixListsUsed>("V6PrefixListsUsed", "SlotMap"),
        fieldOf<Metadata, &Metadata::DynPrefixListsUsed>("DynPrefixListsUsed", "SlotMap"),
        fieldOf<Metadata, &Metadata::roaTablesUsed>("roaTablesUsed", "SlotMap"),
        fieldOf<Metadata, &Metadata::tunnelRibsUsed>("tunnelRibsUsed", "SlotMap"),
    };
    static TypeData const data = record(Kind::value, "Qcf", "FunctionMetadata", "", fields);
    return data;
}

TypeData const & TypeDataOf<AttributeSet>::get() {
    return flagSetRecord<AttributeSetNames>("AttributeSet");
}
TypeData const & TypeDataOf<ModifiableAttributeSet>::get() {
    return flagSetRecord<ModifiableAttributeSetNames>("ModifiableAttributeSet");
}

TypeData const & TypeDataOf<AccessibleAttributes>::get() {
    using Attributes = AccessibleAttributes;
    static constexpr FieldInfo fields[] = {
        fieldOf<Attributes, &Attributes::readableAttributes>("readableAttributes", "AttributeSet"),
        fieldOf<Attributes, &Attributes::writableAttributes>("writableAttributes",
                                                             "ModifiableAttributeSet"),
    };
    static TypeData const data =
        record(Kind::value, "Qcf::Eval", "AccessibleAttributes", "", fields);
    return data;
}

// Containers and frames.

TypeData const & TypeDataOf<U64SmallVector>::get() {
    using Set = U64SmallVector;
    static constexpr FieldInfo fields[] = {
        fieldOf<Set, &Set::modifyFlag>("modifyFlag", "ModifyFlag"),
        fieldOf<Set, &valuesText<Set>>("values", "U64Buffer"),
    };
    static TypeData const data = record(Kind::object, "Qcf::Eval", "U64SmallVector", "", fields);
    return data;
}

TypeData const & TypeDataOf<U64UnsortedSmallVector>::get() {
    using List = U64UnsortedSmallVector;
    static constexpr FieldInfo fields[] = {
        fieldOf<List, &List::modifyFlag>("modifyFlag", "ModifyFlag"),
        fieldOf<List, &valuesText<List>>("values", "U64Buffer"),
    };
    static TypeData const data =
        record(Kind::object, "Qcf::Eval", "U64UnsortedSmallVector", "", fields);
    return data;
}

TypeData const & TypeDataOf<CommunitySmallVector>::get() {
    using Set = CommunitySmallVector;
    static constexpr FieldInfo fields[] = {
        fieldOf<Set, &Set::modifyFlag>("modifyFlag", "ModifyFlag"),
        fieldOf<Set, &valuesText<Set>>("values", "CommunityBuffer"),
        fieldOf<Set, &Set::lbwValue>("lbwValue", "Acl::CommunityValue"),
    };
    static TypeData const data =
        record(Kind::object, "Qcf::Eval", "CommunitySmallVector", "", fields);
    return data;
}

TypeData const & TypeDataOf<AetNodePtrArgContainer>::get() {
    return argumentRecord<AetNodePtrArgContainer>("AetNodePtrArgContainer",
                                                  "AetNodePtrArgumentVector");
}
TypeData const & TypeDataOf<BandwidthTypeArgContainer>::get() {
    return argumentRecord<BandwidthTypeArgContainer>("BandwidthTypeArgContainer",
                                                     "BandwidthTypeArgumentVector");
}
TypeData const & TypeDataOf<IntTypeArgContainer>::get() {
    return argumentRecord<IntTypeArgContainer>("IntTypeArgContainer", "IntTypeArgumentVector");
}
TypeData const & TypeDataOf<PrefixListTypeArgContainer>::get() {
    return argumentRecord<PrefixListTypeArgContainer>("PrefixListTypeArgContainer",
                                                      "PrefixListTypeArgumentVector");
}
TypeData const & TypeDataOf<TriStateBoolTypeArgContainer>::get() {
    return argumentRecord<TriStateBoolTypeArgContainer>("TriStateBoolTypeArgContainer",
                                                        "TriStateBoolTypeArgumentVector");
}

TypeData const & TypeDataOf<StackFrameData_>::get() {
    using Frame = StackFrameData_;
    static constexpr FieldInfo fields[] = {
        fieldOf<Frame, &Frame::aetNodePtrArgContainer>("aetNodePtrArgContainer",
                                                       "Ptr<AetNodePtrArgContainer>"),
        fieldOf<Frame, &Frame::bandwidthTypeArgContainer>("bandwidthTypeArgContainer",
                                                          "Ptr<BandwidthTypeArgContainer>"),
        fieldOf<Frame, &Frame::intTypeArgContainer>("intTypeArgContainer",
                                                    "Ptr<IntTypeArgContainer>"),
        fieldOf<Frame, &Frame::prefixListTypeArgContainer>("prefixListTypeArgContainer",
                                                           "Ptr<PrefixListTypeArgContainer>"),
        fieldOf<Frame, &Frame::triStateBoolTypeArgContainer>("triStateBoolTypeArgContainer",
                                                             "Ptr<TriStateBoolTypeArgContainer>"),
        fieldOf<Frame, &Frame::logHead>("logHead", "PtrConst<EvaluationLog>"),
        fieldOf<Frame, &Frame::logCurrent>("logCurrent", "Ptr<EvaluationLog>"),
    };
    static TypeData const data = record(Kind::value, "Qcf::Eval", "StackFrameData_", "", fields);
    return data;
}

TypeData const & TypeDataOf<Debug::EvaluationLog>::get() {
    using Log = Debug::EvaluationLog;
    static constexpr FieldInfo fields[] = {
        fieldOf<Log, &Log::result>("result", "EvalResult"),
        fieldOf<Log, &Log::aetNodeKey>("aetNodeKey", "U64"),
        fieldOf<Log, &Log::functionCallLog>("functionCallLog", "PtrConst<EvaluationLogBase>"),
        // By its key: a chain may be long.
        fieldOf<Log,
                [](Log const & log) {
                    return log.nextLog() ? std::optional(log.nextLog()->aetNodeKey())
                                         : std::nullopt;
                }>("nextLog", "Ptr<EvaluationLog>"),
    };
    static TypeData const data =
        record(Kind::object, "Qcf::Debug", "EvaluationLog", "EvaluationLogBase", fields);
    return data;
}

// Nodes: the fields that all of them share.

TypeData const & TypeDataOf<AetNodeBase>::get() {
    static constexpr FieldInfo fields[] = {
        fieldOf<AetNodeBase, &AetNodeBase::aetNodeKey>("aetNodeKey", "U64")};
    static TypeData const data = record(Kind::entity, "Qcf::Eval", "AetNodeBase", "Entity", fields);
    return data;
}

TypeData const & TypeDataOf<FunctionBase>::get() {
    static constexpr FieldInfo fields[] = {
        fieldOf<FunctionBase, &FunctionBase::funcName>("funcName", "String"),
        fieldOf<FunctionBase, &FunctionBase::metadata>("metadata", "FunctionMetadata"),
        fieldOf<FunctionBase, &FunctionBase::features>("features",
                                                       "Routing::Policy::RouteMapFeatures"),
    };
    static TypeData const data =
        record(Kind::entity, "Qcf::Eval", "FunctionBase", "Expression", fields);
    return data;
}

// Contexts.

TypeData const & TypeDataOf<ExternalMatchersBase>::get() {
    using Matchers = ExternalMatchersBase;
    static constexpr FieldInfo fields[] = {
        tableOf<&Matchers::commLists>("commLists", "StandardCommListStatus"),
        tableOf<&Matchers::extCommLists>("extCommLists", "ExtCommListStatus"),
        tableOf<&Matchers::largeCommLists>("largeCommLists", "LargeCommListStatus"),
        tableOf<&Matchers::tagSets>("tagSets", "TagSetStatus"),
        tableOf<&Matchers::asPathLists>("asPathLists", "AsPathListStatus"),
        tableOf<&Matchers::ipv4PrefixLists>("ipv4PrefixLists", "PrefixListMatcher"),
        tableOf<&Matchers::ipv6PrefixLists>("ipv6PrefixLists", "PrefixListMatcher"),
        tableOf<&Matchers::dynamicPrefixLists>("dynamicPrefixLists", "DynamicPrefixListStatus"),
        tableOf<&Matchers::dynamicIpv4PrefixLists>("dynamicIpv4PrefixLists", "PrefixListMatcher"),
        tableOf<&Matchers::dynamicIpv6PrefixLists>("dynamicIpv6PrefixLists", "PrefixListMatcher"),
        tableOf<&Matchers::roaTables>("roaTables", "RoaTableStatus"),
    };
    static TypeData const data = record(Kind::object, "Qcf", "ExternalMatchersBase", "", fields);
    return data;
}

TypeData const & TypeDataOf<EvalContextBase>::get() {
    using Base = EvalContextBase;
    static constexpr FieldInfo fields[] = {
        fieldOf<Base, &Base::shouldLogEval>("shouldLogEval", "bool"),
        fieldOf<Base, &Base::externalMatchers>("externalMatchers",
                                               "PtrConst<ExternalMatchersBase>"),
        fieldOf<Base, &Base::result>("result", "Routing::Policy::Result_ *"),
    };
    static TypeData const data =
        record(Kind::entity, "Qcf::Eval", "EvalContextBase", "Entity", fields);
    return data;
}
TypeData const & EvalContextBase::typeData() const { return TypeDataOf<EvalContextBase>::get(); }

TypeData const & TypeDataOf<EvalContext>::get() {
    using Context = EvalContext;
    static constexpr FieldInfo fields[] = {
        fieldOf<Context, &Context::policyEvalContext>("policyEvalContext",
                                                      "Ptr<Routing::Policy::PolicyEvalContext>"),
        fieldOf<Context, &Context::stackFrameDataFromCaller_>("stackFrameDataFromCaller",
                                                              "StackFrameData_ *"),
        fieldOf<Context, &Context::stackFrameDataFromPOA_>("stackFrameDataFromPOA",
                                                           "StackFrameData_"),
        fieldOf<Context, &Context::nextHopSetToSelf>("nextHopSetToSelf", "bool"),
        fieldOf<Context, &Context::intSetScratch_>("intSetScratch", "U64Buffer"),
        fieldOf<Context, &Context::communitySetScratch_>("communitySetScratch", "CommunityBuffer"),
    };
    static TypeData const data =
        record(Kind::entity, "Qcf::Eval", "EvalContext", "GeneratedEvalContext", fields);
    return data;
}
TypeData const & EvalContext::typeData() const { return TypeDataOf<EvalContext>::get(); }

// Store and status.

TypeData const & TypeDataOf<AetCollections>::get() {
    using Store = AetCollections;
    static constexpr FieldInfo fields[] = {
        fieldOf<Store, [](Store const & store) { return store.size(); }>("size", "U64"),
        fieldOf<Store, &Store::hasDirtyCollKeys>("hasDirtyCollKeys", "bool"),
    };
    static TypeData const data = record(Kind::entity, "Qcf", "AetCollections", "Entity", fields);
    return data;
}
TypeData const & AetCollections::typeData() const { return TypeDataOf<AetCollections>::get(); }

TypeData const & TypeDataOf<AllFunctionStatus>::get() {
    using Status = AllFunctionStatus;
    static constexpr FieldInfo fields[] = {fieldOf<Status, &Status::name>("name", "String"),
                                           fieldOf < Status,
                                           [](Status const & status) -> auto & {return status.aet();
}
> ("aet", "PtrConst<FunctionBase>"),
    fieldOf<Status, &Status::aetNodes>("aetNodes", "Ptr<AllAetEntities>"),
    fieldOf<Status, &Status::dedupedFunctionsPresent>("dedupedFunctionsPresent", "bool"),
    fieldOf<Status, &Status::startOfDedupedFunctionUpdatesMarker>(
        "startOfDedupedFunctionUpdatesMarker", "U32"),
    fieldOf<Status, &Status::endOfDedupedFunctionUpdatesMarker>("endOfDedupedFunctionUpdatesMarker",
                                                                "U32"),
}
;
static TypeData const data = record(Kind::entity, "Qcf", "AllFunctionStatus", "Entity", fields);
return data;
}
TypeData const & AllFunctionStatus::typeData() const {
    return TypeDataOf<AllFunctionStatus>::get();
}
