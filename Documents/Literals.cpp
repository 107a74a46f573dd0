#include "Documents/Literals.h"

#include "Documents/LeftOut.h"
#include "Documents/ObjectFields.h"
#include "Platform/Render/NearestWord.h"
#include "Platform/Routing/CommunityText.h"
#include "QcfLib/QcfEval.h"

#include <algorithm>
#include <vector>

namespace Qcf::Documents {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

constexpr U32 none = NodeBuilder::none;

/// A value at a position. Readers of a type answer `none` for what is no literal of that type.
struct Literal {
    DocumentBuilder & builder;
    JsonValue const & json;
    Position const & position;

    U64 key() const { return builder.keyFor(json, std::nullopt); }
    U32 add(Ptr<AetNodeBase> const & node, std::span<U32 const> children = {}) const {
        return builder.add(builder.at(json), node, children, false);
    }
};

// Magnitude and sign are read apart: a constant may be as large as either allows.
U32 integer(Literal const & literal) {
    auto const number = literal.json.asSigned();
    return number ? literal.add(intImmediateFactory(literal.key(), number->first, number->second))
                  : none;
}

// The nearest float counts: a bandwidth that cannot be written exactly is no error.
U32 bandwidth(Literal const & literal) {
    auto const number = literal.json.asFloat();
    return number ? literal.add(bandwidthImmediateFactory(literal.key(), *number)) : none;
}

/// The immediate of a value that reads itself. What is no literal of this type is told by the
/// caller, which knows all that may stand there; the value's own complaint would name one type
/// alone.
template <typename Value, auto factory>
U32 scalar(Literal const & literal) {
    Value value{};
    try {
        readScalar(literal.json, literal.position.subject(), value);
    } catch (DocumentError const &) {
        return none;
    }
    return literal.add(factory(literal.key(), value));
}

// Of texts only that of the unknown value. The type itself would take the text "true", too.
U32 triStateBool(Literal const & literal) {
    JsonValue const & json = literal.json;
    bool const isUnknown = json.isString() && json.asString() == toString(QcfUnknown());
    return isUnknown || json.isBool()
               ? scalar<TriStateBoolValue, &triStateBoolImmediateFactory>(literal)
               : none;
}

// A predicate is a node around the value: it has the later key, as a child's comes first.
U32 expression(Literal const & literal) {
    U32 const value = triStateBool(literal);
    if (value == none) {
        return none;
    }
    auto const node = ptrCast<TriStateBool const>(literal.builder.node(value));
    return literal.add(triStateBoolExpressionFactory(literal.key(), node), std::span(&value, 1));
}

/// Texts whose types are told by their shapes. Interfaces are not among them: any text would be
/// one, a misspelt attribute, too.
U32 shapedText(Literal const & literal) {
    using Reader = U32 (*)(Literal const &);
    constexpr Reader readers[] = {triStateBool,
                                  scalar<IpGenPrefix, &ipPrefixImmediateFactory>,
                                  scalar<IpGenAddr, &ipAddressImmediateFactory>,
                                  scalar<EthAddr, &macAddressImmediateFactory>,
                                  scalar<std::optional<Evpn::Esid>, &esiImmediateFactory>,
                                  scalar<Acl::CommunityValue, &communityValueImmediateFactory>};
    // The empty text is an unset value of more than one type.
    if (literal.json.asString().empty()) {
        return none;
    }
    for (Reader const read : readers) {
        if (U32 const number = read(literal); number != none) {
            return number;
        }
    }
    return none;
}

// Any value may be an argument; most say by themselves of which type they are.
U32 argument(Literal const & literal) {
    if (literal.json.isString()) {
        return shapedText(literal);
    }
    if (literal.json.isBool()) {
        return triStateBool(literal);
    }
    // An integer first: every one would do as a bandwidth, too.
    U32 const number = integer(literal);
    return number == none ? bandwidth(literal) : number;
}

struct OperatorRule {
    String text;
    Ptr<LogicalOperator> (*make)(U64 key);
};
// A node is made for its text alone, once a process: so this text and that of dumps cannot differ.
template <auto factory>
OperatorRule operatorRule() {
    return {factory(1)->toStrep(), [](U64 key) -> Ptr<LogicalOperator> { return factory(key); }};
}

/// Operators stand as the texts by which they call themselves.
U32 logicalOperator(Literal const & literal) {
    static OperatorRule const rules[] = {operatorRule<&andOperatorFactory>(),
                                         operatorRule<&orOperatorFactory>(),
                                         operatorRule<&sequentialOperatorFactory>()};
    for (OperatorRule const & rule : rules) {
        if (literal.json.isString() && literal.json.asString() == rule.text) {
            return literal.add(rule.make(literal.key()));
        }
    }
    return none;
}

struct LiteralRule {
    NodeKind wanted;
    U32 (*read)(Literal const & literal);
};
// By what the position wants, each kind once. What is not here has no literals: it is written as an
// object.
constexpr LiteralRule literalRules[] = {
    {NodeKind::int_, integer},
    {NodeKind::bandwidth, bandwidth},
    {NodeKind::triStateBool, triStateBool},
    {NodeKind::expression, expression},
    {NodeKind::storageType, argument},
    {NodeKind::logicalOperator, logicalOperator},
    {NodeKind::ipAddress, scalar<IpGenAddr, &ipAddressImmediateFactory>},
    {NodeKind::ipPrefix, scalar<IpGenPrefix, &ipPrefixImmediateFactory>},
    {NodeKind::macAddress, scalar<EthAddr, &macAddressImmediateFactory>},
    {NodeKind::esi, scalar<std::optional<Evpn::Esid>, &esiImmediateFactory>},
    {NodeKind::interface, scalar<IntfId, &interfaceImmediateFactory>},
    {NodeKind::communityValue, scalar<Acl::CommunityValue, &communityValueImmediateFactory>},
};

/// Names of attributes are made of words; other texts are meant as values.
bool looksLikeName(std::string_view text) {
    auto const isOfName = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               c == '_' || c == '-' || c == '.';
    };
    bool const begins = !text.empty() && !(text[0] >= '0' && text[0] <= '9');
    return begins && std::ranges::all_of(text, isOfName);
}

/// What was found where it does not fit, with what may have been meant.
String foundText(JsonValue const & json, Position const & position) {
    String found = describe(json);
    if (!json.isString()) {
        return found;
    }
    // The name of an attribute that may not stand there is told as such: the type is wrong, not the
    // spelling.
    if (NodeClass const * const other = findAttribute(json.asString())) {
        return String(other->name) + " (" + found + ")";
    }
    std::vector<std::string_view> known;
    for (NodeClass const & each : nodeClasses()) {
        if (each.attribute != nullptr && mayStand(each, position.field)) {
            known.emplace_back(each.attribute->languageName);
        }
    }
    String const meant = didYouMean(json.asString(), known);
    bool const isMisspelt = meant.empty() && !known.empty() && looksLikeName(json.asString());
    return found + (isMisspelt ? ", which is no attribute (qcf nodes lists them)" : meant);
}

} // namespace

std::optional<U32> Literals::attribute(JsonValue const & json, Position const & position) {
    NodeClass const * const nodeClass = json.isString() ? findAttribute(json.asString()) : nullptr;
    if (nodeClass == nullptr) {
        return std::nullopt;
    }
    // One node serves all places that name the attribute, whatever they want of it.
    auto const known = attributes_.find(nodeClass);
    if (known != attributes_.end()) {
        bool const fits = position.field.accepts(*builder_.node(known->second));
        return fits ? std::optional(known->second) : std::nullopt;
    }
    // Whether it fits shows on a node; one that does not is dropped before it is taken in.
    NodeObject const object{json, *nodeClass};
    ObjectFields fields(builder_, object, {});
    auto const node = nodeClass->create(builder_.keyFor(json, std::nullopt), fields);
    if (!position.field.accepts(*node)) {
        return std::nullopt;
    }
    return attributes_[nodeClass] = builder_.add(builder_.at(json), node, {}, false);
}

U32 Literals::read(JsonValue const & json, Position const & position) {
    if (auto const number = attribute(json, position)) {
        return *number;
    }
    for (LiteralRule const & rule : literalRules) {
        if (position.field.wanted == wanting(rule.wanted)) {
            U32 const number = rule.read({builder_, json, position});
            if (number != none) {
                return number;
            }
        }
    }
    position.fail(json, foundText(json, position));
}

U32 Literals::readBandwidth(JsonValue const & json, Position const & position) {
    return bandwidth({builder_, json, position});
}

// The name of an attribute goes before that of a community.
U32 Literals::readSetElement(JsonValue const & text, Position const & position) {
    auto const community = parseStandardCommunity(text.asString());
    if (auto const number = attribute(text, position)) {
        return *number;
    }
    if (!community) {
        return read(text, position);
    }
    Literal const literal{builder_, text, position};
    return literal.add(intImmediateFactory(literal.key(), *community, false));
}

} // namespace Qcf::Documents
