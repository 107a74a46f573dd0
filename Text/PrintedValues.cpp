#include "Text/Lexer.h"
#include "Text/Literal.h"
#include "Text/NodePrinter.h"
#include "Text/Words.h"

#include <algorithm>

/// Values: constants, attributes, arguments, named lists, sets. Each is told by its shape alone, so
/// that the same spelling serves wherever it stands.
namespace Qcf::Text {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

/// The bits of an extended community that hold a bandwidth, and where they begin.
constexpr U64 bandwidthBits = 0xffffffff;
constexpr U8 bandwidthOffset = 64;
/// The largest slot that a text can say.
constexpr U64 largestSlot = 0xffffffff;

template <typename Immediate>
std::optional<Literal> literalIf(AetNodeBase const & node) {
    auto const * const immediate = as<Immediate>(node);
    return immediate == nullptr ? std::nullopt
                                : std::optional<Literal>(Literal(immediate->value()));
}

/// The constant that the node is; nothing where it is none that has a literal.
std::optional<Literal> literalOf(AetNodeBase const & node) {
    if (auto const * const number = as<IntImmediate>(node)) {
        return Integer{number->value(), number->negative()};
    }
    using Reader = std::optional<Literal> (*)(AetNodeBase const &);
    static constexpr Reader readers[] = {literalIf<BandwidthImmediate>,
                                         literalIf<TriStateBoolImmediate>,
                                         literalIf<CommunityValueImmediate>,
                                         literalIf<IpPrefixImmediate>,
                                         literalIf<IpAddressImmediate>,
                                         literalIf<MacAddressImmediate>,
                                         literalIf<EsiImmediate>};
    for (Reader const read : readers) {
        if (auto literal = read(node)) {
            return literal;
        }
    }
    return std::nullopt;
}

/// The elements of a literal, and whether it says of its value what follows from them.
struct Elements {
    std::vector<AetNodeBase const *> entries;
    bool isUsual = false;
};

template <typename Literal>
bool takeElements(AetNodeBase const & node, Elements & elements) {
    auto const * const literal = as<Literal>(node);
    if (literal == nullptr) {
        return false;
    }
    for (auto const * link = literal->head().get(); link != nullptr; link = link->next().get()) {
        elements.entries.push_back(link->entry().get());
    }
    bool const isConstant = std::ranges::all_of(elements.entries, [](AetNodeBase const * entry) {
        return entry->typeData().facts.isConstant;
    });
    elements.isUsual = literal->cachable() == isConstant;
    return true;
}

std::optional<Elements> elementsOf(AetNodeBase const & node) {
    Elements elements;
    bool const isLiteral = takeElements<IntSetImmediate>(node, elements) ||
                           takeElements<CommunitySetImmediate>(node, elements) ||
                           takeElements<IntListImmediate>(node, elements);
    return isLiteral ? std::optional(std::move(elements)) : std::nullopt;
}

} // namespace

void NodePrinter::value(Node const & node, Style const & style) {
    if (AttributeInfo const * const attribute = node.typeData().attribute) {
        put(attribute->languageName);
    } else if (!constant(node, style) && !variable(node) && !namedList(node) &&
               !literal(node, style) && !madeCommunity(node) && !ribs(node)) {
        raw(node);
    }
}

// A word that would be read as another value, such as a prefix with bits behind its length, is none
// to write.
bool NodePrinter::constant(Node const & node, Style const & style) {
    if (auto const * const interface = as<InterfaceImmediate>(node)) {
        put("interface ");
        put(Text::quoted(interface->value().name()));
        return true;
    }
    auto const literal = literalOf(node);
    if (!literal) {
        return false;
    }
    if (auto const * const number = std::get_if<Integer>(&*literal)) {
        bool const hasName = !number->negative && number->magnitude < style.valueNames.size();
        bool const isCommunity = style.standardCommunities && !number->negative;
        put(hasName       ? String(style.valueNames[number->magnitude])
            : isCommunity ? communityWord(number->magnitude)
                          : toWord(*literal));
        return true;
    }
    String const word = toWord(*literal);
    if (parseLiteral(word) != literal) {
        return false;
    }
    put(word);
    return true;
}

bool NodePrinter::variable(Node const & node) {
    if (node.typeData().fieldOf(FieldRole::argumentIndex) == nullptr) {
        return false;
    }
    String const * const name = signature_.find(variableOf(node));
    if (name != nullptr) {
        put(nameWord(*name));
    }
    return name != nullptr;
}

bool NodePrinter::namedList(Node const & node) {
    if (!node.typeData().facts.list) {
        return false;
    }
    PrintedList const list = listOf(node);
    if (program_.lists().isSlotWritten(list) && list.slot > largestSlot) {
        return false;
    }
    if (is<PrefixListImmediate>(node)) {
        put(list.kind == SlotKind::v4PrefixList ? "v4" : "v6");
    } else {
        put(node.typeData().facts.words);
    }
    put(" ");
    put(nameWord(list.name));
    slot(list);
    return true;
}

void NodePrinter::slot(PrintedList const & list) {
    if (program_.lists().isSlotWritten(list)) {
        put("@" + std::to_string(list.slot));
    }
}

// Empty brackets are an empty integer set, unless what stands on the left wants communities.
bool NodePrinter::literal(Node const & node, Style const & style) {
    auto const elements = elementsOf(node);
    if (!elements || !elements->isUsual) {
        return false;
    }
    bool const isList = is<IntListImmediate>(node);
    if (elements->entries.empty()) {
        bool const isEmptySet = !isList && (style.communities || is<IntSetImmediate>(node));
        put(isEmptySet ? "{}" : "");
        return isEmptySet;
    }
    open(isList ? "[ " : "{ ");
    for (std::size_t i = 0; i < elements->entries.size(); ++i) {
        separate(i == 0);
        value(*elements->entries[i], style);
    }
    close(isList ? " ]" : " }");
    return true;
}

bool NodePrinter::isSpelled(Node const & node) const {
    if (auto const elements = elementsOf(node)) {
        return elements->isUsual && (!elements->entries.empty() || is<IntSetImmediate>(node));
    }
    bool const isVariable = node.typeData().fieldOf(FieldRole::argumentIndex) != nullptr;
    return !isVariable || signature_.find(variableOf(node)) != nullptr;
}

// The community of an AS's link bandwidth has a short form.
bool NodePrinter::madeCommunity(Node const & node) {
    if (auto const * const merged = as<CommunityValueDynamic>(node)) {
        if (isLinkBandwidth(*merged)) {
            U64 const community = as<CommunityValueImmediate>(*merged->val())->value().value();
            open("lbw(");
            put(std::to_string((community >> 32) & 0xffff) + ", ");
            value(*as<BandwidthToCommunityValue>(*merged->dynamicVal())->bandwidthVal());
        } else {
            open(String(node.typeData().facts.words) + '(');
            value(*merged->val());
            separate(false);
            value(*merged->dynamicVal());
            separate(false);
            put(toWord(merged->dynamicValMask()));
        }
    } else if (auto const * const bits = as<BandwidthToCommunityValue>(node)) {
        open(String(node.typeData().facts.words) + '(');
        value(*bits->bandwidthVal());
        put(", " + std::to_string(bits->offset()));
    } else if (auto const * const ofSet = as<ExtCommSetToLinkBandwidthExtCommValue>(node)) {
        open(String(node.typeData().facts.words) + '(');
        value(*ofSet->extCommSet(), {.communities = true});
    } else {
        return false;
    }
    close(")");
    return true;
}

bool NodePrinter::isLinkBandwidth(CommunityValueDynamic const & node) const {
    auto const * const base = as<CommunityValueImmediate>(*node.val());
    auto const * const bits = as<BandwidthToCommunityValue>(*node.dynamicVal());
    if (base == nullptr || bits == nullptr || bits->offset() != bandwidthOffset) {
        return false;
    }
    Acl::CommunityValue const & community = base->value();
    return community.type() == 0 && community.isLinkBandwidth() && community.word(0) == 0 &&
           node.dynamicValMask() == Acl::CommunityValue(bandwidthBits, 0);
}

bool NodePrinter::ribs(Node const & node) {
    auto const * const immediate = as<ResolutionRibsImmediate>(node);
    if (immediate == nullptr) {
        return false;
    }
    auto const & profile = immediate->value();
    put(node.typeData().facts.words);
    bool const isEmpty = profile.entryCount() == 0 && !profile.useDefault();
    open(isEmpty ? " [" : " [ ");
    for (std::size_t i = 0; i < profile.entryCount(); ++i) {
        auto const & entry = profile.entries().at(i);
        separate(i == 0);
        // A word goes over its colon.
        String const name = nameWord(entry.name);
        put(name + (name.starts_with('"') ? ": " : ":") + std::to_string(entry.kind));
    }
    if (profile.useDefault()) {
        separate(profile.entryCount() == 0);
        put("use_default");
    }
    close(isEmpty ? "]" : " ]");
    return true;
}

} // namespace Qcf::Text
