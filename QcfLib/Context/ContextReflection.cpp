#include "QcfLib/Nodes/TypeRecord.h"
#include "QcfLib/Reflection.h"

/// The records of contexts, of external matchers and of the sets of attributes.

using namespace Qcf; // NOLINT(google-build-using-namespace): what is described has these names
using namespace Qcf::Eval; // NOLINT(google-build-using-namespace): what is described has these
                           // names

namespace {

/// A table of external matchers shows its size.
template <auto table>
constexpr FieldInfo tableOf(char const * name, char const * type) {
    return fieldOf<ExternalMatchersBase, [](ExternalMatchersBase const & matchers) {
        return (matchers.*table).size();
    }>(name, type);
}

// As one word; the texts of single flags are the set's own text form.
template <typename Names>
TypeData const & flagSetRecord(char const * name) {
    static constexpr FieldInfo fields[] = {
        fieldOf<FlagSet<Names>, &FlagSet<Names>::value>("value", "U64")};
    static TypeData const data = typeRecord(TypeData::Kind::value, "Qcf::Eval", name, "", fields);
    return data;
}

} // namespace

TypeData const & TypeDataOf<AttributeSet>::get() {
    return flagSetRecord<AttributeSetNames>("AttributeSet");
}
TypeData const & TypeDataOf<ModifiableAttributeSet>::get() {
    return flagSetRecord<ModifiableAttributeSetNames>("ModifiableAttributeSet");
}

// By its two sets, each of which has a record of its own.
TypeData const & TypeDataOf<AccessibleAttributes>::get() {
    using Attributes = AccessibleAttributes;
    static constexpr FieldInfo fields[] = {
        fieldOf<Attributes, &Attributes::readableAttributes>("readableAttributes", "AttributeSet"),
        fieldOf<Attributes, &Attributes::writableAttributes>("writableAttributes",
                                                             "ModifiableAttributeSet"),
    };
    static TypeData const data =
        typeRecord(TypeData::Kind::value, "Qcf::Eval", "AccessibleAttributes", "", fields);
    return data;
}

TypeData const & TypeDataOf<ExternalMatchersBase>::get() {
    using Matchers = ExternalMatchersBase;
    static constexpr FieldInfo fields[] = {
        // Entries are the agent's and have no record here.
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
    static TypeData const data =
        typeRecord(TypeData::Kind::object, "Qcf", "ExternalMatchersBase", "", fields);
    return data;
}

// What a context was made with; attributes and frames follow in the records of derived classes.
TypeData const & TypeDataOf<EvalContextBase>::get() {
    using Base = EvalContextBase;
    static constexpr FieldInfo fields[] = {
        fieldOf<Base, &Base::shouldLogEval>("shouldLogEval", "bool"),
        fieldOf<Base, &Base::externalMatchers>("externalMatchers",
                                               "PtrConst<ExternalMatchersBase>"),
        fieldOf<Base, &Base::result>("result", "Routing::Policy::Result_ *"),
    };
    static TypeData const data =
        typeRecord(TypeData::Kind::entity, "Qcf::Eval", "EvalContextBase", "Entity", fields);
    return data;
}
TypeData const & EvalContextBase::typeData() const { return TypeDataOf<EvalContextBase>::get(); }

TypeData const & TypeDataOf<EvalContext>::get() {
    using Context = EvalContext;
    static constexpr FieldInfo fields[] = {
        fieldOf<Context, &Context::policyEvalContext>("policyEvalContext",
                                                      "Ptr<Routing::Policy::PolicyEvalContext>"),
        // The frames as they are, without the check of the call depth that evaluation makes.
        fieldOf<Context, &Context::stackFrameDataFromCaller_>("stackFrameDataFromCaller",
                                                              "StackFrameData_ *"),
        fieldOf<Context, &Context::stackFrameDataFromPOA_>("stackFrameDataFromPOA",
                                                           "StackFrameData_"),
        fieldOf<Context, &Context::nextHopSetToSelf>("nextHopSetToSelf", "bool"),
        fieldOf<Context, &Context::intSetScratch_>("intSetScratch", "U64Buffer"),
        fieldOf<Context, &Context::communitySetScratch_>("communitySetScratch", "CommunityBuffer"),
    };
    static TypeData const data = typeRecord(TypeData::Kind::entity, "Qcf::Eval", "EvalContext",
                                            "GeneratedEvalContext", fields);
    return data;
}
TypeData const & EvalContext::typeData() const { return TypeDataOf<EvalContext>::get(); }
