#include "Mirror/BatchPlaces.h"

#include "Mirror/WireFields.h"
#include "Mirror/WireText.h"

/// Places are for people: what is checked is that they can be told, not that they are right, which
/// nobody but the writer can know.
namespace Qcf::Mirror {

namespace {

// Readers parse one line at a time.
constexpr std::size_t rowsInALine = 100;

constexpr U64 mostLines = ~U32{0} / 2; ///< so that two of them can be added

void writeHead(BatchWriter & writer, String const & name, FunctionPlaces const & places,
               bool withRows) {
    writer.line([&](RendererV2 & out) {
        out.key("places");
        out.value(wireText(name));
        out.key("file");
        out.value(wireText(places.file));
        out.key("line");
        out.value(U64{places.line});
        out.key("anew");
        out.value(withRows);
    });
}

void writeRow(RendererV2 & out, PlaceTable::Row const & row) {
    out.beginArray();
    out.value(row.key);
    for (U32 const number : {row.line, row.column, row.endLine, row.endColumn}) {
        out.value(U64{number});
    }
    if (!row.reason.empty()) {
        out.value(wireText(row.reason));
    }
    out.endArray();
}

void writeRows(BatchWriter & writer, std::vector<PlaceTable::Row> const & rows) {
    for (std::size_t i = 0; i < rows.size();) {
        writer.line([&](RendererV2 & out) {
            out.key("rows");
            out.beginArray();
            for (std::size_t const end = std::min(rows.size(), i + rowsInALine); i < end; ++i) {
                writeRow(out, rows[i]);
            }
            out.endArray();
        });
    }
}

PlaceTable::Row readRow(JsonValue const & value) {
    constexpr std::size_t least = 5;
    std::size_t const size = value.expectArray().size();
    if (size < least || size > least + 1) {
        value.fail("key, line and column, end line and end column, and a reason");
    }
    auto const number = [&](std::size_t at) {
        return static_cast<U32>(value.at(at).expectU64(0, mostLines));
    };
    return {value.at(0).expectU64(),
            number(1),
            number(2),
            number(3),
            number(4),
            size > least ? expectWireText(value.at(least)) : String()};
}

} // namespace

void writePlaceChanges(BatchWriter & writer, VersionPlaces const & before,
                       VersionPlaces const & after) {
    for (auto const & each : before) {
        if (!after.contains(each.first)) {
            writer.line([&](RendererV2 & out) {
                out.key("places");
                out.value(wireText(each.first));
                out.key("gone");
                out.value(true);
            });
        }
    }
    for (auto const & [name, places] : after) {
        auto const known = before.find(name);
        bool const isNew = known == before.end();
        bool const sameRows = !isNew && (known->second.table == places.table ||
                                         known->second.table->rows() == places.table->rows());
        bool const stays =
            sameRows && known->second.file == places.file && known->second.line == places.line;
        if (!stays) {
            writeHead(writer, name, places, !sameRows);
        }
        if (!sameRows) {
            writeRows(writer, places.table->rows());
        }
    }
}

void BatchPlaces::headLine(JsonValue const & line) {
    end();
    JsonObjectReader reader(line);
    JsonValue const nameValue = reader.require("places");
    String name = expectWireText(nameValue);
    if (reader.optional("gone")) {
        reader.done();
        if (places_.erase(name) == 0) {
            nameValue.fail("function that has places");
        }
        return;
    }
    String file = expectWireText(reader.require("file"));
    auto const first = static_cast<U32>(reader.require("line").expectU64(0, mostLines));
    bool const anew = reader.require("anew").expectBool();
    reader.done();
    auto const known = places_.find(name);
    if (!anew && known == places_.end()) {
        nameValue.fail("function that has places");
    }
    PtrConst<PlaceTable> const table =
        anew ? makePtr<PlaceTable>(std::vector<PlaceTable::Row>()) : known->second.table;
    places_.insert_or_assign(name, FunctionPlaces{std::move(file), first, table});
    if (anew) {
        open_ = std::move(name);
    }
}

void BatchPlaces::rowsLine(JsonValue const & line) {
    JsonObjectReader reader(line);
    JsonValue const rows = reader.require("rows");
    reader.done();
    if (!open_) {
        line.fail("function before its rows");
    }
    for (JsonValue const row : rows.expectArray()) {
        rows_.push_back(readRow(row));
    }
}

void BatchPlaces::end() {
    if (open_) {
        places_.at(*open_).table = makePtr<PlaceTable>(std::exchange(rows_, {}));
        open_.reset();
    }
}

} // namespace Qcf::Mirror
