#include "Lists/EntryWriter.h"

#include "Lists/ListWords.h"
#include "Platform/Routing/CommunityText.h"

/// What is left out is what readers take for it anyway.
namespace Qcf::Lists {

namespace {

void writePrefix(RendererV2 & renderer, IpGenPrefix const & prefix) {
    renderer.key(word::prefix);
    renderer.value(prefix.toString());
}

void writeAction(RendererV2 & renderer, ListAction action) {
    renderer.key(word::action);
    renderer.value(actionName(action));
}

void writeLength(RendererV2 & renderer, char const * key, std::optional<U8> length) {
    if (length) {
        renderer.key(key);
        renderer.value(U64{*length});
    }
}

void writePattern(RendererV2 & renderer, WrittenPattern const & pattern) {
    renderer.key(word::regex);
    renderer.value(pattern.text);
}

// Patterns see communities in the form in which readers know them again.
template <typename Value>
void writeCommunities(RendererV2 & renderer, std::vector<Value> const & communities,
                      void (*append)(String &, Value const &)) {
    renderer.key(word::communities);
    renderer.beginArray();
    String text;
    for (Value const & community : communities) {
        text.clear();
        append(text, community);
        renderer.value(text);
    }
    renderer.endArray();
}

template <typename List>
void writeCommunityEntry(typename CommunityListRecord<List>::Entry const & entry,
                         RendererV2 & renderer) {
    renderer.beginObject();
    writeAction(renderer, entry.action);
    if (entry.pattern) {
        writePattern(renderer, *entry.pattern);
    } else {
        writeCommunities(renderer, entry.communities, List::appendText());
    }
    renderer.endObject();
}

} // namespace

void writeEntry(PrefixListEntry const & entry, RendererV2 & renderer) {
    auto const lengths = writtenLengths(entry);
    renderer.beginObject();
    renderer.key(word::seq);
    renderer.value(entry.seq);
    writeAction(renderer, entry.action);
    writePrefix(renderer, entry.prefix);
    writeLength(renderer, word::ge, lengths.ge);
    writeLength(renderer, word::le, lengths.le);
    renderer.endObject();
}

void writeEntry(AsPathListRecord::Entry const & entry, RendererV2 & renderer) {
    renderer.beginObject();
    writeAction(renderer, entry.action);
    writePattern(renderer, entry.pattern);
    if (entry.origin) {
        renderer.key(word::origin);
        renderer.value(originName(*entry.origin));
    }
    renderer.endObject();
}

void writeEntry(U32 tag, RendererV2 & renderer) { renderer.value(tag); }

void writeEntry(Roa const & roa, RendererV2 & renderer) {
    renderer.beginObject();
    writePrefix(renderer, roa.prefix);
    if (roa.maxLength != roa.prefix.len()) {
        writeLength(renderer, word::maxLength, roa.maxLength);
    }
    renderer.key(word::asn);
    renderer.value(roa.asn);
    renderer.endObject();
}

void writeEntry(CommunityListRecord<StandardCommunityList>::Entry const & entry,
                RendererV2 & renderer) {
    writeCommunityEntry<StandardCommunityList>(entry, renderer);
}

void writeEntry(CommunityListRecord<ExtCommunityList>::Entry const & entry, RendererV2 & renderer) {
    writeCommunityEntry<ExtCommunityList>(entry, renderer);
}

void writeEntry(CommunityListRecord<LargeCommunityList>::Entry const & entry,
                RendererV2 & renderer) {
    writeCommunityEntry<LargeCommunityList>(entry, renderer);
}

void writeFamily(PrefixListRecord const & list, RendererV2 & renderer) {
    renderer.key(word::family);
    renderer.value(list.family == AddressFamily::ipv4 ? word::v4 : word::v6);
    if (list.covered) {
        renderer.key(word::covered);
        renderer.value(true);
    }
}

void writeVrfs(DynamicPrefixListRecord const & list, RendererV2 & renderer) {
    renderer.key(word::vrfs);
    renderer.beginObject();
    for (auto const & [vrf, active] : list.vrfs) {
        renderer.key(std::to_string(vrf));
        renderer.value(active);
    }
    renderer.endObject();
}

} // namespace Qcf::Lists
