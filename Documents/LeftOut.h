#pragma once

#include "Documents/FieldVisitors.h"
#include "QcfLib/NodeClass.h"

#include <type_traits>

/// What a document need not say of a node, because its reader works it out from the rest.
namespace Qcf::Documents {

/// Whether a field of that meaning follows from the rest where it is left out: a slot from the
/// metadata, a callee from its name, whether a value may be kept from the elements; or is false or
/// 0 unless something else is said.
constexpr bool followsFromRest(Eval::FieldInfo const & field) {
    using Eval::FieldRole;
    return plays(field, FieldRole::listSlot) || plays(field, FieldRole::callee) ||
           plays(field, FieldRole::cachable) || plays(field, FieldRole::orZero);
}

/// Whether any field of the type does: what a function declares follows from its body.
template <typename Value>
inline constexpr bool isDeclaration =
    std::is_same_v<Value, Eval::FunctionMetadata> || std::is_same_v<Value, AccessibleAttributes> ||
    std::is_same_v<Value, Routing::Policy::RouteMapFeatures>;

/// Whether a node of the class may stand in the field.
inline bool mayStand(Eval::NodeClass const & nodeClass, Eval::FieldInfo const & field) {
    Eval::NodeClass const * const wanted = Eval::classWanted(field);
    constexpr U16 firstKind = wanting(Eval::NodeKind::aetNodeBase);
    return wanted != nullptr
               ? wanted == &nodeClass
               : nodeClass.isKind(static_cast<Eval::NodeKind>(field.wanted - firstKind));
}

} // namespace Qcf::Documents
