#pragma once

#include "Platform/Render/JsonDocument.h"
#include "QcfLib/NodeClass.h"

namespace Qcf::Documents {

/// A field of a class, as messages name it: where a child or a value stands, and what may stand
/// there. Both records live as long as the process.
///
///     Position const target = Position::of(nodeClassOf<IntAssign>(), FieldRole::target);
///     target.fail(json, "Med"); // "...: IntAssign.lhs wants IntModifiable, found Med"
struct Position {
    /// The class that has the field.
    Eval::NodeClass const & owner;
    Eval::FieldInfo const & field;

    /// The field of that class that plays the role, which one must.
    static Position of(Eval::NodeClass const & owner, Eval::FieldRole role) {
        return {owner, *owner.fieldOf(role)};
    }

    /// "IntAssign.lhs"
    String subject() const { return String(owner.name) + "." + field.name; }
    /// Throws the DocumentError of what was found there instead of what the field wants.
    [[noreturn]] void fail(JsonValue const & place, String const & found) const {
        place.fail(subject(), field.wants, found);
    }
};

} // namespace Qcf::Documents
