#include "Documents/Literals.h"

#include "Documents/ScalarReader.h"
#include "Platform/Routing/CommunityText.h"
#include "QcfLib/QcfEval.h"

namespace Qcf::Documents {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

constexpr U32 none = NodeBuilder::none;

using L = LiteralReader;

struct LiteralRule {
    std::string_view wants;
    U32 (LiteralReader::*read)();
};
constexpr LiteralRule literalRules[] = {
    {"Int", &L::integer},
    {"Bandwidth", &L::bandwidth},
    {"TriStateBool", &L::triStateBool},
    {"Expression", &L::expression},
    {"StorageType", &L::argument},
    {"LogicalOperator", &L::logicalOperator},
    {"IpAddress", &L::text<IpGenAddr, &ipAddressImmediateFactory>},
    {"IpPrefix", &L::text<IpGenPrefix, &ipPrefixImmediateFactory>},
    {"MacAddress", &L::text<EthAddr, &macAddressImmediateFactory>},
    {"Esi", &L::text<std::optional<Evpn::Esid>, &esiImmediateFactory>},
    {"Interface", &L::text<IntfId, &interfaceImmediateFactory>},
    {"CommunityValue", &L::text<Acl::CommunityValue, &communityValueImmediateFactory>},
    {"IntSet", &L::elements<IntLinkedList, &intSetImmediateFactory>},
    {"IntSetImmediate", &L::elements<IntLinkedList, &intSetImmediateFactory>},
    {"IntListImmediate", &L::elements<IntLinkedList, &intListImmediateFactory>},
    {"CommunitySet", &L::elements<CommunityLinkedList, &communitySetImmediateFactory>},
    {"CommunitySetImmediate", &L::elements<CommunityLinkedList, &communitySetImmediateFactory>},
};

struct OperatorRule {
    std::string_view text;
    Ptr<AetNodeBase> (*create)(U64 key);
};
constexpr OperatorRule operatorRules[] = {
    {"and", [](U64 key) -> Ptr<AetNodeBase> { return andOperatorFactory(key); }},
    {"or", [](U64 key) -> Ptr<AetNodeBase> { return orOperatorFactory(key); }},
    {"??", [](U64 key) -> Ptr<AetNodeBase> { return sequentialOperatorFactory(key); }},
};

} // namespace

U64 LiteralReader::key() const { return reader_.builder_.keyFor(json_, std::nullopt); }

U32 LiteralReader::add(Ptr<AetNodeBase> const & node, std::initializer_list<U32> children) {
    return reader_.builder_.add(json_, node, {children.begin(), children.size()}, false);
}

/// The attribute that the text names, if that fits the position.
std::optional<U32> LiteralReader::languageName() {
    NodeClass const * const nodeClass =
        json_.isString() ? findAttribute(json_.asString()) : nullptr;
    return nodeClass == nullptr ? std::nullopt
                                : reader_.fittingAttribute(json_, *nodeClass, position_);
}

U32 LiteralReader::read() {
    if (auto const attribute = languageName()) {
        return *attribute;
    }
    for (LiteralRule const & rule : literalRules) {
        if (rule.wants == position_.field.wants) {
            U32 const number = (this->*rule.read)();
            if (number != none) {
                return number;
            }
        }
    }
    NodeClass const * const other = json_.isString() ? findAttribute(json_.asString()) : nullptr;
    position_.fail(json_, other == nullptr ? describe(json_)
                                           : String(other->name) + " (" + describe(json_) + ")");
}

U32 LiteralReader::readSetElement() {
    auto const community = parseStandardCommunity(json_.asString());
    if (auto const attribute = languageName()) {
        return *attribute;
    }
    return community ? add(intImmediateFactory(key(), *community, false)) : read();
}

U32 LiteralReader::integer() {
    auto const number = json_.asSigned();
    return number ? add(intImmediateFactory(key(), number->first, number->second)) : none;
}

U32 LiteralReader::bandwidth() {
    auto const number = json_.asFloat();
    return number ? add(bandwidthImmediateFactory(key(), *number)) : none;
}

U32 LiteralReader::triStateBool() {
    bool const isUnknown = json_.isString() && json_.asString() == "unknown";
    if (!isUnknown && !json_.isBool()) {
        return none;
    }
    TriStateBoolValue value = QcfUnknown();
    readScalar(json_, position_.subject(), value);
    return add(triStateBoolImmediateFactory(key(), value));
}

U32 LiteralReader::expression() {
    U32 const value = triStateBool();
    if (value == none) {
        return none;
    }
    auto const & node = reader_.builder_.node(value);
    return add(triStateBoolExpressionFactory(key(), ptrCast<TriStateBool const>(node)), {value});
}

// Any value may be an argument; numbers and booleans say by themselves of which type they are.
U32 LiteralReader::argument() {
    if (json_.isBool()) {
        return triStateBool();
    }
    U32 const number = integer();
    return number == none ? bandwidth() : number;
}

U32 LiteralReader::logicalOperator() {
    for (OperatorRule const & rule : operatorRules) {
        if (json_.isString() && json_.asString() == rule.text) {
            return add(rule.create(key()));
        }
    }
    return none;
}

template <typename Value, auto factory>
U32 LiteralReader::text() {
    Value value{};
    try {
        readScalar(json_, position_.subject(), value);
    } catch (DocumentError const &) {
        return none;
    }
    return add(factory(key(), value));
}

template <typename Link, auto factory>
U32 LiteralReader::elements() {
    if (!json_.isArray()) {
        return none;
    }
    NodeReader::Chain chain;
    chain.linkClass = &nodeClasses()[Link::classNumber];
    chain.communityTexts = std::string_view(position_.field.wants).starts_with("IntSet");
    for (JsonValue const entry : json_) {
        chain.links.push_back({entry, entry, std::nullopt});
    }
    U32 const head = reader_.readChain(std::move(chain));
    if (head == none) {
        return add(factory(key(), nullptr, true), {none});
    }
    bool const cachable = reader_.builder_.facts(head).constant;
    auto const & node = reader_.builder_.node(head);
    return add(factory(key(), ptrCast<Link const>(node), cachable), {head});
}

} // namespace Qcf::Documents
