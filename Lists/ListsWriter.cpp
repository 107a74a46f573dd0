#include "Lists/ListsWriter.h"

#include "Lists/ListWords.h"
#include "Platform/Framework/Assert.h"
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

void writeEntries(RendererV2 & renderer, char const * key,
                  std::vector<PrefixListEntry> const & entries) {
    renderer.key(key);
    renderer.beginArray();
    for (PrefixListEntry const & entry : entries) {
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
    renderer.endArray();
}

/// A list as the value of its name.
struct Write {
    RendererV2 & renderer;

    void operator()(PrefixListRecord const & list) const {
        renderer.beginObject();
        renderer.key(word::family);
        renderer.value(list.family == AddressFamily::ipv4 ? word::v4 : word::v6);
        if (list.covered) {
            renderer.key(word::covered);
            renderer.value(true);
        }
        writeEntries(renderer, word::entries, list.entries);
        renderer.endObject();
    }

    void operator()(DynamicPrefixListRecord const & list) const {
        renderer.beginObject();
        writeEntries(renderer, word::v4, list.v4);
        writeEntries(renderer, word::v6, list.v6);
        renderer.key(word::vrfs);
        renderer.beginObject();
        for (auto const & [vrf, active] : list.vrfs) {
            renderer.key(std::to_string(vrf));
            renderer.value(active);
        }
        renderer.endObject();
        renderer.endObject();
    }

    template <typename List>
    void operator()(CommunityListRecord<List> const & list) const {
        renderer.beginArray();
        for (auto const & entry : list.entries) {
            renderer.beginObject();
            writeAction(renderer, entry.action);
            if (entry.pattern) {
                writePattern(*entry.pattern);
            } else {
                writeCommunities(entry.communities, List::appendText());
            }
            renderer.endObject();
        }
        renderer.endArray();
    }

    void operator()(AsPathListRecord const & list) const {
        renderer.beginArray();
        for (auto const & entry : list.entries) {
            renderer.beginObject();
            writeAction(renderer, entry.action);
            writePattern(entry.pattern);
            if (entry.origin) {
                renderer.key(word::origin);
                renderer.value(originName(*entry.origin));
            }
            renderer.endObject();
        }
        renderer.endArray();
    }

    void operator()(TagSetRecord const & list) const {
        renderer.beginArray();
        for (U32 const tag : list.tags) {
            renderer.value(tag);
        }
        renderer.endArray();
    }

    void operator()(RoaTableRecord const & list) const {
        renderer.beginArray();
        for (Roa const & roa : list.roas) {
            renderer.beginObject();
            writePrefix(renderer, roa.prefix);
            if (roa.maxLength != roa.prefix.len()) {
                writeLength(renderer, word::maxLength, roa.maxLength);
            }
            renderer.key(word::asn);
            renderer.value(roa.asn);
            renderer.endObject();
        }
        renderer.endArray();
    }

    void writePattern(WrittenPattern const & pattern) const {
        renderer.key(word::regex);
        renderer.value(pattern.text);
    }

    // Patterns see communities in the form in which readers know them again.
    template <typename Value>
    void writeCommunities(std::vector<Value> const & communities,
                          void (*append)(String &, Value const &)) const {
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
};

} // namespace

ListsWriter::ListsWriter(RendererV2 & renderer) : renderer_(renderer) {
    renderer_.beginObject();
    renderer_.key(word::format);
    renderer_.value(word::formatName);
}

void ListsWriter::add(ListRecord const & record) {
    ListKind const kind = record.kind();
    if (section_ != kind) {
        QCF_ASSERT_TEXT(!section_ || *section_ < kind, "kinds of lists do not fall");
        if (section_) {
            renderer_.endObject();
        }
        section_ = kind;
        renderer_.key(sectionName(kind));
        renderer_.beginObject();
    }
    renderer_.key(record.name);
    std::visit(Write{renderer_}, record.content);
}

void ListsWriter::end() {
    if (section_) {
        renderer_.endObject();
    }
    renderer_.endObject();
}

void writeLists(std::span<ListRecord const> lists, RendererV2 & renderer) {
    ListsWriter writer(renderer);
    for (std::size_t kind = 0; kind < std::variant_size_v<ListContent>; ++kind) {
        for (ListRecord const & list : lists) {
            if (list.content.index() == kind) {
                writer.add(list);
            }
        }
    }
    writer.end();
    renderer.endDocument();
}

} // namespace Qcf::Lists
