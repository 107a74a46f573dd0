#include "Documents/NodeReader.h"

#include "Documents/Literals.h"
#include "Documents/ObjectFields.h"
#include "Platform/Render/Utf8.h"

#include <algorithm>

namespace Qcf::Documents {

using Eval::FieldInfo;
using Eval::NodeClass;

namespace {

constexpr U32 none = NodeBuilder::none;

NodeClass const & classOf(JsonValue const & json, String const & subject) {
    auto const name = json.find("class");
    if (!name || !name->isString()) {
        json.fail(subject, "object with \"class\" or \"ref\"", describe(json));
    }
    NodeClass const * const nodeClass = Eval::findNodeClass(name->asString());
    if (nodeClass == nullptr) {
        name->fail(subject, "name of a node class", describe(*name));
    }
    return *nodeClass;
}

bool isChainClass(std::string_view wanted) {
    NodeClass const * const nodeClass = Eval::findNodeClass(wanted);
    return nodeClass != nullptr && ClassRules::of(*nodeClass).link;
}

String found(std::optional<JsonValue> const & json) { return json ? describe(*json) : "none"; }

/// Fails on a member that is none of the class's.
void checkMembers(JsonValue const & json, NodeClass const & nodeClass, bool isFunctionEntry) {
    auto const isKnown = [&](std::string_view key) {
        bool const isField = std::any_of(
            nodeClass.fields.begin(), nodeClass.fields.end(),
            [&](FieldInfo const & field) { return key == memberName(field, isFunctionEntry); });
        return isField || key == "key" || (key == "class" && !isFunctionEntry);
    };
    for (JsonValue const member : json) {
        if (!isKnown(member.key())) {
            String known = "key";
            for (FieldInfo const & field : nodeClass.fields) {
                known += ", ";
                known += memberName(field, isFunctionEntry);
            }
            member.fail(nodeClass.name, "only keys " + known,
                        "unknown key \"" + oneLine(member.key(), 60) + '"');
        }
    }
}

} // namespace

U32 NodeReader::expectFitting(JsonValue const & place, Position const & position, U32 number,
                              String const & detail) const {
    auto const & node = *builder_.node(number);
    if (!position.field.accepts(node)) {
        position.fail(place, node.typeData().name + detail);
    }
    return number;
}

U32 NodeReader::readChild(JsonValue const & owner, std::optional<JsonValue> const & json,
                          Position const & position) {
    if (isChainClass(position.field.wants)) {
        Chain chain = openChain(owner, json, position);
        return readChain(std::move(chain));
    }
    bool const isNull = !json || json->isNull();
    if (isNull && position.field.optional) {
        return none;
    }
    if (!json) {
        position.fail(owner, "none");
    }
    if (json->isObject() && json->find("ref")) {
        return readReference(*json, position);
    }
    if (json->isObject() && json->find("class")) {
        NodeClass const & nodeClass = classOf(*json, position.subject());
        return expectFitting(*json, position, readObject(*json, nodeClass, false), "");
    }
    return readLiteral(*json, position);
}

U32 NodeReader::readReference(JsonValue const & json, Position const & position) {
    JsonValue const reference = *json.find("ref");
    U64 const key = reference.expectU64(1);
    if (json.size() != 1) {
        json.fail(position.subject(), "only key ref", std::to_string(json.size()) + " keys");
    }
    auto const number = builder_.find(key);
    if (!number && unreadKeys_.contains(key)) {
        reference.fail(position.subject(), "key of a node that could be read",
                       "key " + std::to_string(key) + ", which has an error or stands behind one");
    }
    if (!number) {
        reference.fail(position.subject(), "key of an earlier node",
                       "key " + std::to_string(key) + " of none");
    }
    return expectFitting(json, position, *number, " (key " + std::to_string(key) + ")");
}

U32 NodeReader::readNode(JsonValue const & json) {
    return readObject(json, classOf(json, "node"), false);
}

U32 NodeReader::readFunction(JsonValue const & json) {
    if (!json.isObject()) {
        json.fail("functions", "object", describe(json));
    }
    return readObject(json, *Eval::findNodeClass("Function"), true);
}

void NodeReader::isUnread(JsonValue const & json) {
    std::vector<JsonValue> open{json};
    while (!open.empty()) {
        JsonValue const each = open.back();
        open.pop_back();
        auto const key = each.find("key");
        auto const name = each.find("name");
        if (key && key->asU64()) {
            unreadKeys_.insert(*key->asU64());
            builder_.keyIsTaken(*key->asU64());
        }
        bool const isFunction = name && name->isString() && each.find("body");
        if (isFunction && !functions_.contains(String(name->asString()))) {
            unreadFunctions_.emplace(name->asString());
        }
        open.insert(open.end(), each.begin(), each.end());
    }
}

U32 NodeReader::readObject(JsonValue const & json, NodeClass const & nodeClass,
                           bool isFunctionEntry) {
    checkMembers(json, nodeClass, isFunctionEntry);
    Children const children = readChildren(json, nodeClass);
    builder_.checkDepth(json, nodeClass, children.all());
    ObjectFields fields(*this, json, nodeClass, children.all(), isFunctionEntry);
    U32 const names = fields.useNames();
    auto const key = json.find("key");
    auto const node = nodeClass.create(builder_.keyFor(json, key), fields);
    U32 const number = builder_.add(json, node, children.all(), key.has_value(), names);
    if (std::string_view(nodeClass.name) == "Function") {
        functionIs(json, number, isFunctionEntry);
    }
    return number;
}

NodeReader::Children NodeReader::readChildren(JsonValue const & json, NodeClass const & nodeClass) {
    if (std::string_view(nodeClass.name) == "LogicalOperatorExpression") {
        return readLogicalChain(json, nodeClass);
    }
    Children children;
    for (FieldInfo const & field : nodeClass.fields) {
        if (!field.isNode()) {
            continue;
        }
        auto const member = json.find(field.name);
        Position const position{nodeClass, field};
        bool const named = !member && std::string_view(field.name) == "calleePtr";
        children.push_back(named ? readCallee(json, position) : readChild(json, member, position));
    }
    return children;
}

U32 NodeReader::readCallee(JsonValue const & json, Position const & position) {
    auto const name = json.find("calleeName");
    if (!name || !name->isString()) {
        json.fail("FunctionCallExpression.calleeName", "string", found(name));
    }
    auto const function = functions_.find(String(name->asString()));
    if (unreadFunctions_.contains(String(name->asString()))) {
        name->fail(position.subject(), "Function that could be read",
                   describe(*name) + ", which has an error");
    }
    if (function == functions_.end()) {
        name->fail(position.subject(), "Function that stands before its callers",
                   "no earlier function " + describe(*name));
    }
    return function->second;
}

// The operators of a chain are logged between its operands: operand 1, operand 2, operator 1,
// operand 3, operator 2, and so on; and so are keys given.
NodeReader::Children NodeReader::readLogicalChain(JsonValue const & json,
                                                  NodeClass const & nodeClass) {
    Chain operands = openChain(json, json.find("expressionList"), {nodeClass, nodeClass.fields[0]});
    Chain operators = openChain(json, json.find("operatorList"), {nodeClass, nodeClass.fields[1]});
    std::size_t next = 0;
    for (std::size_t i = 0; i < operands.links.size(); ++i) {
        readEntry(operands, i);
        if (i > 0 && next < operators.links.size()) {
            readEntry(operators, next++);
        }
    }
    while (next < operators.links.size()) {
        readEntry(operators, next++);
    }
    Children children;
    children.push_back(closeChain(operands));
    children.push_back(closeChain(operators));
    return children;
}

// Follows a chain to its end in whichever form it is written: an array, links within each other, a
// reference to links that stand elsewhere.
NodeReader::Chain NodeReader::openChain(JsonValue const & owner, std::optional<JsonValue> json,
                                        Position const & position) {
    Chain chain;
    chain.linkClass = Eval::findNodeClass(position.field.wants);
    bool optional = position.field.optional;
    for (; json && !json->isNull(); optional = true) {
        if (json->isArray()) {
            if (json->size() == 0 && !optional) {
                position.fail(*json, describe(*json));
            }
            for (JsonValue const entry : *json) {
                chain.links.push_back({entry, entry, std::nullopt});
            }
            return chain;
        } else if (json->isObject() && json->find("ref")) {
            chain.tail = readReference(*json, position);
            return chain;
        } else if (json->isObject() && json->find("class")) {
            NodeClass const & nodeClass = classOf(*json, position.subject());
            if (&nodeClass != chain.linkClass) {
                position.fail(*json, nodeClass.name);
            }
            checkMembers(*json, nodeClass, false);
            chain.links.push_back({*json, json->find("entry"), json->find("key")});
            json = json->find("next");
        } else {
            position.fail(*json, describe(*json));
        }
    }
    if (!optional) {
        position.fail(json.value_or(owner), found(json));
    }
    return chain;
}

void NodeReader::readEntry(Chain & chain, std::size_t i) {
    Chain::Link & link = chain.links[i];
    Position const position{*chain.linkClass, chain.linkClass->fields[0]};
    if (chain.communityTexts && link.entry && link.entry->isString()) {
        link.entryNumber = LiteralReader(*this, *link.entry, position).readSetElement();
    } else {
        link.entryNumber = readChild(link.place, link.entry, position);
    }
}

U32 NodeReader::closeChain(Chain & chain) {
    U32 next = chain.tail;
    for (auto link = chain.links.rbegin(); link != chain.links.rend(); ++link) {
        U32 const children[] = {link->entryNumber, next};
        ObjectFields fields(*this, link->place, *chain.linkClass, children, false);
        auto const node = chain.linkClass->create(builder_.keyFor(link->place, link->key), fields);
        next = builder_.add(link->place, node, children, link->key.has_value());
    }
    return next;
}

U32 NodeReader::readChain(Chain chain) {
    for (std::size_t i = 0; i < chain.links.size(); ++i) {
        readEntry(chain, i);
    }
    return closeChain(chain);
}

U32 NodeReader::readLiteral(JsonValue const & json, Position const & position) {
    return LiteralReader(*this, json, position).read();
}

std::optional<U32> NodeReader::fittingAttribute(JsonValue const & place,
                                                NodeClass const & nodeClass,
                                                Position const & position) {
    auto const known = attributes_.find(&nodeClass);
    if (known != attributes_.end()) {
        bool const fits = position.field.accepts(*builder_.node(known->second));
        return fits ? std::optional(known->second) : std::nullopt;
    }
    // Whether it fits shows on a node; one that does not is dropped before it is taken in.
    ObjectFields fields(*this, place, nodeClass, {}, false);
    auto const node = nodeClass.create(builder_.keyFor(place, std::nullopt), fields);
    if (!position.field.accepts(*node)) {
        return std::nullopt;
    }
    return attributes_[&nodeClass] = builder_.add(place, node, {}, false);
}

void NodeReader::functionIs(JsonValue const & json, U32 number, bool isFunctionEntry) {
    auto const & function = static_cast<Eval::Function const &>(*builder_.node(number));
    if (!functions_.emplace(function.funcName(), number).second) {
        JsonValue const name = *json.find(isFunctionEntry ? "name" : "funcName");
        name.fail("Function.funcName", "name that no other function has", describe(name));
    }
}

} // namespace Qcf::Documents
