#include "QcfLib/QcfEval.h"
#include "Text/BodyParser.h"
#include "Text/Words.h"

#include <algorithm>

/// Values: attributes, parameters, constants, literals, sets, and the few that are made of others.
namespace Qcf::Text {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

String describeDraft(Draft const & draft, Sources const & sources) {
    constexpr std::size_t longest = 60;
    std::string_view const text = sources.textOf(draft.span);
    String const shown =
        text.size() > longest ? String(text.substr(0, longest)) + "..." : String(text);
    return String(typeName(draft)) + " '" + shown + "'";
}

// The nearest base that is a type of its own: not whether it can be written.
char const * typeName(Draft const & draft) {
    struct Name {
        NodeKind kind;
        char const * text;
    };
    static constexpr Name names[] = {
        {NodeKind::int_, "Int"},
        {NodeKind::bandwidth, "Bandwidth"},
        {NodeKind::triStateBool, "TriStateBool"},
        {NodeKind::prefixList, "PrefixList"},
        {NodeKind::ipAddress, "IpAddress"},
        {NodeKind::ipPrefix, "IpPrefix"},
        {NodeKind::macAddress, "MacAddress"},
        {NodeKind::esi, "Esi"},
        {NodeKind::interface, "Interface"},
        {NodeKind::resolutionRibs, "ResolutionRibs"},
        {NodeKind::communityValue, "CommunityValue"},
        {NodeKind::asPath, "AsPath"},
        {NodeKind::intSet, "IntSet"},
        {NodeKind::communitySet, "CommunitySet"},
    };
    for (Name const & each : names) {
        if (draft.isKind(each.kind)) {
            return each.text;
        }
    }
    return draft.nodeClass->name;
}

Draft * BodyParser::value(Want const & want) {
    if (cursor_.is("{")) {
        return setOf(want);
    }
    if (cursor_.is("[")) {
        return intList();
    }
    if (cursor_.is("@")) {
        return raw();
    }
    if (cursor_.isString()) {
        Token const token = cursor_.now();
        Parameter const * const parameter = scope_.findParameter(unquoted(cursor_.text()));
        cursor_.take();
        if (parameter != nullptr) {
            return variable(*parameter, cursor_.spanOf(token));
        }
        if (want.prefixLists) {
            return openPrefixList(token);
        }
        return tree_.add<InterfaceImmediate>(cursor_.spanOf(token),
                                             {unquoted(cursor_.text(token))});
    }
    if (!cursor_.isWord()) {
        cursor_.failWanted("a value");
    }
    if (Draft * const draft = keywordValue()) {
        return draft;
    }
    return word(want);
}

// Value names win over other names where they may stand; a parameter over a constant.
Draft * BodyParser::word(Want const & want) {
    Token const token = cursor_.now();
    std::string_view const text = cursor_.text();
    Span const span = cursor_.here();
    if (want.names != nullptr) {
        auto const names = want.names->valueNames;
        auto const found = std::ranges::find(names, text);
        if (found != names.end()) {
            cursor_.take();
            return literalAt(Integer{static_cast<U64>(found - names.begin()), false}, span);
        }
    }
    if (Parameter const * const parameter = scope_.findParameter(text)) {
        cursor_.take();
        return variable(*parameter, span);
    }
    if (Constant const * const constant = scope_.findConstant(text)) {
        cursor_.take();
        constant->isUsed = true;
        if (!constant->isSet) {
            return literalAt(constant->items.front().low, span);
        }
        std::vector<Draft *> elements;
        constantElements(*constant, span, elements);
        return setLiteral(elements, span, want.communities);
    }
    if (NodeClass const * const attribute = findAttribute(text)) {
        cursor_.take();
        return tree_.add(*attribute, span);
    }
    if (auto const literal = parseLiteral(text)) {
        cursor_.take();
        return literalAt(*literal, span);
    }
    if (want.prefixLists && isPlainName(text)) {
        cursor_.take();
        return openPrefixList(token);
    }
    failUnknown(token, want);
}

Draft * BodyParser::literalAt(Literal const & literal, Span const & span) {
    return tree_.addLiteral(literal, span);
}

Draft * BodyParser::variable(Parameter const & parameter, Span const & span) {
    parameter.isUsed = true;
    NodeClass const & nodeClass =
        parameter.kind == ArgumentKind::integer        ? nodeClassOf<IntVariable>()
        : parameter.kind == ArgumentKind::bandwidth    ? nodeClassOf<BandwidthVariable>()
        : parameter.kind == ArgumentKind::triStateBool ? nodeClassOf<TriStateBoolVariable>()
                                                       : nodeClassOf<PrefixListVariable>();
    return tree_.add(nodeClass, span, {parameter.name, U64{parameter.index}});
}

void BodyParser::failUnknown(Token const & token, Want const & want) {
    std::string_view const text = cursor_.text(token);
    Span const span = cursor_.spanOf(token);
    if (text == "accept" || text == "reject") {
        String const verdict = text == "accept" ? "true" : "false";
        cursor_.fail(span, "verdict",
                     "write 'return " + verdict + "' (this function) or 'exit " + verdict +
                         "' (the whole evaluation)");
    }
    if (String const why = whyNoLiteral(text); !why.empty()) {
        cursor_.fail(span, "literal", "'" + String(text) + "': " + why);
    }
    if (cursor_.isAhead("(") && !cursor_.ahead().afterGap) {
        cursor_.fail(span, "call-as-value",
                     "a call answers true, false or unknown; it is no value");
    }
    if (std::ranges::binary_search(keywords(), text)) {
        cursor_.fail(span, "syntax", "wants a value, found '" + String(text) + "'");
    }
    String suggestion;
    if (want.names != nullptr) {
        suggestion = nearest(text, want.names->valueNames);
    }
    cursor_.fail(span, "unknown-name", "unknown name '" + String(text) + "'",
                 suggestion.empty() ? suggestName(text, scope_) : suggestion);
}

// A set constant in a set is spliced into it.
void BodyParser::constantElements(Constant const & constant, Span const & span,
                                  std::vector<Draft *> & elements) {
    constant.isUsed = true;
    for (ConstantItem const & item : constant.items) {
        if (item.high) {
            cursor_.fail(span, "range",
                         "'" + constant.name + "' has a range, which stands in 'in { ... }' alone");
        }
        elements.push_back(literalAt(item.low, span));
    }
}

void BodyParser::elements(Want const & want, std::vector<Draft *> & elements) {
    while (!cursor_.is("}") && !cursor_.is("]")) {
        Constant const * const constant =
            cursor_.isWord() ? scope_.findConstant(cursor_.text()) : nullptr;
        if (constant != nullptr && constant->isSet &&
            scope_.findParameter(cursor_.text()) == nullptr) {
            Span const span = cursor_.here();
            cursor_.take();
            constantElements(*constant, span, elements);
        } else {
            Draft * const element = value(want);
            if (!element->isKind(NodeKind::int_) && !element->isKind(NodeKind::communityValue)) {
                cursor_.fail(element->span, "type",
                             "a set holds integers or communities, found " +
                                 describeDraft(*element, cursor_.sources()));
            }
            elements.push_back(element);
        }
        if (cursor_.is("..")) {
            cursor_.fail(cursor_.here(), "range", "a range stands in 'in { ... }' alone");
        }
        if (!cursor_.accept(",") && !cursor_.is("}") && !cursor_.is("]")) {
            cursor_.failWanted("',' or the end of the set");
        }
    }
}

Draft * BodyParser::setOf(Want const & want) {
    Token const open = cursor_.take();
    Cursor::Level const level(cursor_);
    std::vector<Draft *> members;
    elements(want, members);
    cursor_.expect("}");
    return setLiteral(members, cursor_.since(open), want.communities);
}

// What the first element is, all are.
Draft * BodyParser::setLiteral(std::vector<Draft *> const & members, Span const & span,
                               bool communities) {
    bool const ofCommunities =
        members.empty() ? communities : members.front()->isKind(NodeKind::communityValue);
    for (Draft * const member : members) {
        if (member->isKind(NodeKind::communityValue) != ofCommunities) {
            cursor_.fail(member->span, "type",
                         String("wants ") + (ofCommunities ? "CommunityValue" : "Int") +
                             ", found " + describeDraft(*member, cursor_.sources()),
                         {}, "the elements of a set are of one type");
        }
    }
    // An empty literal has no chain.
    DraftField const chain = members.empty() ? DraftField() : DraftField(DraftChain(members));
    return ofCommunities ? tree_.add<CommunitySetImmediate>(span, {chain})
                         : tree_.add<IntSetImmediate>(span, {chain});
}

Draft * BodyParser::intList() {
    Token const open = cursor_.take();
    Cursor::Level const level(cursor_);
    std::vector<Draft *> members;
    elements({}, members);
    for (Draft * const member : members) {
        if (!member->isKind(NodeKind::int_)) {
            cursor_.fail(member->span, "type",
                         "wants Int, found " + describeDraft(*member, cursor_.sources()));
        }
    }
    cursor_.expect("]");
    DraftField const chain = members.empty() ? DraftField() : DraftField(DraftChain(members));
    return tree_.add<IntListImmediate>(cursor_.since(open), {chain});
}

Draft * BodyParser::keywordValue() {
    struct Form {
        std::string_view word;
        Draft * (BodyParser::*read)();
    };
    static constexpr Form forms[] = {
        {"merge", &BodyParser::merge},
        {"bandwidth_bits", &BodyParser::bandwidthBits},
        {"link_bandwidth", &BodyParser::linkBandwidth},
        {"lbw", &BodyParser::lbw},
        {"ribs", &BodyParser::ribs},
        {"roa_table", &BodyParser::roaTable},
    };
    for (Form const & form : forms) {
        if (cursor_.is(form.word)) {
            return (this->*form.read)();
        }
    }
    if (cursor_.is("v4") || cursor_.is("v6")) {
        return prefixList(cursor_.is("v4") ? SlotKind::v4PrefixList : SlotKind::v6PrefixList);
    }
    if (cursor_.is("dynamic_prefix_list")) {
        return prefixList(SlotKind::dynamicPrefixList);
    }
    if (cursor_.is("interface")) {
        Token const first = cursor_.take();
        if (!cursor_.isString()) {
            cursor_.failWanted("the interface's name in quotes");
        }
        String const text = unquoted(cursor_.text(cursor_.take()));
        return tree_.add<InterfaceImmediate>(cursor_.since(first), {text});
    }
    return nullptr;
}

String BodyParser::name(char const * what) {
    if (cursor_.isString()) {
        return unquoted(cursor_.text(cursor_.take()));
    }
    if (!cursor_.isWord() || !isPlainName(cursor_.text())) {
        cursor_.failWanted(String("the name of ") + what);
    }
    return String(cursor_.text(cursor_.take()));
}

U64 BodyParser::number(char const * what, U64 most) {
    auto const literal = cursor_.isWord() ? parseLiteral(cursor_.text()) : std::nullopt;
    auto const * const integer = literal ? std::get_if<Integer>(&*literal) : nullptr;
    if (integer == nullptr || integer->negative || integer->magnitude > most) {
        cursor_.failWanted(String(what) + " from 0 to " + std::to_string(most));
    }
    cursor_.take();
    return integer->magnitude;
}

std::optional<U64> BodyParser::slot() {
    if (!cursor_.is("@") || cursor_.now().startsLine) {
        return std::nullopt;
    }
    cursor_.take();
    return number("a slot", 0xFFFFFFFF);
}

void BodyParser::noteList(SlotKind kind, String const & name, Span const & span, Draft * draft,
                          bool isOpen) {
    uses_.lists.push_back({kind, name, span, draft, isOpen});
}

Draft * BodyParser::prefixList(SlotKind kind) {
    Token const first = cursor_.take();
    Token const nameToken = cursor_.now();
    String const text = name("a prefix list");
    auto const given = slot();
    bool const isDynamic = kind == SlotKind::dynamicPrefixList;
    Draft * const draft = isDynamic
                              ? tree_.add<DynamicPrefixListImmediate>(cursor_.since(first), {text})
                              : tree_.add<PrefixListImmediate>(cursor_.since(first), {text});
    if (!isDynamic) {
        draft->at(FieldRole::isV4) = kind == SlotKind::v4PrefixList;
    }
    if (given) {
        draft->at(FieldRole::listSlot) = *given;
    }
    noteList(kind, text, cursor_.spanOf(nameToken), draft);
    return draft;
}

// Of both families until its declaration is known.
Draft * BodyParser::openPrefixList(Token const & nameToken) {
    bool const isQuoted = nameToken.kind == TokenKind::string;
    String const text =
        isQuoted ? unquoted(cursor_.text(nameToken)) : String(cursor_.text(nameToken));
    auto const given = slot();
    Draft * const draft = tree_.add<PrefixListImmediate>(cursor_.since(nameToken), {text});
    if (given) {
        draft->at(FieldRole::listSlot) = *given;
    }
    draft->isFamilyOpen = true;
    noteList(SlotKind::v4PrefixList, text, cursor_.spanOf(nameToken), draft, true);
    return draft;
}

Draft * BodyParser::roaTable() {
    Token const first = cursor_.take();
    Token const nameToken = cursor_.now();
    String const text = name("a ROA table");
    auto const given = slot();
    Draft * const draft = tree_.add<RoaTableImmediate>(cursor_.since(first), {});
    draft->at(FieldRole::listName) = text;
    if (given) {
        draft->at(FieldRole::listSlot) = *given;
    }
    noteList(SlotKind::roaTable, text, cursor_.spanOf(nameToken), draft);
    return draft;
}

} // namespace Qcf::Text
