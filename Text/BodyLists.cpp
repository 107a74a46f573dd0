#include "QcfLib/QcfEval.h"
#include "Text/BodyParser.h"
#include "Text/Words.h"

#include <algorithm>

/// Lists by their names: `matches`, changes by lists, and lists as values.
namespace Qcf::Text {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

Draft * BodyParser::matchTest(Draft * left) {
    Token const at = cursor_.take();
    if (cursor_.is("{")) {
        cursor_.fail(cursor_.here(), "list-wanted",
                     "'matches' asks a list by its name; a set is asked with 'has' or 'in'");
    }
    bool const isOfPrefixes = left->isKind(NodeKind::ipPrefix) || left->isKind(NodeKind::ipAddress);
    String words = "matches";
    if (isOfPrefixes ? cursor_.accept("covered") : cursor_.accept("exact")) {
        words += isOfPrefixes ? " covered" : " exact";
    }
    if (!isOfPrefixes) {
        return makeList(left, words, at);
    }
    refusePattern(*left, SlotKind::v4PrefixList);
    Draft * const list = value({.prefixLists = true});
    if (!list->isKind(NodeKind::prefixList)) {
        cursor_.fail(list->span, "list-wanted", "wants a prefix list, found " + described(*list),
                     {}, "one prefix is asked with 'is' or 'covered by'");
    }
    return make(left, words, list, at);
}

// The kind of the list, if its word stands here; it is taken.
std::optional<SlotKind> BodyParser::writtenListKind(Draft const & left, std::string_view words,
                                                    Token const & at) {
    for (SlotKind const kind : {SlotKind::commList, SlotKind::extCommList, SlotKind::largeCommList,
                                SlotKind::asPathAccessList, SlotKind::tagSet}) {
        if (!cursor_.is(listKindWord(kind))) {
            continue;
        }
        Span const span = cursor_.here();
        cursor_.take();
        if (findListOperator(words, *left.nodeClass, kind) == nullptr) {
            cursor_.fail(span, "list-kind",
                         "wants " + String(listKindWord(listKindOf(left, words, at))) + " for " +
                             described(left) + ", found " + String(listKindWord(kind)));
        }
        return kind;
    }
    return std::nullopt;
}

// That of the attribute; else that of the type, if there is one alone.
SlotKind BodyParser::listKindOf(Draft const & left, std::string_view words, Token const & at) {
    std::vector<SlotKind> kinds;
    for (Operator const * const row : operatorsFor(words, *left.nodeClass)) {
        if (row->side == RightSide::list) {
            kinds.push_back(*row->nodeClass->facts.list);
        }
    }
    if (kinds.empty()) {
        cursor_.fail(cursor_.spanOf(at), "type",
                     "'" + String(words) + "' with a list does not suit " + described(left));
    }
    AttributeInfo const * const attribute = left.nodeClass->attribute;
    if (attribute != nullptr && attribute->lists) {
        return *attribute->lists;
    }
    if (kinds.size() > 1) {
        cursor_.failWanted("'ext_community_list' or 'large_community_list' and the list's name");
    }
    return kinds.front();
}

Draft * BodyParser::makeList(Draft * left, std::string_view words, Token const & at) {
    auto const written = writtenListKind(*left, words, at);
    SlotKind const kind = written ? *written : listKindOf(*left, words, at);
    String const kindText(listKindWord(kind));
    if (!written) {
        refusePattern(*left, kind);
    }
    if (cursor_.isWord() && parseLiteral(cursor_.text())) {
        cursor_.fail(cursor_.here(), "list-wanted",
                     "wants the name of a " + kindText + ", found " + cursor_.found(), {},
                     "communities stand in braces: '{ " + String(cursor_.text()) + " }'");
    }
    Token const nameToken = cursor_.now();
    String const listName = name(("a " + kindText).c_str());
    refuseCommunityName(listName, nameToken, kindText);
    auto const given = slot();
    Operator const * const row = findListOperator(words, *left->nodeClass, kind);
    Draft * const draft = tree_.add(*row->nodeClass, cursor_.since(left->span), {left, listName});
    if (given) {
        draft->at(FieldRole::listSlot) = *given;
    }
    noteList(kind, listName, cursor_.spanOf(nameToken), draft);
    return draft;
}

// "1:1" in quotes, NO_EXPORT: communities without their braces, which no list is called as.
void BodyParser::refuseCommunityName(String const & name, Token const & at,
                                     String const & kindText) {
    String folded = name;
    std::ranges::transform(folded, folded.begin(), [](char c) {
        return c == '_' ? '-' : c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    auto const literal = parseLiteral(folded);
    bool const isCommunity =
        literal &&
        (std::holds_alternative<Acl::CommunityValue>(*literal) ||
         (std::holds_alternative<Integer>(*literal) && folded.find_first_of(":-") != String::npos));
    if (isCommunity) {
        cursor_.fail(cursor_.spanOf(at), "list-wanted",
                     "wants the name of a " + kindText + ", found '" + name + "'", {},
                     "communities stand in braces: '{ " + folded + " }'");
    }
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
