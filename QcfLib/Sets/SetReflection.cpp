#include "QcfLib/Nodes/TypeRecord.h"
#include "QcfLib/Reflection.h"

/// The records of the containers.

using namespace Qcf; // NOLINT(google-build-using-namespace): what is described has these names
using namespace Qcf::Eval; // NOLINT(google-build-using-namespace): what is described has these
                           // names

namespace {

template <typename Set>
String valuesText(Set const & set) {
    // The brackets tell an empty set from no text.
    return "[" + set.toStrep() + "]";
}

} // namespace

TypeData const & TypeDataOf<U64SmallVector>::get() {
    using Set = U64SmallVector;
    static constexpr FieldInfo fields[] = {
        fieldOf<Set, &Set::modifyFlag>("modifyFlag", "ModifyFlag"),
        fieldOf<Set, &valuesText<Set>>("values", "U64Buffer"),
    };
    static TypeData const data =
        typeRecord(TypeData::Kind::object, "Qcf::Eval", "U64SmallVector", "", fields);
    return data;
}

TypeData const & TypeDataOf<U64UnsortedSmallVector>::get() {
    using List = U64UnsortedSmallVector;
    static constexpr FieldInfo fields[] = {
        fieldOf<List, &List::modifyFlag>("modifyFlag", "ModifyFlag"),
        fieldOf<List, &valuesText<List>>("values", "U64Buffer"),
    };
    static TypeData const data =
        typeRecord(TypeData::Kind::object, "Qcf::Eval", "U64UnsortedSmallVector", "", fields);
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
        typeRecord(TypeData::Kind::object, "Qcf::Eval", "CommunitySmallVector", "", fields);
    return data;
}
