#include "QcfLib/QcfEval.h"
#include "Text/ArgumentChecks.h"
#include "Text/BodyParser.h"

#include <algorithm>

/// What is said of operands that do not suit their operator.
namespace Qcf::Text {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

bool isSet(Draft const & draft) {
    return draft.isKind(NodeKind::intSet) || draft.isKind(NodeKind::communitySet);
}

/// May be an element of a set.
bool isElement(Draft const & draft) {
    return draft.isKind(NodeKind::int_) || draft.isKind(NodeKind::communityValue);
}

bool isList(Draft const & draft) { return draft.nodeClass == &nodeClassOf<IntListImmediate>(); }

/// What a field wants, as a text has it.
String wantedText(FieldInfo const & field) {
    bool const isPath = classWanted(field) == &nodeClassOf<IntListImmediate>();
    return isPath ? "AS numbers in [ ]" : field.wants;
}

/// "Int", "IntSet": the left sides that the operator has somewhere.
String typesOf(std::string_view words) {
    constexpr std::string_view canBeWritten = "Modifiable";
    std::vector<String> types;
    for (Operator const & row : operatorTable()) {
        String type = row.left->wants;
        if (type.ends_with(canBeWritten)) {
            type.resize(type.size() - canBeWritten.size());
        }
        if (row.words == words && std::ranges::find(types, type) == types.end()) {
            types.push_back(type);
        }
    }
    String text;
    for (String const & type : types) {
        text += (text.empty() ? "" : ", ") + type;
    }
    return text;
}

} // namespace

String describeDraft(Draft const & draft, Sources const & sources) {
    constexpr std::size_t longest = 60;
    std::string_view const text = sources.textOf(draft.span);
    String const shown =
        text.size() > longest ? String(text.substr(0, longest)) + "..." : String(text);
    return text.starts_with('"') ? "the text " + shown
                                 : String(typeName(draft)) + " '" + shown + "'";
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
    auto const * const name =
        std::ranges::find_if(names, [&](Name const & each) { return draft.isKind(each.kind); });
    if (name != std::end(names)) {
        return name->text;
    }
    return isList(draft) ? "list of numbers" : draft.nodeClass->name;
}

String BodyParser::described(Draft const & draft) const {
    return describeDraft(draft, cursor_.sources());
}

String BodyParser::textOf(Draft const & draft) const {
    return String(cursor_.sources().textOf(draft.span));
}

void BodyParser::failType(String const & wanted, Draft const & found, String note) {
    cursor_.fail(found.span, "type", "wants " + wanted + ", found " + described(found), {},
                 std::move(note));
}

void BodyParser::wantKind(Draft const & draft, NodeKind kind, char const * type) {
    if (!draft.isKind(kind)) {
        failType(type, draft);
    }
}

// The operator may not suit the left side at all; else the right side is told what it wants.
void BodyParser::failOperator(Draft * left, std::string_view words, Draft * right,
                              Token const & at) {
    refuseSetOperand(*left, words, *right, at);
    auto const rows = operatorsFor(words, *left->nodeClass);
    if (rows.empty()) {
        failNoOperator(*left, words, at);
    }
    auto const row = std::ranges::find(rows, RightSide::value, &Operator::side);
    if (row == rows.end()) {
        failType("a list", *right);
    }
    FieldInfo const & field = *(*row)->right;
    refuseElement(*right, field);
    bool const isBandwidth = field.wanted == wanting(NodeKind::bandwidth);
    cursor_.fail(right->span, "type", "wants " + wantedText(field) + ", found " + described(*right),
                 isBandwidth ? meantBandwidth(*right, cursor_.sources()) : String());
}

// Sets are asked for a member the other way round.
void BodyParser::refuseSetOperand(Draft const & left, std::string_view words, Draft const & right,
                                  Token const & at) {
    Span const span = cursor_.spanOf(at);
    if ((words == "is" || words == "in") && isSet(left) && isElement(right)) {
        cursor_.fail(span, "set-is",
                     textOf(left) + " is a set: '" + textOf(right) + " in " + textOf(left) + "'");
    }
    if (words == "in" && left.isKind(NodeKind::int_) && right.isKind(NodeKind::asPath)) {
        cursor_.fail(span, "list-wanted",
                     "a path is asked by a list: 'list as_path_list NAME { permit contains { " +
                         textOf(left) + " } }', then '" + textOf(right) + " matches NAME'");
    }
    if (words == "is" && isSet(right) && !isSet(left)) {
        cursor_.fail(right.span, "is-set",
                     "'is' compares with one value; 'in' asks for one of a set");
    }
    if (words == "in" && isSet(left) && isSet(right)) {
        cursor_.fail(span, "set-in",
                     "a set is asked with 'all in', 'has any', 'has all' or 'has none'");
    }
}

// Where a set is wanted: one without its braces, or one of elements of another type.
void BodyParser::refuseElement(Draft const & right, FieldInfo const & wanted) {
    bool const ofInts = mayStand(nodeClassOf<IntSetImmediate>(), wanted);
    bool const ofCommunities = mayStand(nodeClassOf<CommunitySetImmediate>(), wanted);
    if (ofInts == ofCommunities) {
        return;
    }
    char const * const type = ofInts ? "Int" : "CommunityValue";
    NodeKind const kind = ofInts ? NodeKind::int_ : NodeKind::communityValue;
    String const text = textOf(right);
    if (isElement(right)) {
        wantKind(right, kind, type);
        cursor_.fail(right.span, "set-braces", "a set stands in { }: '{ " + text + " }'");
    }
    if (isList(right)) {
        cursor_.fail(right.span, "set-braces",
                     "a set stands in { }: '{" + text.substr(1, text.size() - 2) + "}'");
    }
    bool const isLiteral = isSet(right) && text.starts_with('{');
    auto const * const members =
        isLiteral ? std::get_if<DraftChain>(&right.at(FieldRole::elements)) : nullptr;
    if (members != nullptr) {
        wantKind(*members->front(), kind, type);
    }
}

// Types tell extended and large communities not apart, but their spellings do.
void BodyParser::warnOfCommunityKind(Draft const & set, Draft const & value) {
    AttributeInfo const * const attribute = set.nodeClass->attribute;
    bool const ofExt = attribute != nullptr && attribute->lists == SlotKind::extCommList;
    bool const ofLarge = attribute != nullptr && attribute->lists == SlotKind::largeCommList;
    if (!ofExt && !ofLarge) {
        return;
    }
    auto const * const members =
        value.isKind(NodeKind::communitySet) && value.nodeClass->attribute == nullptr
            ? std::get_if<DraftChain>(value.fields.data())
            : nullptr;
    auto const check = [&](Draft const & member) {
        String const text = textOf(member);
        bool const isExt = text.starts_with("0x") || text.starts_with("rt:") ||
                           text.starts_with("soo:") || text.starts_with("lbw:");
        bool const isLarge = !isExt && text.find(':') != text.rfind(':') &&
                             text.find_first_not_of("0123456789:") == String::npos;
        if (ofExt ? isLarge : isExt) {
            cursor_.warn(member.span, "community-kind",
                         "'" + text + "' is " + (isLarge ? "a large" : "an extended") +
                             " community, which is none of " + attribute->languageName);
        }
    };
    if (members != nullptr) {
        for (Draft const * const member : *members) {
            check(*member);
        }
    } else if (value.isKind(NodeKind::communityValue)) {
        check(value);
    }
}

void BodyParser::failNoOperator(Draft const & left, std::string_view words, Token const & at) {
    // Sets are changed by words, numbers by signs.
    String const suggestion = !isSet(left)    ? ""
                              : words == "+=" ? "add"
                              : words == "-=" ? "remove"
                                              : "";
    cursor_.fail(cursor_.spanOf(at), "type", described(left) + " has no '" + String(words) + "'",
                 suggestion, "'" + String(words) + "' stands behind " + typesOf(words));
}

} // namespace Qcf::Text
