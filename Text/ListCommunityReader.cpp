#include "Platform/Routing/CommunityText.h"
#include "Text/ListEntryReader.h"
#include "Text/Literal.h"
#include "Text/Words.h"

#include <limits>

/// What stands in the braces of a community list's entry: communities, the name of a constant, or
/// a template.
namespace Qcf::Text {

using Lists::ListKind;

namespace {

constexpr U32 max16 = std::numeric_limits<U16>::max();
constexpr U32 max32 = std::numeric_limits<U32>::max();

/// A name stands for a community only as it is registered; other spellings are suggested.
std::optional<U64> parseStandard(std::string_view word) {
    auto const value = parseStandardCommunity(word);
    bool const isNumber = !word.empty() && word.front() >= '0' && word.front() <= '9';
    bool const isSpelt = value && (isNumber || wellKnownCommunityName(*value) == word);
    return isSpelt ? value : std::nullopt;
}

/// A kind of community: the list that it belongs in, how it is called, what its templates are.
struct CommunityKind {
    ListKind list;
    char const * wanted;
    bool (*isOne)(std::string_view word);
    std::size_t templateParts; ///< 0 where there are no templates
    U32 mostInPart;
};
constexpr CommunityKind communityKinds[] = {
    {ListKind::communityList, "a standard community",
     [](std::string_view word) { return parseStandard(word).has_value(); }, 2, max16},
    {ListKind::extCommunityList, "an extended community",
     [](std::string_view word) { return Lists::parseExtendedCommunity(word).has_value(); }, 0, 0},
    {ListKind::largeCommunityList, "a large community",
     [](std::string_view word) { return Lists::parseLargeCommunity(word).has_value(); }, 3, max32},
};

CommunityKind const & kindOf(ListKind list) {
    return *std::ranges::find(communityKinds, list, &CommunityKind::list);
}

// The kind of list chooses the reader; the pointer is never followed.
std::optional<U64> parseFor(std::string_view word, Lists::StandardCommunityList const *) {
    return parseStandard(word);
}
std::optional<Acl::CommunityValue> parseFor(std::string_view word,
                                            Lists::ExtCommunityList const *) {
    return Lists::parseExtendedCommunity(word);
}
std::optional<Acl::CommunityValue> parseFor(std::string_view word,
                                            Lists::LargeCommunityList const *) {
    return Lists::parseLargeCommunity(word);
}

} // namespace

template <typename List>
void ListEntryReader::read(Lists::CommunityListRecord<List> & list) {
    std::optional<U32> lastSeq;
    eachEntry([&] {
        auto const action = readFront(lastSeq).action;
        typename Lists::CommunityListRecord<List>::Entry entry;
        entry.action = action;
        if (cursor_.isString()) {
            entry.pattern = readPattern(Lists::communityPattern);
        } else {
            readCommunities<List>(entry);
        }
        list.entries.push_back(std::move(entry));
    });
}

template <typename List>
void ListEntryReader::readCommunities(typename Lists::CommunityListRecord<List>::Entry & entry) {
    if (!cursor_.is("{")) {
        bool const isBare = cursor_.isWord() && kindOf(kind_).isOne(cursor_.text());
        failEntry("communities in braces or a pattern in quotes",
                  isBare ? "{ " + String(cursor_.text()) + " }" : String());
    }
    Token const opening = cursor_.take();
    if (cursor_.accept("}")) {
        cursor_.warn(cursor_.since(opening), "list-entry",
                     "an entry without communities matches every route");
        return;
    }
    do {
        if (!atTemplate()) {
            readCommunity<List>(entry.communities);
            continue;
        }
        Token const first = cursor_.now();
        entry.pattern = Lists::communityPattern(readTemplate());
        if (!entry.communities.empty() || !cursor_.is("}")) {
            cursor_.fail(cursor_.since(first), "list-template",
                         "a template stands alone in the braces of its entry");
        }
    } while (cursor_.accept(",") && !cursor_.is("}"));
    if (!cursor_.accept("}")) {
        failEntry("',' or '}'");
    }
}

template <typename List>
void ListEntryReader::readCommunity(
    std::vector<typename Lists::CommunityListRecord<List>::Value> & values) {
    constexpr List const * kind = nullptr;
    if (auto const value = parseFor(cursor_.isWord() ? cursor_.text() : "", kind)) {
        values.push_back(*value);
        cursor_.take();
        return;
    }
    auto const words = constantWords();
    if (words.empty()) {
        failCommunity(cursor_.text());
    }
    for (String const & word : words) {
        auto const value = parseFor(word, kind);
        if (!value) {
            failCommunity(word);
        }
        values.push_back(*value);
    }
    cursor_.take();
}

/// `word` is what the text has, or a literal of the constant that it names.
void ListEntryReader::failCommunity(std::string_view word) {
    CommunityKind const & kind = kindOf(kind_);
    bool const isConstant = cursor_.isWord() && cursor_.text() != word;
    if (!cursor_.isWord()) {
        failEntry(kind.wanted);
    }
    String const found =
        '\'' + String(word) + '\'' + (isConstant ? " in " + cursor_.found() : String());
    for (CommunityKind const & other : communityKinds) {
        if (&other != &kind && other.isOne(word)) {
            cursor_.fail(cursor_.here(), "list-community",
                         "wants " + String(kind.wanted) + ", found " + found + ", " +
                             (other.wanted) + "; it belongs in a list of kind " +
                             String(kindWord(other.list)));
        }
    }
    bool const isName = hasNameShape(word) && !parseLiteral(word);
    if (isName && kind_ == ListKind::communityList) {
        failName(wellKnownCommunityNames());
    }
    if (isName) {
        failName({});
    }
    String const why = whyNoLiteral(word);
    cursor_.fail(cursor_.here(), "list-community",
                 "wants " + String(kind.wanted) + ", found " + found +
                     (why.empty() ? String() : ": " + why));
}

// Templates.

bool ListEntryReader::atTemplate() const {
    bool const hasStar = cursor_.isWord() && cursor_.text().find('*') != std::string_view::npos;
    return hasStar || cursor_.is("*") || cursor_.isAhead("..");
}

/// The pattern. Signs and words of a template are pieces of one text.
String ListEntryReader::readTemplate() {
    CommunityKind const & kind = kindOf(kind_);
    Token const first = cursor_.now();
    String text;
    do {
        bool const continues = cursor_.is("..");
        text += cursor_.text(cursor_.take());
        if (continues && cursor_.isWord()) {
            text += cursor_.text(cursor_.take());
        }
    } while (cursor_.is(".."));
    Span const span = cursor_.since(first);
    if (kind.templateParts == 0) {
        cursor_.fail(span, "list-template",
                     "extended communities have no templates; a pattern sees them as 0x and 16 "
                     "hexadecimal digits",
                     {}, "as in: permit \"0x0002fde8\"");
    }
    std::vector<TemplatePart> parts;
    std::string_view rest = text;
    for (std::size_t colon = 0; colon != std::string_view::npos;) {
        colon = rest.find(':');
        parts.push_back(templatePart(rest.substr(0, colon), kind.mostInPart, span));
        rest.remove_prefix(colon == std::string_view::npos ? rest.size() : colon + 1);
    }
    if (parts.size() != kind.templateParts) {
        cursor_.fail(span, "list-template",
                     "a template of " + String(kind.wanted) + " has " +
                         std::to_string(kind.templateParts) + " parts, found " +
                         std::to_string(parts.size()) + " in '" + text + "'");
    }
    return templatePattern(parts);
}

TemplatePart ListEntryReader::templatePart(std::string_view text, U32 most, Span const & span) {
    if (text == "*") {
        return std::nullopt;
    }
    auto const wide = parseNumberRange(text, max32);
    if (wide && wide->high > most) {
        cursor_.fail(span, "list-template",
                     "a part of a template is at most " + std::to_string(most) + ", found '" +
                         String(text) + "'");
    }
    if (!wide) {
        cursor_.fail(span, "list-template",
                     "a part of a template is a number up to " + std::to_string(most) +
                         ", a range as 5..9 that does not fall, or '*', found '" + String(text) +
                         "'");
    }
    return wide;
}

template void ListEntryReader::read(Lists::CommunityListRecord<Lists::StandardCommunityList> &);
template void ListEntryReader::read(Lists::CommunityListRecord<Lists::ExtCommunityList> &);
template void ListEntryReader::read(Lists::CommunityListRecord<Lists::LargeCommunityList> &);

} // namespace Qcf::Text
