#include "QcfLib/Nodes/TypeRecord.h"
#include "QcfLib/Reflection.h"

/// The records of enumerations. What has a text is named by it.

using namespace Qcf::Eval; // NOLINT(google-build-using-namespace): what is described has these
                           // names

namespace {

// One text a value, so that reflection and logs cannot spell it differently.
template <typename Enumeration>
EnumeratorInfo named(Enumeration value) {
    return {toString(value), static_cast<U64>(value)};
}

} // namespace

// Records are made by the first who asks, as no other order of initialisation is sure.
TypeData const & TypeDataOf<TriStateBoolValue>::get() {
    static EnumeratorInfo const enumerators[] = {named(QcfUnknown()), named(QcfFalse()),
                                                 named(QcfTrue())};
    static TypeData const data = enumRecord("Qcf::Eval", "TriStateBoolValue", enumerators);
    return data;
}

TypeData const & TypeDataOf<TerminationFlag>::get() {
    static EnumeratorInfo const enumerators[] = {named(TerminationFlag::noTermination),
                                                 named(TerminationFlag::returnToCaller),
                                                 named(TerminationFlag::exitToPoa)};
    static TypeData const data = enumRecord("Qcf::Eval", "TerminationFlag", enumerators);
    return data;
}

TypeData const & TypeDataOf<ModifyFlag>::get() {
    static constexpr EnumeratorInfo enumerators[] = {{"copyOnWrite", 0}, {"reuseOnWrite", 1}};
    static TypeData const data = enumRecord("Qcf::Eval", "ModifyFlag", enumerators);
    return data;
}

TypeData const & TypeDataOf<AddressFamily>::get() {
    // The numbers are those of the IP versions.
    static constexpr EnumeratorInfo enumerators[] = {{"none", 0}, {"ipv4", 4}, {"ipv6", 6}};
    static TypeData const data = enumRecord("", "AddressFamily", enumerators);
    return data;
}

TypeData const & TypeDataOf<Routing::Isis::Level>::get() {
    static constexpr EnumeratorInfo enumerators[] = {
        {"unset", 0}, {"level1", 1}, {"level2", 2}, {"level1And2", 3}, {"none", 4}};
    static TypeData const data = enumRecord("Routing::Isis", "Level", enumerators);
    return data;
}
