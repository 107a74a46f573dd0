#include "Lists/ListsSchema.h"

#include "Lists/ListRecord.h"
#include "Lists/ListWords.h"
#include "Platform/Render/JsonSchema.h"

#include <limits>

/// An overload a type of record: a kind of list without one does not compile.
namespace Qcf::Lists {

namespace {

using JsonSchema::Object;

constexpr U64 max32 = std::numeric_limits<U32>::max();

String lengthSchema() { return JsonSchema::integer(0, 128); }
String prefixSchema() { return JsonSchema::text("^[0-9A-Fa-f:.]+/[0-9]{1,3}$"); }

String actionSchema() {
    std::string_view const words[] = {actionName(ListAction::permit), actionName(ListAction::deny)};
    return JsonSchema::oneOf(words);
}

String prefixEntriesSchema() {
    Object entry;
    entry.member(word::seq, JsonSchema::integer(0, max32));
    entry.member(word::action, actionSchema());
    entry.member(word::prefix, prefixSchema());
    entry.member(word::ge, lengthSchema(), JsonSchema::optional);
    entry.member(word::le, lengthSchema(), JsonSchema::optional);
    return JsonSchema::array(entry.text());
}

String listSchema(PrefixListRecord const &) {
    std::string_view const families[] = {word::v4, word::v6};
    Object list;
    list.member(word::family, JsonSchema::oneOf(families));
    list.member(word::covered, JsonSchema::boolean(), JsonSchema::optional);
    list.member(word::entries, prefixEntriesSchema());
    return list.text();
}

String listSchema(DynamicPrefixListRecord const &) {
    Object list;
    list.member(word::v4, prefixEntriesSchema(), JsonSchema::optional);
    list.member(word::v6, prefixEntriesSchema(), JsonSchema::optional);
    list.member(word::vrfs, JsonSchema::map(JsonSchema::boolean(), "^[0-9]+$"),
                JsonSchema::optional);
    return list.text();
}

// A number is a standard community as one word.
String communitySchema(StandardCommunityList const *) {
    return JsonSchema::anyOf({JsonSchema::integer(0, max32),
                              JsonSchema::text("^([0-9]+(:[0-9]+)?|[A-Za-z][A-Za-z0-9_-]*)$")});
}
String valueSchema(std::string_view pattern, U64 largestType) {
    Object words;
    words.member("value", JsonSchema::integer(0, ~U64{0}));
    words.member("type", JsonSchema::integer(0, largestType));
    return JsonSchema::anyOf({JsonSchema::text(pattern), words.text()});
}
String communitySchema(ExtCommunityList const *) {
    return valueSchema("^(0[xX][0-9A-Fa-f]{16}|(rt|soo|lbw):.+:.+)$", 0);
}
String communitySchema(LargeCommunityList const *) {
    return valueSchema("^[0-9]+:[0-9]+:[0-9]+$", max32);
}

// The pointer chooses the kind and is never followed.
template <typename List>
String listSchema(CommunityListRecord<List> const &) {
    Object literal;
    literal.member(word::action, actionSchema());
    literal.member(word::communities,
                   JsonSchema::array(communitySchema(static_cast<List const *>(nullptr))));
    Object pattern;
    pattern.member(word::action, actionSchema());
    pattern.member(word::regex, JsonSchema::text());
    return JsonSchema::array(JsonSchema::anyOf({literal.text(), pattern.text()}));
}

String listSchema(AsPathListRecord const &) {
    std::vector<std::string_view> origins{word::anyOrigin};
    for (U64 origin = 0; originName(origin) != nullptr; ++origin) {
        origins.emplace_back(originName(origin));
    }
    Object entry;
    entry.member(word::action, actionSchema());
    entry.member(word::regex, JsonSchema::text());
    entry.member(word::origin, JsonSchema::oneOf(origins), JsonSchema::optional);
    return JsonSchema::array(entry.text());
}

String listSchema(TagSetRecord const &) { return JsonSchema::array(JsonSchema::integer(0, max32)); }

// By hand, or a relying party's export in a file of its own.
String listSchema(RoaTableRecord const &) {
    Object roa;
    roa.member(word::prefix, prefixSchema());
    roa.member(word::maxLength, lengthSchema(), JsonSchema::optional);
    roa.member(word::asn, JsonSchema::anyOf({JsonSchema::integer(0, max32),
                                             JsonSchema::text("^(AS|as)?[0-9]+$")}));
    Object file;
    file.member(word::file, JsonSchema::text());
    return JsonSchema::anyOf({JsonSchema::array(roa.text()), file.text()});
}

template <std::size_t... kinds>
void addSections(Object & document, std::index_sequence<kinds...>) {
    (document.member(sectionName(static_cast<ListKind>(kinds)),
                     JsonSchema::map(listSchema(std::variant_alternative_t<kinds, ListContent>())),
                     JsonSchema::optional),
     ...);
}

} // namespace

String listsSchema() {
    Object document;
    document.member(word::format, JsonSchema::constant(word::formatName));
    addSections(document, std::make_index_sequence<std::variant_size_v<ListContent>>());
    return JsonSchema::document("Lists document", document.text(), {});
}

} // namespace Qcf::Lists
