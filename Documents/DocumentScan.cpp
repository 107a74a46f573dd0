#include "Documents/DocumentScan.h"

#include "Documents/ObjectFields.h"
#include "Documents/ScalarReader.h"

namespace Qcf::Documents {

using Eval::NodeClass;

DocumentScan::DocumentScan(std::optional<JsonValue> const & nodes, JsonValue const & functions,
                           ListNames & names)
    : names_(names), waiting_(functions.size() + 1) {
    std::size_t count = 0;
    for (JsonValue const function : functions) {
        ++count;
        auto const name = function.find("name");
        auto const key = function.find("key");
        if (name && name->isString()) {
            waitByName_.emplace(String(name->asString()), count);
        }
        if (key && key->asU64()) {
            waitByKey_.emplace(*key->asU64(), count);
        }
    }
    if (nodes) {
        for (JsonValue const node : *nodes) {
            nodeIs(node);
        }
    }
    for (JsonValue const function : functions) {
        functionIs(function);
        scan(function);
    }
    // Metadata goes before what single nodes give.
    for (GivenSlot const & given : givenSlots_) {
        names_.slotGiven(given.kind, given.name, given.slot);
    }
}

void DocumentScan::functionIs(JsonValue const & function) {
    if (auto const json = function.find("metadata")) {
        FunctionMetadata metadata;
        readScalar(*json, "Function.metadata", metadata);
        names_.metadataIs(*json, metadata);
    }
}

void DocumentScan::nodeIs(JsonValue const & node) {
    wait_ = 0;
    keys_.clear();
    scan(node);
    waiting_[wait_].push_back(node);
    for (U64 const key : wait_ == 0 ? std::vector<U64>() : keys_) {
        waitByKey_.emplace(key, wait_);
    }
}

// As deep as the document's nesting, which its parser limits.
void DocumentScan::scan(JsonValue const & json) {
    if (json.isObject()) {
        scanObject(json);
    }
    for (JsonValue const member : json) {
        if (member.isObject() || member.isArray()) {
            scan(member);
        }
    }
}

void DocumentScan::scanObject(JsonValue const & json) {
    auto const reference = json.find("ref");
    auto const key = json.find("key");
    auto const name = json.find("class");
    if (reference && reference->asU64()) {
        auto const wait = waitByKey_.find(*reference->asU64());
        waitFor(wait == waitByKey_.end() ? 0 : wait->second);
    }
    if (key && key->asU64()) {
        keys_.push_back(*key->asU64());
    }
    NodeClass const * const nodeClass =
        name && name->isString() ? Eval::findNodeClass(name->asString()) : nullptr;
    if (nodeClass != nullptr) {
        scanClass(json, *nodeClass);
    }
}

void DocumentScan::scanClass(JsonValue const & json, NodeClass const & nodeClass) {
    std::string_view const name = nodeClass.name;
    if (SlotRule const * const rule = ClassRules::of(nodeClass).slot) {
        auto const slot = json.find(rule->slotField);
        ListUse list = listUseOf(json, *rule);
        if (list.kind != nullptr && slot && slot->asU64()) {
            givenSlots_.push_back({list.kind, std::move(list.name), *slot->asU64()});
        }
    } else if (name == "FunctionCallExpression") {
        auto const callee = json.find("calleeName");
        if (callee && callee->isString() && !json.find("calleePtr")) {
            auto const wait = waitByName_.find(String(callee->asString()));
            waitFor(wait == waitByName_.end() ? 0 : wait->second);
        }
    } else if (name == "Function") {
        functionIs(json);
    }
}

} // namespace Qcf::Documents
