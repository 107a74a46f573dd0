#include "Mirror/PublishedLists.h"

#include "Lists/ListEntries.h"
#include "Mirror/MirrorError.h"
#include "Platform/Render/Utf8.h"

#include <algorithm>

/// What lists are the same is decided by their digests alone, here and in every reader.
namespace Qcf::Mirror {

using Lists::ListKind;
using Lists::NamedLists;

namespace {

// In pieces, so that a list of a million entries does not stand in memory as text.
constexpr std::size_t pieceSize = std::size_t{1} << 16;

Digest digestOf(Lists::ListContent const & content) {
    Digester digester;
    String text;
    RendererV2 renderer(text);
    auto const line = [&](auto && write) {
        write();
        renderer.endDocument();
        if (text.size() >= pieceSize) {
            digester.add(text);
            text.clear();
        }
    };
    line([&] {
        renderer.beginObject();
        writeHead(content, renderer);
        renderer.endObject();
    });
    for (std::size_t row = 0; row < entryRows(content); ++row) {
        // Before the entries, so that none can move from one row to the other unseen.
        line([&] { renderer.value(U64{entryCount(content, row)}); });
        for (std::size_t at = 0; at < entryCount(content, row); ++at) {
            line([&] { writeEntry(content, row, at, renderer); });
        }
    }
    digester.add(text);
    return digester.finish();
}

/// Takes a list that was made over from other lists.
void share(NamedLists & to, NamedLists const & from, ListKey const & key) {
    auto const take = [&](auto & ours, auto const & theirs) {
        if (auto const found = theirs.find(key.name); found != theirs.end()) {
            ours.insert(*found);
        }
    };
    switch (key.kind) {
    case ListKind::prefixList:
        return take(to.prefixLists, from.prefixLists);
    case ListKind::dynamicPrefixList:
        return take(to.dynamicPrefixLists, from.dynamicPrefixLists);
    case ListKind::communityList:
        return take(to.communityLists, from.communityLists);
    case ListKind::extCommunityList:
        return take(to.extCommunityLists, from.extCommunityLists);
    case ListKind::largeCommunityList:
        return take(to.largeCommunityLists, from.largeCommunityLists);
    case ListKind::asPathAccessList:
        return take(to.asPathAccessLists, from.asPathAccessLists);
    case ListKind::tagSet:
        return take(to.tagSets, from.tagSets);
    case ListKind::roaTable:
        return take(to.roaTables, from.roaTables);
    }
}

bool isReadable(std::optional<Lists::WrittenPattern> const & pattern) {
    return !pattern || (isUtf8(pattern->text) && pattern->text.find('\0') == String::npos);
}

/// Whether every pattern comes back as it is: documents hold UTF-8 without NUL.
struct PatternsAreReadable {
    bool operator()(auto const & /*list*/) const { return true; }
    template <typename List>
    bool operator()(Lists::CommunityListRecord<List> const & list) const {
        return std::ranges::all_of(list.entries,
                                   [](auto const & entry) { return isReadable(entry.pattern); });
    }
    bool operator()(Lists::AsPathListRecord const & list) const {
        return std::ranges::all_of(list.entries,
                                   [](auto const & entry) { return isReadable(entry.pattern); });
    }
};

/// A reader would refuse such a list, far from who wrote it.
void checkPublishable(Lists::ListRecord const & record) {
    String const list = String(kindText(record.kind())) + " \"" + record.name + "\": ";
    if (!numbersAreUnique(record.content)) {
        throw MirrorError(list + "two entries have one number");
    }
    if (!std::visit(PatternsAreReadable(), record.content)) {
        throw MirrorError(list + "a pattern is no UTF-8 text");
    }
}

} // namespace

PublishedList::PublishedList(Lists::ListContent content)
    : content_(std::move(content)), digest_(digestOf(content_)) {}

PublishedLists publishedLists(std::vector<Lists::ListRecord> records,
                              PublishedLists const & before) {
    PublishedLists lists;
    for (Lists::ListRecord & record : records) {
        checkPublishable(record);
        ListKey key{record.kind(), std::move(record.name)};
        PtrConst<PublishedList> list = makePtr<PublishedList>(std::move(record.content));
        auto const found = before.find(key);
        if (found != before.end() && found->second->digest() == list->digest()) {
            list = found->second;
        }
        lists.insert_or_assign(std::move(key), std::move(list));
    }
    return lists;
}

bool sameLists(PublishedLists const & a, PublishedLists const & b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](auto const & x, auto const & y) {
        return x.first == y.first && x.second->digest() == y.second->digest();
    });
}

Digest versionDigest(Digest const & functions, PublishedLists const & lists) {
    if (lists.empty()) {
        return functions;
    }
    Digester digester;
    digester.add(functions.toString());
    for (auto const & [key, list] : lists) {
        // Lengths first, so that no name can run into what follows.
        digester.add(String(sectionName(key.kind)) + ';' + std::to_string(key.name.size()) + ';');
        digester.add(key.name);
        digester.add(list->digest().toString());
    }
    return digester.finish();
}

PtrConst<NamedLists> namedLists(PublishedLists const & lists, String const & subject,
                                PublishedLists const & before, PtrConst<NamedLists> const & made) {
    if (lists.empty()) {
        return nullptr;
    }
    auto named = makePtr<NamedLists>();
    named->fileName = subject;
    for (auto const & [key, list] : lists) {
        auto const earlier = before.find(key);
        if (made && earlier != before.end() && earlier->second->digest() == list->digest()) {
            share(*named, *made, key);
        } else {
            addList(*named, {key.name, list->content()});
        }
    }
    return named;
}

} // namespace Qcf::Mirror
