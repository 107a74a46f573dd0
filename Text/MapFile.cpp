#include "Text/MapFile.h"

#include "Platform/Render/JsonDocument.h"
#include "Platform/Render/JsonObjectReader.h"
#include "Platform/Routing/TextPieces.h"

#include <algorithm>
#include <unordered_set>

namespace Qcf::Text {

namespace {

constexpr char const * formatName = "map/1";

MappedPlace placeOf(SourceMap::Entry const & entry, SourceMap const & map,
                    Sources const & sources) {
    SourceText const & source = sources[entry.span.file];
    return {entry.span.file, source.placeOf(entry.span.begin), source.placeOf(entry.span.end),
            map.reasonOf(entry)};
}

U32 small(JsonValue const & json, U64 least, U64 most = 0xFFFFFFFF) {
    return static_cast<U32>(json.expectU64(least, most));
}

MappedPlace readPlace(JsonValue const & json, std::size_t files) {
    constexpr std::size_t parts = 6;
    if (!json.isArray() || json.size() != parts) {
        json.fail("[file, line, column, end line, end column, reason]");
    }
    if (files == 0) {
        json.fail("", "a file", "none in files");
    }
    MappedPlace place{small(json.at(0), 0, files - 1),
                      {small(json.at(1), 1), small(json.at(2), 1)},
                      {small(json.at(3), 1), small(json.at(4), 1)},
                      {}};
    if (!json.at(5).isNull()) {
        place.reason = String(json.at(5).expectString("a reason or null"));
    }
    return place;
}

} // namespace

void writeMap(SourceMap const & map, Sources const & sources, RendererV2 & renderer) {
    renderer.beginObject();
    renderer.key("qcf");
    renderer.value(formatName);
    renderer.key("files");
    renderer.beginArray();
    for (U32 file = 0; file < sources.size(); ++file) {
        renderer.value(sources[file].name());
    }
    renderer.endArray();
    renderer.key("nodes");
    renderer.beginObject();
    for (SourceMap::Entry const & entry : map.entries()) {
        MappedPlace const place = placeOf(entry, map, sources);
        renderer.key(std::to_string(entry.key));
        renderer.beginArray();
        for (U32 const number :
             {place.file, place.begin.line, place.begin.column, place.end.line, place.end.column}) {
            renderer.value(U64{number});
        }
        place.reason.empty() ? renderer.nullValue() : renderer.value(place.reason);
        renderer.endArray();
    }
    renderer.endObject();
    renderer.endObject();
}

PlaceMap PlaceMap::of(SourceMap const & map, Sources const & sources) {
    PlaceMap made;
    for (U32 file = 0; file < sources.size(); ++file) {
        made.files_.push_back(sources[file].name());
    }
    for (SourceMap::Entry const & entry : map.entries()) {
        made.entries_.push_back({entry.key, placeOf(entry, map, sources)});
    }
    return made;
}

PlaceMap PlaceMap::read(String const & path) {
    auto const document = JsonDocument::parse(readFile(path), path);
    JsonObjectReader members(document.root());
    JsonValue const format = members.require("qcf");
    if (format.expectString() != formatName) {
        format.fail("\"map/1\"");
    }
    PlaceMap made;
    made.path_ = path;
    for (JsonValue const file : members.require("files").expectArray()) {
        made.files_.emplace_back(file.expectString());
    }
    for (JsonValue const node : members.require("nodes").expectObject()) {
        auto const key = Routing::TextPieces::parseDecimal(node.key(), ~U64{0});
        if (!key) {
            node.fail("", "the key of a node", '"' + String(node.key()) + '"');
        }
        made.entries_.push_back({*key, readPlace(node, made.files_.size())});
    }
    members.done();
    std::ranges::sort(made.entries_, {}, &Entry::key);
    return made;
}

// That of an earlier compilation would name places where something else stands by now.
void PlaceMap::mustSuit(Documents::Program const & program) const {
    std::unordered_set<U64> keys;
    for (auto const & node : program.nodes) {
        keys.insert(node->aetNodeKey());
    }
    for (Entry const & entry : entries_) {
        if (!keys.contains(entry.key)) {
            throw DocumentError(path_ + ": is not the map of this document, which has no node " +
                                std::to_string(entry.key));
        }
    }
    for (auto const & function : program.functions) {
        if (find(function->body()->aetNodeKey()) == nullptr) {
            throw DocumentError(path_ + ": is not the map of this document: it has no place for '" +
                                function->funcName() + "'");
        }
    }
}

MappedPlace const * PlaceMap::find(U64 key) const {
    auto const at = std::ranges::lower_bound(entries_, key, {}, &Entry::key);
    return at == entries_.end() || at->key != key ? nullptr : &at->place;
}

String PlaceMap::text(U64 key) const {
    MappedPlace const * const place = find(key);
    return place == nullptr ? String()
                            : fileName(*place) + ':' + std::to_string(place->begin.line) + ':' +
                                  std::to_string(place->begin.column);
}

} // namespace Qcf::Text
