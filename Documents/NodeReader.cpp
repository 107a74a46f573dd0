#include "Documents/NodeReader.h"

#include "Documents/ObjectFields.h"
#include "Documents/Words.h"
#include "QcfLib/QcfEval.h"

#include <algorithm>

/// What a bare value stands for depends on its position, so that the forms of a child that say by
/// themselves what they are come first: a chain, null, a reference, an object with a class.
namespace Qcf::Documents {

using Eval::FieldInfo;
using Eval::FieldRole;
using Eval::NodeClass;
using Eval::NodeKind;

namespace {

constexpr U32 none = NodeBuilder::none;

template <typename Node>
bool isClass(NodeClass const & nodeClass) {
    return &nodeClass == &Eval::nodeClassOf<Node>();
}

/// The class of the literal that an array stands for in the field; null where it stands for none.
/// The two sets are asked for by their bases, of which an array could be any class: it is the
/// literal one. Other fields want the literal's class itself.
NodeClass const * listLiteralIn(FieldInfo const & field) {
    if (field.wanted == wanting(NodeKind::intSet)) {
        return &Eval::nodeClassOf<Eval::IntSetImmediate>();
    }
    if (field.wanted == wanting(NodeKind::communitySet)) {
        return &Eval::nodeClassOf<Eval::CommunitySetImmediate>();
    }
    NodeClass const * const nodeClass = Eval::classWanted(field);
    bool const isLiteral =
        nodeClass != nullptr && nodeClass->fieldOf(FieldRole::elements) != nullptr;
    return isLiteral ? nodeClass : nullptr;
}

} // namespace

U32 NodeReader::readNode(JsonValue const & json) {
    return readObject(NodeObject::of(json, "node"));
}

U32 NodeReader::readFunction(JsonValue const & json) {
    if (!json.isObject()) {
        json.fail(word::functions, "object", describe(json));
    }
    // The list that it stands in says its class.
    return readObject({json, Eval::nodeClassOf<Eval::Function>(), true});
}

// Unknown members come first, before any child takes a key. A function becomes known last, so that
// nothing in its own body can call it.
U32 NodeReader::readObject(NodeObject const & object) {
    object.checkMembers();
    Children const children = readChildren(object);
    builder_.checkDepth(builder_.at(object.json), object.nodeClass, children.all());
    U32 const number = addNode(builder_, object, children.all(), object.json.find(word::key));
    if (isClass<Eval::Function>(object.nodeClass)) {
        earlier_.addFunction(object, number);
    }
    return number;
}

NodeReader::Children NodeReader::readChildren(NodeObject const & object) {
    if (isClass<Eval::LogicalOperatorExpression>(object.nodeClass)) {
        return readLogicalChain(object);
    }
    Children children;
    for (FieldInfo const & field : object.nodeClass.fields) {
        if (!field.isNode()) {
            continue;
        }
        auto const member = object.find(field);
        Position const position{object.nodeClass, field};
        if (Eval::classWanted(field) == &Eval::nodeClassOf<Eval::FunctionArgumentList>() &&
            isClass<Eval::FunctionCallExpression>(object.nodeClass)) {
            Chain chain = openChain(earlier_, object.json, member, position);
            children.push_back(readArguments(std::move(chain), children.all().back()));
            continue;
        }
        bool const isNamed = !member && plays(field, FieldRole::callee);
        children.push_back(isNamed ? earlier_.findCalled(object.json, position)
                                   : readChild(object.json, member, position));
    }
    return children;
}

// A whole number is an integer by its shape. Where the callee reads bandwidths alone, and would
// miss one otherwise, a bandwidth is what it is meant as.
U32 NodeReader::readArguments(Chain chain, U32 callee) {
    ArgumentNeeds const & needs = builder_.facts(callee).needs;
    auto const isInteger = [](Chain::Link const & link) {
        return link.entry && link.entry->asSigned().has_value();
    };
    auto const others =
        static_cast<std::size_t>(std::ranges::count_if(chain.links, [&](auto const & link) {
            return !isInteger(link) && !(link.entry && link.entry->isBool());
        }));
    bool const areBandwidths =
        needs.integers == 0 && chain.tail == none && others < needs.bandwidths;
    for (std::size_t i = 0; i < chain.links.size(); ++i) {
        Chain::Link & link = chain.links[i];
        if (areBandwidths && isInteger(link)) {
            link.entryNumber = literals_.readBandwidth(*link.entry, chain.entryPosition());
        } else {
            readEntry(chain, i);
        }
    }
    return addLinks(builder_, chain);
}

// The operators of a chain are logged between its operands: operand 1, operand 2, operator 1,
// operand 3, operator 2, and so on; and so are keys given.
NodeReader::Children NodeReader::readLogicalChain(NodeObject const & object) {
    auto const open = [&](FieldRole role) {
        return openChain(earlier_, object.json, object.find(role),
                         Position::of(object.nodeClass, role));
    };
    Chain operands = open(FieldRole::operand);
    Chain operators = open(FieldRole::operators);
    std::size_t next = 0;
    for (std::size_t i = 0; i < operands.links.size(); ++i) {
        readEntry(operands, i);
        if (i > 0 && next < operators.links.size()) {
            readEntry(operators, next++);
        }
    }
    // More operators than stand between operands: such a chain can be evaluated, though not dumped,
    // and is read for that.
    while (next < operators.links.size()) {
        readEntry(operators, next++);
    }
    Children children;
    children.push_back(addLinks(builder_, operands));
    children.push_back(addLinks(builder_, operators));
    return children;
}

U32 NodeReader::readChild(JsonValue const & owner, std::optional<JsonValue> const & json,
                          Position const & position) {
    NodeClass const * const wanted = Eval::classWanted(position.field);
    if (wanted != nullptr && wanted->facts.isLink) {
        return readChain(openChain(earlier_, owner, json, position));
    }
    // Left out and null are the same, where the field may be null at all; where it may not, the
    // message about null is that of a value that does not fit.
    bool const isNull = !json || json->isNull();
    if (isNull && position.field.optional) {
        return none;
    }
    if (!json) {
        position.fail(owner, "none");
    }
    if (json->isObject() && json->find(word::reference)) {
        return earlier_.findReferenced(*json, position);
    }
    if (json->isObject() && json->find(word::nodeClass)) {
        // Read first and looked at then: what it is follows from its class, which `accepts` judges
        // on a node.
        U32 const number = readObject(NodeObject::of(*json, position.subject()));
        Eval::AetNodeBase const & node = *builder_.node(number);
        if (!position.field.accepts(node)) {
            position.fail(*json, node.typeData().name);
        }
        return number;
    }
    NodeClass const * const literal = json->isArray() ? listLiteralIn(position.field) : nullptr;
    return literal == nullptr ? literals_.read(*json, position) : readListLiteral(*json, *literal);
}

U32 NodeReader::readChain(Chain chain) {
    for (std::size_t i = 0; i < chain.links.size(); ++i) {
        readEntry(chain, i);
    }
    return addLinks(builder_, chain);
}

void NodeReader::readEntry(Chain & chain, std::size_t i) {
    Chain::Link & link = chain.links[i];
    link.entryNumber = readChild(link.place, link.entry, chain.entryPosition());
}

// A literal's other fields are left out: whether its value may be kept follows from its elements.
U32 NodeReader::readListLiteral(JsonValue const & array, NodeClass const & literal) {
    bool const isIntSet = literal.isKind(NodeKind::intSet);
    Chain chain{Eval::classWanted(*literal.fieldOf(FieldRole::elements))};
    chain.append(array);
    Position const position = chain.entryPosition();
    for (Chain::Link & link : chain.links) {
        bool const isText = isIntSet && link.place.isString();
        link.entryNumber = isText ? literals_.readSetElement(link.place, position)
                                  : readChild(link.place, link.entry, position);
    }
    U32 const head = addLinks(builder_, chain);
    return addNode(builder_, {array, literal}, std::span(&head, 1), std::nullopt);
}

} // namespace Qcf::Documents
