#include "Lists/ListEntries.h"

#include "Lists/EntryReader.h"
#include "Lists/EntryWriter.h"
#include "Lists/ListWords.h"
#include "Lists/RoaExport.h"
#include "Platform/Framework/Assert.h"

#include <unordered_set>

/// The one place that knows where each kind keeps its entries.
namespace Qcf::Lists {

namespace {

// The row of a list, constant where the list is. `row` counts for dynamic prefix lists alone.
auto & rowOf(PrefixListRecord & list, std::size_t) { return list.entries; }
auto & rowOf(DynamicPrefixListRecord & list, std::size_t row) {
    return row == 0 ? list.v4 : list.v6;
}
auto & rowOf(TagSetRecord & list, std::size_t) { return list.tags; }
auto & rowOf(RoaTableRecord & list, std::size_t) { return list.roas; }
auto & rowOf(auto & list, std::size_t) { return list.entries; }
template <typename List>
auto const & rowOf(List const & list, std::size_t row) {
    return rowOf(const_cast<List &>(list), row);
}

// The kind of list chooses how an entry is read.
auto readFor(PrefixListRecord const & list, std::size_t, JsonValue const & value) {
    return readPrefixListEntry(value, list.family);
}
auto readFor(DynamicPrefixListRecord const &, std::size_t row, JsonValue const & value) {
    return readPrefixListEntry(value, row == 0 ? AddressFamily::ipv4 : AddressFamily::ipv6);
}
template <typename List>
auto readFor(CommunityListRecord<List> const &, std::size_t, JsonValue const & value) {
    return readCommunityEntry<List>(value);
}
auto readFor(AsPathListRecord const &, std::size_t, JsonValue const & value) {
    return readAsPathEntry(value);
}
auto readFor(TagSetRecord const &, std::size_t, JsonValue const & value) { return readTag(value); }
auto readFor(RoaTableRecord const &, std::size_t, JsonValue const & value) {
    return readRoa(value);
}

bool numbersDiffer(std::span<PrefixListEntry const> entries) {
    std::unordered_set<U32> numbers;
    numbers.reserve(entries.size());
    for (PrefixListEntry const & entry : entries) {
        if (!numbers.insert(entry.seq).second) {
            return false;
        }
    }
    return true;
}

} // namespace

std::size_t entryRows(ListContent const & content) {
    return std::holds_alternative<DynamicPrefixListRecord>(content) ? 2 : 1;
}

std::size_t entryCount(ListContent const & content, std::size_t row) {
    return std::visit([&](auto const & list) { return rowOf(list, row).size(); }, content);
}

std::size_t entryCount(ListContent const & content) {
    return entryCount(content, 0) + (entryRows(content) == 2 ? entryCount(content, 1) : 0);
}

void writeEntry(ListContent const & content, std::size_t row, std::size_t at,
                RendererV2 & renderer) {
    std::visit([&](auto const & list) { writeEntry(rowOf(list, row)[at], renderer); }, content);
}

void readEntry(ListContent & content, std::size_t row, JsonValue const & value) {
    std::visit([&](auto & list) { rowOf(list, row).push_back(readFor(list, row, value)); },
               content);
}

void appendEntries(ListContent & to, ListContent const & from, std::size_t row, std::size_t first,
                   std::size_t last) {
    std::visit(
        [&]<typename List>(List & list) {
            auto const & source = rowOf(std::get<List>(from), row);
            QCF_ASSERT_TEXT(first <= last && last <= source.size(), "the list has these entries");
            auto & entries = rowOf(list, row);
            entries.insert(entries.end(), source.begin() + static_cast<std::ptrdiff_t>(first),
                           source.begin() + static_cast<std::ptrdiff_t>(last));
        },
        to);
}

void reserveEntries(ListContent & content, std::size_t row, std::size_t count) {
    std::visit([&](auto & list) { rowOf(list, row).reserve(count); }, content);
}

std::span<PrefixListEntry> numberedEntries(ListContent & content, std::size_t row) {
    if (auto * const list = std::get_if<PrefixListRecord>(&content)) {
        return rowOf(*list, row);
    }
    auto * const dynamic = std::get_if<DynamicPrefixListRecord>(&content);
    return dynamic == nullptr ? std::span<PrefixListEntry>() : rowOf(*dynamic, row);
}

std::span<PrefixListEntry const> numberedEntries(ListContent const & content, std::size_t row) {
    return numberedEntries(const_cast<ListContent &>(content), row);
}

bool numbersAreUnique(ListContent const & content) {
    // A list of one row has no numbers in a second one.
    bool const isFine = numbersDiffer(numberedEntries(content, 0));
    return isFine && (entryRows(content) == 1 || numbersDiffer(numberedEntries(content, 1)));
}

void writeHead(ListContent const & content, RendererV2 & renderer) {
    if (auto const * const list = std::get_if<PrefixListRecord>(&content)) {
        writeFamily(*list, renderer);
    } else if (auto const * const dynamic = std::get_if<DynamicPrefixListRecord>(&content)) {
        writeVrfs(*dynamic, renderer);
    }
}

ListContent readHead(ListKind kind, JsonObjectReader & reader) {
    ListContent content = emptyContent(kind);
    if (auto * const list = std::get_if<PrefixListRecord>(&content)) {
        list->family = readListFamily(reader.require(word::family));
        auto const covered = reader.optional(word::covered);
        list->covered = covered && covered->expectBool();
    } else if (auto * const dynamic = std::get_if<DynamicPrefixListRecord>(&content)) {
        dynamic->vrfs = readVrfs(reader.require(word::vrfs));
    }
    return content;
}

} // namespace Qcf::Lists
