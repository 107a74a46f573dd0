#include "Mirror/ListDifference.h"

#include "Lists/EntryWriter.h"
#include "Lists/ListEntries.h"
#include "Mirror/WireText.h"

#include <algorithm>
#include <span>
#include <unordered_map>

/// Entries are compared as they are written: there is one text for each, and kinds need no
/// comparison of their own.
namespace Qcf::Mirror {

namespace {

using Texts = std::vector<std::string_view>;

constexpr U32 none = ~U32{0};

/// For each entry of `after` the equal one of `before` that it is paired with, or none.
std::vector<U32> pairUp(std::span<std::string_view const> before,
                        std::span<std::string_view const> after) {
    // Entries of one text hang on each other, the first of them in the table.
    std::unordered_map<std::string_view, U32> firsts;
    std::vector<U32> next(before.size(), none);
    firsts.reserve(before.size());
    for (auto at = static_cast<U32>(before.size()); at-- > 0;) {
        auto const [entry, isNew] = firsts.try_emplace(before[at], at);
        if (!isNew) {
            next[at] = std::exchange(entry->second, at);
        }
    }
    std::vector<U32> pairs(after.size(), none);
    for (std::size_t at = 0; at < after.size(); ++at) {
        if (auto const found = firsts.find(after[at]); found != firsts.end()) {
            pairs[at] = found->second;
            found->second = found->second == none ? none : next[found->second];
        }
    }
    return pairs;
}

/// Leaves of the pairs those that rise, as many as can stay together. By the usual piles: on top of
/// each is the least place that a rising part of that length can end with.
void keepRising(std::vector<U32> & pairs) {
    std::vector<U32> piles;
    std::vector<U32> below(pairs.size(), none);
    for (U32 at = 0; at < pairs.size(); ++at) {
        if (pairs[at] == none) {
            continue;
        }
        auto const pile =
            std::ranges::lower_bound(piles, pairs[at], {}, [&](U32 top) { return pairs[top]; });
        below[at] = pile == piles.begin() ? none : *std::prev(pile);
        pile == piles.end() ? piles.push_back(at) : static_cast<void>(*pile = at);
    }
    std::vector<bool> stays(pairs.size());
    for (U32 at = piles.empty() ? none : piles.back(); at != none; at = below[at]) {
        stays[at] = true;
    }
    for (std::size_t at = 0; at < pairs.size(); ++at) {
        pairs[at] = stays[at] ? pairs[at] : none;
    }
}

/// Writes an entry without its number, by which it is not known again: of a list that is numbered
/// by the places of its entries, one that goes or comes changes the numbers of all behind it.
void writeUnnumbered(Lists::ListContent const & content, std::size_t row, std::size_t at,
                     RendererV2 & out) {
    auto const numbered = numberedEntries(content, row);
    if (numbered.empty()) {
        writeEntry(content, row, at, out);
        return;
    }
    Lists::PrefixListEntry entry = numbered[at];
    entry.seq = 0;
    Lists::writeEntry(entry, out);
}

/// A row of a list as texts, which stand in one buffer.
class RowTexts {
public:
    RowTexts(Lists::ListContent const & content, std::size_t row) {
        RendererV2 renderer(buffer_);
        std::size_t const count = entryCount(content, row);
        std::vector<std::size_t> ends;
        ends.reserve(count);
        for (std::size_t at = 0; at < count; ++at) {
            writeUnnumbered(content, row, at, renderer);
            renderer.endDocument();
            ends.push_back(buffer_.size());
        }
        // Not before the buffer has found its place.
        texts_.reserve(count);
        std::size_t begin = 0;
        for (std::size_t const end : ends) {
            texts_.push_back(std::string_view(buffer_).substr(begin, end - begin));
            begin = end;
        }
    }
    RowTexts(RowTexts const &) = delete;
    RowTexts & operator=(RowTexts const &) = delete;

    Texts const & texts() const { return texts_; }

private:
    String buffer_;
    Texts texts_;
};

/// Writes the edits of a row; lines stay short however much comes at one place.
class RowWriter {
public:
    RowWriter(BatchWriter & writer, Lists::ListContent const & after, std::size_t row)
        : writer_(writer), after_(after), row_(row) {}

    void write(ListEdit const & edit) {
        constexpr std::size_t mostInALine = 100;
        std::size_t added = 0;
        do {
            std::size_t const count = std::min(mostInALine, edit.add - added);
            // What goes is said once; lines that follow add at the same place, behind it.
            std::size_t const drop = added == 0 ? edit.drop : 0;
            line(added == 0 ? edit.at : edit.at + edit.drop, drop, edit.from + added, count);
            added += count;
        } while (added < edit.add);
    }

    /// Numbers of the row after its edits.
    void write(std::span<NumberRun const> runs) {
        constexpr std::size_t mostInALine = 100;
        for (; !runs.empty(); runs = runs.subspan(std::min(mostInALine, runs.size()))) {
            writer_.line([&](RendererV2 & out) {
                out.key("number");
                out.beginArray();
                for (NumberRun const & run : runs.first(std::min(mostInALine, runs.size()))) {
                    out.beginArray();
                    for (U64 const value :
                         {U64{run.at}, U64{run.count}, U64{run.first}, U64{run.step}}) {
                        out.value(value);
                    }
                    out.endArray();
                }
                out.endArray();
                writeRow(out);
            });
        }
    }

private:
    void line(std::size_t at, std::size_t drop, std::size_t from, std::size_t count) {
        writer_.line([&](RendererV2 & out) {
            out.key("at");
            out.value(U64{at});
            out.key("drop");
            out.value(U64{drop});
            out.key("add");
            out.beginArray();
            for (std::size_t i = 0; i < count; ++i) {
                writeEntry(after_, row_, from + i, out);
            }
            out.endArray();
            writeRow(out);
        });
    }

    void writeRow(RendererV2 & out) const {
        if (row_ == 1) {
            out.key("of");
            out.value("v6");
        }
    }

    BatchWriter & writer_;
    Lists::ListContent const & after_;
    std::size_t row_;
};

std::vector<U32> numbersOf(Lists::ListContent const & content, std::size_t row) {
    std::vector<U32> numbers;
    for (Lists::PrefixListEntry const & entry : numberedEntries(content, row)) {
        numbers.push_back(entry.seq);
    }
    return numbers;
}

void writeHeadLine(BatchWriter & writer, ListKey const & key, PublishedList const * before,
                   PublishedList const & after) {
    writer.line([&](RendererV2 & out) {
        out.key("list");
        out.value(sectionName(key.kind));
        out.key("name");
        out.value(wireText(key.name));
        if (before != nullptr) {
            out.key("from");
            out.value(before->digest().toString());
        }
        writeHead(after.content(), out);
        out.key("entries");
        out.value(U64{entryCount(after.content())});
        out.key("digest");
        out.value(after.digest().toString());
    });
}

void writeGone(BatchWriter & writer, ListKey const & key) {
    writer.line([&](RendererV2 & out) {
        out.key("list");
        out.value(sectionName(key.kind));
        out.key("name");
        out.value(wireText(key.name));
        out.key("gone");
        out.value(true);
    });
}

void writeChange(BatchWriter & writer, ListKey const & key, PublishedList const * before,
                 PublishedList const & after, ListCounts & counts) {
    writeHeadLine(writer, key, before, after);
    for (std::size_t row = 0; row < entryRows(after.content()); ++row) {
        RowWriter rowWriter(writer, after.content(), row);
        auto const write = [&](ListEdit const & edit) {
            rowWriter.write(edit);
            counts.entriesAdded += edit.add;
            counts.entriesRemoved += edit.drop;
        };
        if (before == nullptr) {
            // All of it is new: nothing is to be compared.
            std::size_t const count = entryCount(after.content(), row);
            if (count != 0) {
                write({.add = count});
            }
            continue;
        }
        RowTexts const ours(before->content(), row);
        RowTexts const theirs(after.content(), row);
        auto const edits = editsBetween(ours.texts(), theirs.texts());
        std::ranges::for_each(edits, write);
        rowWriter.write(numbersBetween(numbersOf(before->content(), row),
                                       numbersOf(after.content(), row), edits));
    }
    ++counts.set;
}

} // namespace

// What is alike at both ends is set aside first: most changes are small.
std::vector<ListEdit> editsBetween(Texts const & before, Texts const & after) {
    std::size_t const most = std::min(before.size(), after.size());
    std::size_t head = 0;
    while (head < most && before[head] == after[head]) {
        ++head;
    }
    std::size_t tail = 0;
    while (tail < most - head &&
           before[before.size() - 1 - tail] == after[after.size() - 1 - tail]) {
        ++tail;
    }
    std::size_t const oldSize = before.size() - head - tail;
    std::size_t const newSize = after.size() - head - tail;
    auto pairs =
        pairUp(std::span(before).subspan(head, oldSize), std::span(after).subspan(head, newSize));
    keepRising(pairs);
    std::vector<ListEdit> edits;
    std::size_t old = 0;
    std::size_t from = 0;
    // Between two entries that stay, what is left of both is an edit.
    auto const upTo = [&](std::size_t oldEnd, std::size_t newEnd) {
        if (oldEnd != old || newEnd != from) {
            edits.push_back({head + old, oldEnd - old, head + from, newEnd - from});
        }
        old = oldEnd + 1;
        from = newEnd + 1;
    };
    for (std::size_t at = 0; at < newSize; ++at) {
        if (pairs[at] != none) {
            upTo(pairs[at], at);
        }
    }
    upTo(oldSize, newSize);
    return edits;
}

// A run goes on while numbers rise by the same step, over entries that have theirs already, too.
std::vector<NumberRun> numbersBetween(std::vector<U32> const & before,
                                      std::vector<U32> const & after,
                                      std::vector<ListEdit> const & edits) {
    // What a row has once the edits are made: what comes has its number.
    std::vector<U32> made = after;
    std::size_t old = 0;
    std::size_t at = 0;
    auto const keep = [&](std::size_t end) {
        while (old < end && at < made.size()) {
            made[at++] = before[old++];
        }
    };
    for (ListEdit const & edit : edits) {
        keep(edit.at);
        old += edit.drop;
        at += edit.add;
    }
    keep(before.size());
    std::vector<NumberRun> runs;
    for (at = 0; at < after.size(); ++at) {
        if (made[at] == after[at]) {
            continue;
        }
        NumberRun run{at, 1, after[at], 0};
        bool const rises = at + 1 < after.size() && after[at + 1] > after[at];
        run.step = rises ? after[at + 1] - after[at] : 0;
        while (rises && at + 1 < after.size() && after[at + 1] > after[at] &&
               after[at + 1] - after[at] == run.step) {
            ++run.count;
            ++at;
        }
        runs.push_back(run);
    }
    return runs;
}

ListCounts writeListChanges(BatchWriter & writer, PublishedLists const & before,
                            PublishedLists const & after) {
    ListCounts counts;
    for (auto const & [key, list] : before) {
        if (!after.contains(key)) {
            writeGone(writer, key);
            ++counts.removed;
            counts.entriesRemoved += entryCount(list->content());
        }
    }
    for (auto const & [key, list] : after) {
        auto const found = before.find(key);
        if (found == before.end()) {
            writeChange(writer, key, nullptr, *list, counts);
        } else if (found->second->digest() != list->digest()) {
            writeChange(writer, key, found->second.get(), *list, counts);
        }
    }
    return counts;
}

} // namespace Qcf::Mirror
