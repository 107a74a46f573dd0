#include "QcfLib/Nodes/TypeRecord.h"
#include "QcfLib/Reflection.h"

/// The records of results, of what a function declares, and of what all nodes share.

using namespace Qcf; // NOLINT(google-build-using-namespace): what is described has these names
using namespace Qcf::Eval; // NOLINT(google-build-using-namespace): what is described has these
                           // names

TypeData const & TypeDataOf<EvalResult>::get() {
    static constexpr FieldInfo fields[] = {
        fieldOf<EvalResult, &EvalResult::retVal>("retVal", "TriStateBoolValue"),
        fieldOf<EvalResult, &EvalResult::termination>("termination", "TerminationFlag"),
    };
    static TypeData const data =
        typeRecord(TypeData::Kind::value, "Qcf::Eval", "EvalResult", "", fields);
    return data;
}

// The members' names are those by which documents know the kinds.
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
    static TypeData const data =
        typeRecord(TypeData::Kind::value, "Qcf", "FunctionMetadata", "", fields);
    return data;
}

// A node's class has a record with its fields; these are what it derives from.
TypeData const & TypeDataOf<AetNodeBase>::get() {
    static constexpr FieldInfo fields[] = {
        fieldOf<AetNodeBase, &AetNodeBase::aetNodeKey>("aetNodeKey", "U64")};
    static TypeData const data =
        typeRecord(TypeData::Kind::entity, "Qcf::Eval", "AetNodeBase", "Entity", fields);
    return data;
}

// The rest is the concrete class's own.
TypeData const & TypeDataOf<FunctionBase>::get() {
    static constexpr FieldInfo fields[] = {
        fieldOf<FunctionBase, &FunctionBase::funcName>("funcName", "String"),
        fieldOf<FunctionBase, &FunctionBase::metadata>("metadata", "FunctionMetadata"),
        fieldOf<FunctionBase, &FunctionBase::features>("features",
                                                       "Routing::Policy::RouteMapFeatures"),
    };
    static TypeData const data =
        typeRecord(TypeData::Kind::entity, "Qcf::Eval", "FunctionBase", "Expression", fields);
    return data;
}
