#include "Mirror/BatchLists.h"

#include "Lists/ListEntries.h"
#include "Mirror/MirrorError.h"
#include "Mirror/WireFields.h"

#include <algorithm>
#include <limits>

/// Edits are applied to a copy, in one pass from front to back: places that fall, or that the list
/// does not have, are faults and never reach a list that somebody uses.
namespace Qcf::Mirror {

using Lists::ListKind;

namespace {

constexpr ListKind lastKind = ListKind::roaTable;
constexpr U64 largestNumber = std::numeric_limits<U32>::max();

ListKind expectKind(JsonValue const & section) {
    String const name(section.expectString());
    for (U8 number = 0; number <= static_cast<U8>(lastKind); ++number) {
        auto const kind = static_cast<ListKind>(number);
        if (name == sectionName(kind)) {
            return kind;
        }
    }
    section.fail("kind of lists");
}

String listText(ListKey const & key) { return String(kindText(key.kind)) + " \"" + key.name + '"'; }

} // namespace

void BatchLists::headLine(JsonValue const & line) {
    endList();
    JsonObjectReader reader(line);
    JsonValue const section = reader.require("list");
    ListKind const kind = expectKind(section);
    ListKey key{kind, expectWireText(reader.require("name"))};
    if (reader.optional("gone")) {
        reader.done();
        if (lists_.erase(key) == 0) {
            section.fail("list that is there");
        }
        return;
    }
    auto const from = reader.optional("from");
    auto const base = base_.find(key);
    bool const fits =
        !from || (base != base_.end() && from->expectString() == base->second->digest().toString());
    if (!fits) {
        from->fail("digest of the list that is there");
    }
    Lists::ListContent content = readHead(kind, reader);
    open_ = Open{.key = std::move(key),
                 .base = from ? base->second : nullptr,
                 .content = std::move(content),
                 .entries = reader.require("entries").expectU64(),
                 .digest = String(reader.require("digest").expectString()),
                 .place = {}};
    open_->place = listText(open_->key);
    reader.done();
    // As far as it is sure to be needed: what a line claims is no reason to take memory.
    reserveEntries(open_->content, 0, std::min<U64>(open_->entries, baseCount()));
}

std::size_t BatchLists::baseCount() const {
    return open_->base ? entryCount(open_->base->content(), open_->row) : 0;
}

void BatchLists::keepUpTo(std::size_t place) {
    if (open_->base) {
        appendEntries(open_->content, open_->base->content(), open_->row, open_->taken, place);
    }
    open_->taken = place;
}

void BatchLists::endRow() {
    keepUpTo(baseCount());
    ++open_->row;
    open_->taken = 0;
    open_->numbered = 0;
}

std::size_t BatchLists::openRow(JsonValue const & line, std::optional<JsonValue> const & of) {
    if (!open_) {
        line.fail("list before its edits");
    }
    std::size_t const row = of ? 1 : 0;
    bool const hasRow = row < entryRows(open_->content) && row >= open_->row;
    if (!hasRow || (of && of->expectString() != "v6")) {
        line.fail("edit of a row that is still to come");
    }
    if (row > open_->row) {
        endRow();
    }
    return row;
}

void BatchLists::editLine(JsonValue const & line) {
    JsonObjectReader reader(line);
    JsonValue const at = reader.require("at");
    JsonValue const drop = reader.require("drop");
    JsonValue const add = reader.require("add");
    auto const of = reader.optional("of");
    reader.done();
    std::size_t const row = openRow(line, of);
    U64 const place = at.expectU64(open_->taken, baseCount());
    U64 const count = drop.expectU64(0, baseCount() - place);
    keepUpTo(place);
    open_->taken += count;
    for (JsonValue const entry : add.expectArray()) {
        readEntry(open_->content, row, entry);
    }
}

// Behind all edits of the row: what is left of the base is taken over first.
void BatchLists::numberLine(JsonValue const & line) {
    JsonObjectReader reader(line);
    JsonValue const runs = reader.require("number");
    auto const of = reader.optional("of");
    reader.done();
    std::size_t const row = openRow(line, of);
    keepUpTo(baseCount());
    auto const entries = numberedEntries(open_->content, row);
    for (JsonValue const run : runs.expectArray()) {
        if (run.expectArray().size() != 4) {
            run.fail("place, count, first number and step");
        }
        // Places rise, so that a batch costs no more than its list.
        U64 const at = run.at(0).expectU64(open_->numbered, entries.size());
        U64 const count = run.at(1).expectU64(0, entries.size() - at);
        U64 number = run.at(2).expectU64(0, largestNumber);
        U64 const step = run.at(3).expectU64(0, largestNumber);
        for (Lists::PrefixListEntry & entry : entries.subspan(at, count)) {
            if (number > largestNumber) {
                run.fail("numbers of at most 32 bits");
            }
            entry.seq = static_cast<U32>(number);
            number += step;
        }
        open_->numbered = at + count;
    }
}

void BatchLists::endList() {
    if (!open_) {
        return;
    }
    while (open_->row < entryRows(open_->content)) {
        endRow();
    }
    if (entryCount(open_->content) != open_->entries || !numbersAreUnique(open_->content)) {
        throw MirrorError(open_->place + " has other entries than were published");
    }
    PtrConst<PublishedList> list = makePtr<PublishedList>(std::move(open_->content));
    if (list->digest().toString() != open_->digest) {
        throw MirrorError(open_->place + " is not what was published");
    }
    lists_.insert_or_assign(std::move(open_->key), std::move(list));
    open_.reset();
}

} // namespace Qcf::Mirror
