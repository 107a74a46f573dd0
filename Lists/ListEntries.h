#pragma once

#include "Lists/ListRecord.h"
#include "Platform/Render/JsonObjectReader.h"
#include "Platform/Render/RendererV2.h"

#include <span>

/// The entries of any list by their positions, for who treats the kinds alike: a list is what it
/// says beside its entries, and one row of entries; a dynamic prefix list has two, IPv4 first.
///
///     for (std::size_t row = 0; row < entryRows(content); ++row) {
///         for (std::size_t i = 0; i < entryCount(content, row); ++i) {
///             writeEntry(content, row, i, renderer);
///         }
///     }
namespace Qcf::Lists {

/// How many rows of entries the list has: 1 or 2.
std::size_t entryRows(ListContent const & content);
/// How many entries a row has.
std::size_t entryCount(ListContent const & content, std::size_t row);
/// Over all rows.
std::size_t entryCount(ListContent const & content);
/// Writes an entry as documents have it: equal entries are written alike.
void writeEntry(ListContent const & content, std::size_t row, std::size_t at,
                RendererV2 & renderer);
/// Reads an entry and appends it to the row. Throws DocumentError.
void readEntry(ListContent & content, std::size_t row, JsonValue const & value);
/// Appends entries of that row of another list of the same kind, from `first` to before `last`.
void appendEntries(ListContent & to, ListContent const & from, std::size_t row, std::size_t first,
                   std::size_t last);
/// Makes room for that many entries.
void reserveEntries(ListContent & content, std::size_t row, std::size_t count);
/// The entries of a row that have numbers, which are those of prefix lists; none of other kinds.
std::span<PrefixListEntry> numberedEntries(ListContent & content, std::size_t row);
std::span<PrefixListEntry const> numberedEntries(ListContent const & content, std::size_t row);
/// Whether all entries of prefix lists have numbers of their own; of other kinds always.
bool numbersAreUnique(ListContent const & content);

/// Writes what the list says beside its entries, as members of the object that is open; for most
/// kinds there is nothing.
void writeHead(ListContent const & content, RendererV2 & renderer);
/// A list of that kind without entries, with what those members say. Throws DocumentError.
ListContent readHead(ListKind kind, JsonObjectReader & reader);

} // namespace Qcf::Lists
