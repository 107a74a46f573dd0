#include "Documents/DocumentScan.h"

#include "Documents/DocumentBuilder.h"
#include "Documents/Position.h"
#include "Documents/ScalarReader.h"
#include "Documents/Words.h"

/// In a flat document all nodes stand before all functions, calls among them. One look at the whole
/// settles which of them can be read when, so that reading itself never goes back.
namespace Qcf::Documents {

using Eval::FieldRole;
using Eval::Function;
using Eval::NodeClass;

DocumentScan::DocumentScan(std::optional<JsonValue> const & nodes, JsonValue const & functions,
                           ListNames & names)
    : names_(names), waiting_(functions.size() + 1) {
    // Where each function stands must be known before any entry is looked at.
    std::size_t count = 0;
    for (JsonValue const function : functions) {
        ++count;
        auto const name = function.find(word::functionName);
        auto const key = function.find(word::key);
        if (name && name->isString()) {
            waitByName_.emplace(String(name->asString()), count);
        }
        if (key && key->asU64()) {
            waitByKey_.emplace(*key->asU64(), count);
        }
    }
    if (nodes) {
        for (JsonValue const node : *nodes) {
            scanEntry(node);
        }
    }
    for (JsonValue const function : functions) {
        scanMetadata(function);
        scan(function);
    }
    // Metadata goes before what single nodes give.
    for (GivenSlot const & given : givenSlots_) {
        names_.slotIs(given.list.kind, given.list.name, given.slot);
    }
}

void DocumentScan::scanMetadata(JsonValue const & function) {
    static Position const position =
        Position::of(Eval::nodeClassOf<Function>(), FieldRole::metadata);
    if (auto const json = function.find(position.field.name)) {
        FunctionMetadata metadata;
        readScalar(*json, position.subject(), metadata);
        names_.metadataIs(JsonPlace(*json, nullptr), metadata);
    }
}

// An entry waits for the last of all functions that it needs. Whoever refers to its nodes has to
// wait as long, which is found out because references point backwards.
void DocumentScan::scanEntry(JsonValue const & node) {
    wait_ = 0;
    keys_.clear();
    scan(node);
    // Entries that wait for the same function keep their order.
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
    auto const reference = json.find(word::reference);
    auto const key = json.find(word::key);
    auto const name = json.find(word::nodeClass);
    // A key that is not known here is that of a node that need not wait, or nobody's, which shows
    // when it is read.
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
        scanNode({json, *nodeClass});
    }
}

// Functions may stand among nodes, too, with metadata of their own.
void DocumentScan::scanNode(NodeObject const & node) {
    if (auto list = mentionedList(node)) {
        auto const slot = node.find(FieldRole::listSlot);
        if (slot && slot->asU64()) {
            givenSlots_.push_back({*std::move(list), *slot->asU64()});
        }
    } else if (node.nodeClass.fieldOf(FieldRole::callee) != nullptr) {
        scanCall(node);
    } else if (&node.nodeClass == &Eval::nodeClassOf<Function>()) {
        scanMetadata(node.json);
    }
}

// A callee that is given otherwise than by its name is no matter of names.
void DocumentScan::scanCall(NodeObject const & call) {
    auto const name = call.find(FieldRole::calleeName);
    if (name && name->isString() && !call.find(FieldRole::callee)) {
        auto const wait = waitByName_.find(String(name->asString()));
        waitFor(wait == waitByName_.end() ? 0 : wait->second);
    }
}

} // namespace Qcf::Documents
