#include "Documents/DerivedFields.h"

namespace Qcf::Documents {

using Eval::FieldInfo;
using Eval::FieldRole;

/// Of a literal its elements, of a function its body.
NodeFacts const * DerivedFields::firstChild() const {
    bool const isNull = children_.empty() || children_[0] == NodeBuilder::none;
    return isNull ? nullptr : &builder_.facts(children_[0]);
}

bool DerivedFields::fill(FieldInfo const & field, bool & value) const {
    // An empty literal is a constant.
    if (plays(field, FieldRole::cachable)) {
        value = firstChild() == nullptr || firstChild()->constant;
        return true;
    }
    value = false;
    return plays(field, FieldRole::orZero);
}

bool DerivedFields::fill(FieldInfo const & field, U32 & value) const {
    value = 0;
    return plays(field, FieldRole::orZero);
}

// Slots are as wide as their classes declare them.
bool DerivedFields::fill(FieldInfo const & field, U16 & value) const {
    value = slot_;
    return plays(field, FieldRole::listSlot);
}

bool DerivedFields::fill(FieldInfo const & field, U64 & value) const {
    value = slot_;
    return plays(field, FieldRole::listSlot);
}

bool DerivedFields::fill(FieldInfo const & /*field*/, FunctionMetadata & value) const {
    if (firstChild() != nullptr) {
        value = builder_.names().metadataOf(place_, firstChild()->names);
    }
    return true;
}

// What the body reads and writes, callees excepted: each function declares its own.
bool DerivedFields::fill(FieldInfo const & /*field*/, Eval::AccessibleAttributes & value) const {
    if (firstChild() != nullptr) {
        value.readableAttributes = Eval::AttributeSet(firstChild()->reads);
        value.writableAttributes = Eval::ModifiableAttributeSet(firstChild()->writes);
    }
    return true;
}

bool DerivedFields::fill(FieldInfo const & /*field*/,
                         Routing::Policy::RouteMapFeatures & /*value*/) const {
    return true;
}

} // namespace Qcf::Documents
