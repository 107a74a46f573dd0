#include "Lists/ListsWriter.h"

#include "Lists/EntryWriter.h"
#include "Lists/ListWords.h"
#include "Platform/Framework/Assert.h"

/// Documents put entries (EntryWriter.h) into lists, and lists into sections.
namespace Qcf::Lists {

namespace {

template <typename Entries>
void writeEntries(Entries const & entries, RendererV2 & renderer) {
    renderer.beginArray();
    for (auto const & entry : entries) {
        writeEntry(entry, renderer);
    }
    renderer.endArray();
}

/// A list as the value of its name.
struct Write {
    RendererV2 & renderer;

    void operator()(PrefixListRecord const & list) const {
        renderer.beginObject();
        writeFamily(list, renderer);
        renderer.key(word::entries);
        writeEntries(list.entries, renderer);
        renderer.endObject();
    }

    void operator()(DynamicPrefixListRecord const & list) const {
        renderer.beginObject();
        renderer.key(word::v4);
        writeEntries(list.v4, renderer);
        renderer.key(word::v6);
        writeEntries(list.v6, renderer);
        writeVrfs(list, renderer);
        renderer.endObject();
    }

    void operator()(TagSetRecord const & list) const { writeEntries(list.tags, renderer); }
    void operator()(RoaTableRecord const & list) const { writeEntries(list.roas, renderer); }
    void operator()(auto const & list) const { writeEntries(list.entries, renderer); }
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
