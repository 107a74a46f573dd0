#include "Watch/ValueSpelling.h"

#include "QcfLib/NodeWalk.h"
#include "Text/FunctionContent.h"
#include "Text/Lexer.h"
#include "Text/Literal.h"
#include "Text/Words.h"

/// A function a kind of value: it reads by the accessor that operators use, and spells the result.
namespace Qcf::Watch {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

using Context = Ptr<EvalContextBase const>;

/// `{ a, b }` of anything that can be gone through; the empty text of no elements is given.
template <typename Values, typename Spell>
String bracketed(Values const & values, Spell const & spell, char const * brackets = "{}") {
    String text;
    for (auto const & value : values) {
        text += text.empty() ? String(1, brackets[0]) + ' ' : String(", ");
        text += spell(value);
    }
    return text.empty() ? String(brackets) : text + ' ' + brackets[1];
}

String integerWord(SignedMagnitude const & value, ValueStyle const & style) {
    if (!value.negative && value.magnitude < style.valueNames.size()) {
        return String(style.valueNames[value.magnitude]);
    }
    bool const isCommunity = style.standardCommunities && !value.negative;
    return isCommunity ? Text::communityWord(value.magnitude)
                       : Text::toWord(Text::Integer{value.magnitude, value.negative});
}

String spelledInt(AetNodeBase const & node, ValueStyle const & style, Context const & context) {
    return integerWord(static_cast<Int const &>(node).signedVal(context), style);
}

/// Of the kinds whose values are literals by themselves.
template <typename Node>
String spelledLiteral(AetNodeBase const & node, ValueStyle const & /*style*/,
                      Context const & context) {
    return Text::toWord(static_cast<Node const &>(node).getVal(context));
}

String spelledInterface(AetNodeBase const & node, ValueStyle const & /*style*/,
                        Context const & context) {
    return "interface " + Text::quoted(static_cast<Interface const &>(node).getVal(context).name());
}

String spelledRibs(AetNodeBase const & node, ValueStyle const & /*style*/,
                   Context const & context) {
    auto const profile = static_cast<ResolutionRibs const &>(node).getVal(context);
    std::vector<String> parts;
    for (std::size_t i = 0; i < profile.entryCount(); ++i) {
        auto const & entry = profile.entries().at(i);
        parts.push_back(Text::nameWord(entry.name) + ':' + std::to_string(entry.kind));
    }
    if (profile.useDefault()) {
        parts.emplace_back("use_default");
    }
    return "ribs " + bracketed(
                         parts, [](String const & part) { return part; }, "[]");
}

String spelledPath(AetNodeBase const & node, ValueStyle const & /*style*/,
                   Context const & context) {
    String text = "\"";
    if (auto const * const path = static_cast<AsPath const &>(node).getVal(context)) {
        Routing::Bgp::appendAsPathText(text, path->asns());
    }
    return text + '"';
}

/// The values of a set, empty for null.
template <typename Node>
auto valuesOf(AetNodeBase const & node, Context const & context) {
    using Value = typename Node::Set::Value;
    PtrConst<typename Node::Set> fresh;
    auto const * const set = static_cast<Node const &>(node).lendVal(context, fresh);
    return set == nullptr ? std::vector<Value>() : std::vector<Value>(set->begin(), set->end());
}

String spelledIntSet(AetNodeBase const & node, ValueStyle const & style, Context const & context) {
    return bracketed(valuesOf<IntSet>(node, context), [&](U64 value) {
        return integerWord({false, value}, style);
    });
}

String spelledCommunities(AetNodeBase const & node, ValueStyle const & /*style*/,
                          Context const & context) {
    return bracketed(valuesOf<CommunitySet>(node, context),
                     [](Acl::CommunityValue const & value) { return Text::toWord(value); });
}

String spelledIntList(AetNodeBase const & node, Context const & context) {
    PtrConst<U64UnsortedSmallVector> fresh;
    auto const * const list = static_cast<IntListImmediate const &>(node).lendVal(context, fresh);
    std::vector<U64> values;
    if (list != nullptr) {
        values.assign(list->view().begin(), list->view().end());
    }
    return bracketed(
        values, [](U64 value) { return std::to_string(value); }, "[]");
}

/// By its name; a parameter by its own.
String spelledListName(AetNodeBase const & node, ValueStyle const & /*style*/,
                       Context const & /*context*/) {
    NodeClass const & nodeClass = node.typeData();
    if (!nodeClass.facts.list) {
        return Text::variableOf(node).name;
    }
    Text::PrintedList const list = Text::listOf(node);
    String const word = list.kind == SlotKind::v4PrefixList   ? "v4"
                        : list.kind == SlotKind::v6PrefixList ? "v6"
                                                              : String(nodeClass.facts.words);
    return word + ' ' + Text::nameWord(list.name);
}

struct KindRow {
    NodeKind kind;
    char const * type;
    String (*spelled)(AetNodeBase const &, ValueStyle const &, Context const &);
};
constexpr KindRow kindRows[] = {
    {NodeKind::int_, "int", spelledInt},
    {NodeKind::ipPrefix, "prefix", spelledLiteral<IpPrefix>},
    {NodeKind::ipAddress, "address", spelledLiteral<IpAddress>},
    {NodeKind::asPath, "as_path", spelledPath},
    {NodeKind::intSet, "int_set", spelledIntSet},
    {NodeKind::communitySet, "community_set", spelledCommunities},
    {NodeKind::communityValue, "community", spelledLiteral<CommunityValue>},
    {NodeKind::triStateBool, "tristate", spelledLiteral<TriStateBool>},
    {NodeKind::bandwidth, "bandwidth", spelledLiteral<Bandwidth>},
    {NodeKind::prefixList, "prefix_list", spelledListName},
    {NodeKind::macAddress, "mac", spelledLiteral<MacAddress>},
    {NodeKind::esi, "esi", spelledLiteral<Esi>},
    {NodeKind::interface, "interface", spelledInterface},
    {NodeKind::resolutionRibs, "ribs", spelledRibs},
};

} // namespace

ValueStyle ValueStyle::of(AetNodeBase const & node) {
    AttributeInfo const * const attribute = node.typeData().attribute;
    if (attribute == nullptr) {
        return {};
    }
    return {attribute->valueNames, attribute->lists == SlotKind::commList};
}

// A table's number says nothing to people, its name does.
SpelledValue spelledValue(AetNodeBase const & node, ValueStyle const & style,
                          EvalContext & context) {
    Context const reading(&context);
    NodeClass const & nodeClass = node.typeData();
    if (is<IntListImmediate>(node)) {
        return {"int_list", spelledIntList(node, reading)};
    }
    for (KindRow const & row : kindRows) {
        if (nodeClass.isKind(row.kind)) {
            return {row.type, nodeClass.facts.list ? spelledListName(node, style, reading)
                                                   : row.spelled(node, style, reading)};
        }
    }
    return {"", ""};
}

bool isConstant(AetNodeBase const & node) {
    bool isOne = true;
    walkTree(node, [&](WalkedNode const & at) {
        NodeClass const & nodeClass = at.node.typeData();
        isOne = isOne && nodeClass.attribute == nullptr &&
                nodeClass.fieldOf(FieldRole::argumentIndex) == nullptr;
        return isOne;
    });
    return isOne;
}

} // namespace Qcf::Watch
