#include "Questions/ReportLists.h"

#include "Lists/ListUses.h"
#include "QcfLib/NodeWalk.h"
#include "Text/FunctionContent.h"
#include "Text/ListPrinter.h"
#include "Watch/ListAnswers.h"

#include <algorithm>
#include <set>

namespace Qcf::Questions {

namespace {

using Lists::ListRecord;

/// Entries that are shown of one list: so many with hits, so many without.
constexpr std::size_t mostShown = 100;

/// The entry as a text declares it, without its number: what a list of this one alone has between
/// its braces.
String entryText(Lists::ListContent one) {
    String text;
    Text::printList(text, ListRecord{"L", std::move(one)});
    std::size_t const begin = text.find_first_not_of(" \n", text.find('{') + 1);
    std::size_t const end = text.find_last_not_of(" \n", text.rfind('}') - 1) + 1;
    text = begin < end ? text.substr(begin, end - begin) : String();
    return text.starts_with("seq ") ? text.substr(text.find(' ', 4) + 1) : text;
}

/// Makes the rows of one list from its record.
class EntryRows {
public:
    explicit EntryRows(ReportList & list) : list_(list) {}

    /// `only` makes a record of this entry alone.
    template <typename Entry, typename Only>
    void add(std::vector<Entry> const & entries, Only const & only) {
        list_.size = entries.size();
        std::vector<std::pair<U64, std::size_t>> hit;
        std::vector<std::size_t> shown;
        for (std::size_t i = 0; i < entries.size(); ++i) {
            U64 const hits = hitsOf(numberOf(entries[i], i));
            if (hits > 0) {
                hit.emplace_back(hits, i);
            } else if (++list_.withoutHits <= mostShown) {
                shown.push_back(i);
            }
        }
        std::ranges::stable_sort(hit, std::greater(), [](auto const & each) { return each.first; });
        hit.resize(std::min(hit.size(), mostShown));
        std::ranges::transform(hit, std::back_inserter(shown),
                               [](auto const & each) { return each.second; });
        std::ranges::sort(shown);
        for (std::size_t const i : shown) {
            U32 const number = numberOf(entries[i], i);
            list_.entries.push_back({number, entryText(only(entries[i])), hitsOf(number)});
        }
    }

private:
    static U32 numberOf(Lists::PrefixListEntry const & entry, std::size_t /*index*/) {
        return entry.seq;
    }
    template <typename Entry>
    static U32 numberOf(Entry const & /*entry*/, std::size_t index) {
        return static_cast<U32>(index) + 1;
    }
    U64 hitsOf(U32 number) const {
        auto const found = list_.hits.byEntry.find(number);
        return found == list_.hits.byEntry.end() ? 0 : found->second;
    }

    ReportList & list_;
};

/// One list of the page for each list that was bound: a dynamic prefix list is one a family.
class ListRows {
public:
    explicit ListRows(ReportInput const & input) : input_(input) {}

    void add(ListRecord const & record) {
        std::visit([&](auto const & content) { rows(record, content); }, record.content);
    }
    std::vector<ReportList> lists;

private:
    ReportList & start(ListRecord const & record, String const & suffix, void const * bound) {
        ReportList & list = lists.emplace_back();
        list.kind = Lists::kindText(record.kind());
        list.name = record.name + suffix;
        auto const found = input_.counts.lists.find(bound);
        list.hits = found == input_.counts.lists.end() ? ListHits() : found->second;
        return list;
    }
    template <typename ByName>
    static void const * bound(ByName const & lists, String const & name) {
        auto const found = lists.find(name);
        return found == lists.end() ? nullptr : found->second.get();
    }

    void rows(ListRecord const & record, Lists::PrefixListRecord const & content) {
        EntryRows(start(record, "", bound(input_.lists->prefixLists, record.name)))
            .add(content.entries, [&](auto const & entry) {
                return Lists::PrefixListRecord{content.family, content.covered, {entry}};
            });
    }
    void rows(ListRecord const & record, Lists::DynamicPrefixListRecord const & content) {
        auto const found = input_.lists->dynamicPrefixLists.find(record.name);
        if (found == input_.lists->dynamicPrefixLists.end()) {
            return;
        }
        auto const family = [&](char const * suffix, void const * list, auto const & entries,
                                AddressFamily af) {
            EntryRows(start(record, suffix, list)).add(entries, [&](auto const & entry) {
                return Lists::PrefixListRecord{af, false, {entry}};
            });
        };
        family(" v4", found->second.v4.get(), content.v4, AddressFamily::ipv4);
        family(" v6", found->second.v6.get(), content.v6, AddressFamily::ipv6);
    }
    template <typename List>
    void rows(ListRecord const & record, Lists::CommunityListRecord<List> const & content) {
        EntryRows(start(record, "", communityList(record, static_cast<List *>(nullptr))))
            .add(content.entries,
                 [](auto const & entry) { return Lists::CommunityListRecord<List>{{entry}}; });
    }
    void rows(ListRecord const & record, Lists::AsPathListRecord const & content) {
        EntryRows(start(record, "", bound(input_.lists->asPathAccessLists, record.name)))
            .add(content.entries,
                 [](auto const & entry) { return Lists::AsPathListRecord{{entry}}; });
    }
    // Members of a set are no entries that decide; a table of payloads is asked by built-ins.
    void rows(ListRecord const & record, Lists::TagSetRecord const & /*content*/) {
        start(record, "", bound(input_.lists->tagSets, record.name));
    }
    void rows(ListRecord const & /*record*/, Lists::RoaTableRecord const & /*content*/) {}

    void const * communityList(ListRecord const & record,
                               Lists::StandardCommunityList const * /*kind*/) const {
        return bound(input_.lists->communityLists, record.name);
    }
    // The two kinds are one container of entries and two of lists.
    void const * communityList(ListRecord const & record,
                               Lists::ExtCommunityList const * /*kind*/) const {
        return bound(input_.lists->extCommunityLists, record.name);
    }
    void const * communityList(ListRecord const & record,
                               Lists::LargeCommunityList const * /*kind*/) const {
        return bound(input_.lists->largeCommunityLists, record.name);
    }

    ReportInput const & input_;
};

/// Names of lists that something is tested against; others say what a change puts in or takes out.
std::set<String> testedLists(Eval::Function const & function) {
    std::set<String> tested;
    Eval::walkNodes(
        function,
        [&](Eval::WalkedNode const & at) {
            auto const & nodeClass = at.node.typeData();
            bool const isChange = nodeClass.isKind(Eval::NodeKind::expression) &&
                                  !Watch::asksList(static_cast<Eval::Expression const &>(at.node));
            if (nodeClass.facts.list && !isChange) {
                tested.insert(Text::listOf(at.node).name);
            }
            return true;
        },
        [](Eval::AetNodeBase const &) {});
    return tested;
}

} // namespace

std::vector<ReportList> listsOf(ReportInput const & input) {
    ListRows rows(input);
    auto const tested = testedLists(*input.function);
    std::set<String> reached;
    auto const noPlace = [](auto const &...) { return String(); };
    for (Lists::ListUse const & use : Lists::reachedLists(*input.function, noPlace)) {
        reached.insert(use.name);
    }
    for (ListRecord const & record : input.records) {
        if (input.lists != nullptr && reached.contains(record.name)) {
            std::size_t const before = rows.lists.size();
            rows.add(record);
            for (std::size_t i = before; i < rows.lists.size(); ++i) {
                rows.lists[i].isTested = tested.contains(record.name);
            }
        }
    }
    return std::move(rows.lists);
}

} // namespace Qcf::Questions
