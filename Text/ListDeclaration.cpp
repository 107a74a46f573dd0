#include "Text/ListDeclaration.h"

#include "Text/Words.h"

#include <algorithm>

namespace Qcf::Text {

using Lists::ListKind;

namespace {

/// By ListKind.
constexpr std::string_view allKindWords[] = {
    "prefix_list",          "dynamic_prefix_list", "community_list", "ext_community_list",
    "large_community_list", "as_path_list",        "tag_set",        "roa_table",
};
static_assert(std::size(allKindWords) == std::variant_size_v<Lists::ListContent>);

} // namespace

std::span<std::string_view const> kindWords() { return allKindWords; }

std::string_view kindWord(ListKind kind) { return allKindWords[static_cast<U8>(kind)]; }

std::optional<ListKind> kindOfWord(std::string_view word) {
    auto const * const at = std::ranges::find(allKindWords, word);
    return at == std::end(allKindWords)
               ? std::nullopt
               : std::optional(static_cast<ListKind>(at - std::begin(allKindWords)));
}

bool addTo(Lists::NamedLists & lists, ListDeclaration declaration, Sources const & sources,
           Messages & messages) {
    auto const key = std::pair(declaration.kind(), declaration.name());
    auto const [place, isNew] = lists.places.emplace(key, sources.placeText(declaration.nameSpan));
    if (!isNew) {
        messages.add({declaration.nameSpan,
                      Severity::error,
                      "duplicate-list",
                      "the " + String(kindText(key.first)) + ' ' + nameWord(key.second) +
                          " is declared twice",
                      {},
                      "the other stands at " + place->second});
        return false;
    }
    addList(lists, std::move(declaration.list));
    return true;
}

} // namespace Qcf::Text
