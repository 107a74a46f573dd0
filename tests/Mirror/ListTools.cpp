#include "tests/Mirror/ListTools.h"

#include "Lists/ListsDocument.h"
#include "Lists/ListsWriter.h"

namespace Qcf::Mirror::test {

std::vector<Lists::ListRecord> listRecords(String const & sections) {
    auto const document =
        JsonDocument::parse(R"({"qcf": "lists/1", )" + sections.substr(1), "lists.json");
    return Lists::readListRecords(document.root(), "lists.json");
}

PublishedLists lists(String const & sections) { return publishedLists(listRecords(sections), {}); }

String listsText(PublishedLists const & lists) {
    std::vector<Lists::ListRecord> records;
    for (auto const & [key, list] : lists) {
        records.push_back({key.name, list->content()});
    }
    String text;
    RendererV2 renderer(text);
    writeLists(records, renderer);
    return text;
}

String prefixLists(std::size_t count, std::size_t first) {
    String text = R"({"prefixLists": {"P": {"family": "v4", "entries": [)";
    for (std::size_t i = first; i < first + count; ++i) {
        text += (i == first ? "" : ",");
        text += R"({"seq": )" + std::to_string(i + 1) + R"(, "action": "permit", "prefix": "10.)" +
                std::to_string(i >> 8 & 255) + '.' + std::to_string(i & 255) + R"(.0/24"})";
    }
    return text + "]}}}";
}

StagedBatch staged(Batch batch) {
    StagedBatch result("test", std::move(batch.pieces.front()));
    for (std::size_t i = 1; i + 1 < batch.pieces.size(); ++i) {
        result.add(std::move(batch.pieces[i]));
    }
    result.finish(std::move(batch.pieces.back()));
    return result;
}

} // namespace Qcf::Mirror::test
