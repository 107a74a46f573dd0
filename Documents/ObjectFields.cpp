#include "Documents/ObjectFields.h"

namespace Qcf::Documents {

using Eval::FieldInfo;

namespace {

bool isNamed(FieldInfo const & field, std::string_view name) { return field.name == name; }

} // namespace

std::string_view memberName(FieldInfo const & field, bool isFunctionEntry) {
    return isFunctionEntry && isNamed(field, "funcName") ? "name" : field.name;
}

ListUse listUseOf(JsonValue const & json, SlotRule const & rule) {
    auto const name = json.find(rule.nameField);
    auto const isV4 = json.find("isV4");
    if (!name || !name->isString()) {
        return {};
    }
    bool const isOther = isV4 && isV4->isBool() && !isV4->asBool();
    return {listKindOf(rule, !isOther), String(name->asString())};
}

U32 ObjectFields::useNames() {
    SlotRule const * const rule = ClassRules::of(nodeClass_).slot;
    ListUse const list = rule == nullptr ? ListUse() : listUseOf(json_, *rule);
    if (list.kind == nullptr) {
        return 0;
    }
    U32 const names = reader_.names_.use(json_, list.kind, list.name);
    slot_ = reader_.names_.slotOf(list.kind, list.name);
    return names;
}

template <typename T>
void ObjectFields::readField(FieldInfo const & field, T & value) {
    String const subject = Position{nodeClass_, field}.subject();
    if (auto const member = json_.find(memberName(field, isFunctionEntry_))) {
        readScalar(*member, subject, value);
    } else if (!leftOut(field, value)) {
        json_.fail(subject, field.wants, "none");
    }
}

PtrConst<Eval::AetNodeBase> ObjectFields::readNode(FieldInfo const & /*field*/) {
    U32 const number = children_[nextChild_++];
    return number == NodeBuilder::none ? nullptr : reader_.builder_.node(number);
}

NodeFacts const * ObjectFields::firstChild() const {
    bool const isNull = children_.empty() || children_[0] == NodeBuilder::none;
    return isNull ? nullptr : &reader_.builder_.facts(children_[0]);
}

bool ObjectFields::leftOut(FieldInfo const & field, bool & value) {
    if (isNamed(field, "cachable")) {
        value = firstChild() == nullptr || firstChild()->constant;
        return true;
    }
    value = false;
    return isNamed(field, "argumentsExpected");
}

bool ObjectFields::leftOut(FieldInfo const & field, U32 & value) {
    value = 0;
    return isNamed(field, "functionCallId");
}

bool ObjectFields::leftOut(FieldInfo const & field, U16 & value) {
    SlotRule const * const rule = ClassRules::of(nodeClass_).slot;
    value = slot_;
    return rule != nullptr && isNamed(field, rule->slotField);
}

bool ObjectFields::leftOut(FieldInfo const & field, U64 & value) {
    SlotRule const * const rule = ClassRules::of(nodeClass_).slot;
    value = slot_;
    return rule != nullptr && isNamed(field, rule->slotField);
}

bool ObjectFields::leftOut(FieldInfo const & /*field*/, FunctionMetadata & value) {
    if (firstChild() != nullptr) {
        value = reader_.names_.metadataOf(json_, firstChild()->names);
    }
    return true;
}

bool ObjectFields::leftOut(FieldInfo const & /*field*/, AccessibleAttributes & value) {
    if (firstChild() != nullptr) {
        value.readableAttributes = Eval::AttributeSet(firstChild()->reads);
        value.writableAttributes = Eval::ModifiableAttributeSet(firstChild()->writes);
    }
    return true;
}

bool ObjectFields::leftOut(FieldInfo const & /*field*/,
                           Routing::Policy::RouteMapFeatures & /*value*/) {
    return true;
}

} // namespace Qcf::Documents
