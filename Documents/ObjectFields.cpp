#include "Documents/ObjectFields.h"

#include "Documents/Position.h"

/// What is left out is what a person would have to copy from elsewhere in the document: slots,
/// declared attributes, whether a literal's value may be kept.
namespace Qcf::Documents {

using Eval::FieldInfo;
using Eval::FieldRole;

// Names come before fields, because the slot of a list must be known when its field is asked for.
// The key is taken behind those of the children, and so is above them.
U32 addNode(NodeBuilder & builder, NodeObject const & object, std::span<U32 const> children,
            std::optional<JsonValue> const & key) {
    ObjectFields fields(builder, object, children);
    U32 const names = fields.useNames();
    auto const node = object.nodeClass.create(builder.keyFor(object.json, key), fields);
    return builder.add(object.json, node, children, key.has_value(), names);
}

// The name is used even where the object gives a slot: it belongs into the metadata of its
// function.
U32 ObjectFields::useNames() {
    auto const list = mentionedList(object_);
    if (!list) {
        return 0;
    }
    U32 const names = builder_.names().use(object_.json, list->kind, list->name);
    slot_ = builder_.names().slotOf(list->kind, list->name);
    return names;
}

// A member goes before whatever would stand for it, right or wrong: checks come later.
template <typename T>
void ObjectFields::readField(FieldInfo const & field, T & value) {
    String const subject = Position{object_.nodeClass, field}.subject();
    if (auto const member = object_.find(field)) {
        readScalar(*member, subject, value);
    } else if (!fillLeftOut(field, value)) {
        object_.json.fail(subject, field.wants, "none");
    }
}

// A class asks for its fields in their order, which is that of the children.
PtrConst<Eval::AetNodeBase> ObjectFields::readNode(FieldInfo const & /*field*/) {
    U32 const number = children_[nextChild_++];
    return number == NodeBuilder::none ? nullptr : builder_.node(number);
}

/// Of a literal its elements, of a function its body.
NodeFacts const * ObjectFields::firstChild() const {
    bool const isNull = children_.empty() || children_[0] == NodeBuilder::none;
    return isNull ? nullptr : &builder_.facts(children_[0]);
}

bool ObjectFields::fillLeftOut(FieldInfo const & field, bool & value) {
    // An empty literal is a constant.
    if (plays(field, FieldRole::cachable)) {
        value = firstChild() == nullptr || firstChild()->constant;
        return true;
    }
    value = false;
    return plays(field, FieldRole::orZero);
}

bool ObjectFields::fillLeftOut(FieldInfo const & field, U32 & value) {
    value = 0;
    return plays(field, FieldRole::orZero);
}

// Slots are as wide as their classes declare them.
bool ObjectFields::fillLeftOut(FieldInfo const & field, U16 & value) {
    value = slot_;
    return plays(field, FieldRole::listSlot);
}

bool ObjectFields::fillLeftOut(FieldInfo const & field, U64 & value) {
    value = slot_;
    return plays(field, FieldRole::listSlot);
}

bool ObjectFields::fillLeftOut(FieldInfo const & /*field*/, FunctionMetadata & value) {
    if (firstChild() != nullptr) {
        value = builder_.names().metadataOf(object_.json, firstChild()->names);
    }
    return true;
}

// What the body reads and writes, callees excepted: each function declares its own.
bool ObjectFields::fillLeftOut(FieldInfo const & /*field*/, AccessibleAttributes & value) {
    if (firstChild() != nullptr) {
        value.readableAttributes = Eval::AttributeSet(firstChild()->reads);
        value.writableAttributes = Eval::ModifiableAttributeSet(firstChild()->writes);
    }
    return true;
}

bool ObjectFields::fillLeftOut(FieldInfo const & /*field*/,
                               Routing::Policy::RouteMapFeatures & /*value*/) {
    return true;
}

} // namespace Qcf::Documents
