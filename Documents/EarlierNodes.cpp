#include "Documents/EarlierNodes.h"

#include "Documents/Words.h"
#include "QcfLib/QcfEval.h"

namespace Qcf::Documents {

using Eval::FieldRole;
using Eval::Function;

// An object with `ref` and anything else could be meant as a reference or as a node of its own: it
// is neither.
U32 EarlierNodes::findReferenced(JsonValue const & json, Position const & position) const {
    JsonValue const reference = *json.find(word::reference);
    U64 const key = reference.expectU64(1);
    if (json.size() != 1) {
        json.fail(position.subject(), String("only key ") + word::reference,
                  std::to_string(json.size()) + " keys");
    }
    auto const number = builder_.find(key);
    // Told apart from a key that nobody has, so that one fault of a document is not taken for two.
    if (!number && unreadKeys_.contains(key)) {
        reference.fail(position.subject(), "key of a node that could be read",
                       "key " + std::to_string(key) + ", which has an error or stands behind one");
    }
    if (!number) {
        reference.fail(position.subject(), "key of an earlier node",
                       "key " + std::to_string(key) + " of none");
    }
    Eval::AetNodeBase const & node = *builder_.node(*number);
    if (!position.field.accepts(node)) {
        position.fail(json, String(node.typeData().name) + " (key " + std::to_string(key) + ")");
    }
    return *number;
}

// The name is a field of the call besides: it is found wanting here, before the call's own fields
// are read.
U32 EarlierNodes::findCalled(JsonValue const & call, Position const & position) const {
    Position const naming = Position::of(position.owner, FieldRole::calleeName);
    auto const name = call.find(naming.field.name);
    if (!name || !name->isString()) {
        call.fail(naming.subject(), "string", name ? describe(*name) : "none");
    }
    if (unreadFunctions_.contains(String(name->asString()))) {
        name->fail(position.subject(), "Function that could be read",
                   describe(*name) + ", which has an error");
    }
    auto const function = functions_.find(String(name->asString()));
    if (function == functions_.end()) {
        name->fail(position.subject(), "Function that stands before its callers",
                   "no earlier function " + describe(*name));
    }
    return function->second;
}

void EarlierNodes::addFunction(NodeObject const & object, U32 number) {
    auto const & function = static_cast<Function const &>(*builder_.node(number));
    if (!functions_.emplace(function.funcName(), number).second) {
        JsonValue const name = *object.find(FieldRole::functionName);
        name.fail(Position::of(object.nodeClass, FieldRole::functionName).subject(),
                  "name that no other function has", describe(name));
    }
}

void EarlierNodes::addUnread(JsonValue const & json) {
    std::vector<JsonValue> open{json};
    while (!open.empty()) {
        JsonValue const each = open.back();
        open.pop_back();
        addUnreadObject(each);
        open.insert(open.end(), each.begin(), each.end());
    }
}

// Guesses from the members what an object was to be: it only makes messages better. Its key is
// taken all the same, so that no other node gets it.
void EarlierNodes::addUnreadObject(JsonValue const & json) {
    auto const key = json.find(word::key);
    if (key && key->asU64()) {
        unreadKeys_.insert(*key->asU64());
        builder_.keyIsTaken(*key->asU64());
    }
    auto const name = json.find(word::functionName);
    // With a body: other objects have a member of that name, too.
    auto const & body = *Eval::nodeClassOf<Function>().fieldOf(FieldRole::body);
    bool const isFunction = name && name->isString() && json.find(body.name);
    if (isFunction && !functions_.contains(String(name->asString()))) {
        unreadFunctions_.emplace(name->asString());
    }
}

} // namespace Qcf::Documents
