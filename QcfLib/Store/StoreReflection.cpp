#include "QcfLib/Nodes/TypeRecord.h"
#include "QcfLib/QcfAllAetEntities.h"
#include "QcfLib/Reflection.h"

#include <array>
#include <utility>

/// The records of the store and the status.

using namespace Qcf; // NOLINT(google-build-using-namespace): what is described has these names
using namespace Qcf::Eval; // NOLINT(google-build-using-namespace): what is described has these
                           // names

namespace {

// One of two operations of that name.
auto const & aetOf(AllFunctionStatus const & status) { return status.aet(); }

/// A collection shows the number of its members.
template <std::size_t number>
String collectionText(void const * store) {
    return valueText::of(static_cast<AllAetEntities const *>(store)->size(U16{number}));
}

// One field a class. A field's text is a plain function, hence one for each number.
template <std::size_t... numbers>
std::array<FieldInfo, nodeClassCount> collectionFields(std::index_sequence<numbers...> /*all*/) {
    auto const field = [](std::size_t number, auto const text) {
        NodeClass const & nodeClass = nodeClasses()[number];
        return FieldInfo{.name = nodeClass.collection,
                         .type = nodeClass.name,
                         .wants = nodeClass.name,
                         .text = text};
    };
    return {field(numbers, &collectionText<numbers>)...};
}

} // namespace

TypeData const & TypeDataOf<AetCollections>::get() {
    using Store = AetCollections;
    static constexpr FieldInfo fields[] = {
        // The members are shown by the typed view's record, a collection a field.
        fieldOf<Store, [](Store const & store) { return store.size(); }>("size", "U64"),
        fieldOf<Store, &Store::hasDirtyCollKeys>("hasDirtyCollKeys", "bool"),
    };
    static TypeData const data =
        typeRecord(TypeData::Kind::entity, "Qcf", "AetCollections", "Entity", fields);
    return data;
}
TypeData const & AetCollections::typeData() const { return TypeDataOf<AetCollections>::get(); }

// Functions are shown by name, the store by what it is; each has its own record.
TypeData const & TypeDataOf<AllFunctionStatus>::get() {
    using Status = AllFunctionStatus;
    static constexpr FieldInfo fields[] = {
        fieldOf<Status, &Status::name>("name", "String"),
        fieldOf<Status, &aetOf>("aet", "PtrConst<FunctionBase>"),
        fieldOf<Status, &Status::aetNodes>("aetNodes", "Ptr<AllAetEntities>"),
        fieldOf<Status, &Status::dedupedFunctionsPresent>("dedupedFunctionsPresent", "bool"),
        fieldOf<Status, &Status::startOfDedupedFunctionUpdatesMarker>(
            "startOfDedupedFunctionUpdatesMarker", "U32"),
        fieldOf<Status, &Status::endOfDedupedFunctionUpdatesMarker>(
            "endOfDedupedFunctionUpdatesMarker", "U32"),
    };
    static TypeData const data =
        typeRecord(TypeData::Kind::entity, "Qcf", "AllFunctionStatus", "Entity", fields);
    return data;
}
TypeData const & AllFunctionStatus::typeData() const {
    return TypeDataOf<AllFunctionStatus>::get();
}

TypeData const & TypeDataOf<AllAetEntities>::get() {
    static auto const fields = collectionFields(std::make_index_sequence<nodeClassCount>());
    static TypeData const data =
        typeRecord(TypeData::Kind::entity, "Qcf", "AllAetEntities", "AetCollections", fields);
    return data;
}
TypeData const & AllAetEntities::typeData() const { return TypeDataOf<AllAetEntities>::get(); }
