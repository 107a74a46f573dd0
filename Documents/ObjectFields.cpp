#include "Documents/ObjectFields.h"

#include "Documents/DerivedFields.h"
#include "Documents/Position.h"

namespace Qcf::Documents {

using Eval::FieldInfo;

// Names come before fields, because the slot of a list must be known when its field is asked for.
// The key is taken behind those of the children, and so is above them.
U32 addNode(DocumentBuilder & builder, NodeObject const & object, std::span<U32 const> children,
            std::optional<JsonValue> const & key) {
    ObjectFields fields(builder, object, children);
    U32 const names = fields.useNames();
    auto const node = object.nodeClass.create(builder.keyFor(object.json, key), fields);
    return builder.add(builder.at(object.json), node, children, key.has_value(), names);
}

// The name is used even where the object gives a slot: it belongs into the metadata of its
// function.
U32 ObjectFields::useNames() {
    auto const list = mentionedList(object_);
    if (!list) {
        return 0;
    }
    U32 const names = builder_.names().use(builder_.at(object_.json), list->kind, list->name);
    slot_ = builder_.names().slotOf(list->kind, list->name);
    return names;
}

// A member goes before whatever would stand for it, right or wrong: checks come later.
template <typename T>
void ObjectFields::readField(FieldInfo const & field, T & value) {
    String const subject = Position{object_.nodeClass, field}.subject();
    if (auto const member = object_.find(field)) {
        readScalar(*member, subject, value);
        return;
    }
    JsonPlace const place = builder_.at(object_.json);
    if (!DerivedFields(builder_, place, children_, slot_).fill(field, value)) {
        place.fail(subject, field.wants, "none");
    }
}

// A class asks for its fields in their order, which is that of the children.
PtrConst<Eval::AetNodeBase> ObjectFields::readNode(FieldInfo const & /*field*/) {
    U32 const number = children_[nextChild_++];
    return number == NodeBuilder::none ? nullptr : builder_.node(number);
}

} // namespace Qcf::Documents
