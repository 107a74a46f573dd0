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

void writeHead(BatchWriter & writer, std::string_view name, FunctionPlaces const & places,
               bool withRows) {
    writer.line([&](RendererV2 & out) {
        out.key("places");
        out.value(wireText(String(name)));
        out.key("file");
        out.value(wireText(places.file));
        out.key("line");
        out.value(U64{places.line});
        out.key("anew");
        out.value(withRows);
    });
}

void writeGone(BatchWriter & writer, std::string_view name) {
    writer.line([&](RendererV2 & out) {
        out.key("places");
        out.value(wireText(String(name)));
        out.key("gone");
        out.value(true);
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

/// The lines of a function whose places may be others than `known`, which is null for none.
void writeChange(BatchWriter & writer, std::string_view name, FunctionPlaces const * known,
                 FunctionPlaces const & places) {
    if (known != nullptr && known->isSame(places)) {
        return;
    }
    bool const sameRows = known != nullptr && known->table->rows() == places.table->rows();
    writeHead(writer, name, places, !sameRows);
    if (!sameRows) {
        writeRows(writer, places.table->rows());
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
    std::map<std::string_view, FunctionPlaces const *> were;
    std::map<std::string_view, FunctionPlaces const *> are;
    VersionPlaces::eachDifference(before, after, [&](auto const * from, auto const * to) {
        if (from != nullptr) {
            were.emplace(from->name, &from->value);
        }
        if (to != nullptr) {
            are.emplace(to->name, &to->value);
        }
    });
    for (auto const & [name, places] : were) {
        if (!are.contains(name)) {
            writeGone(writer, name);
        }
    }
    for (auto const & [name, places] : are) {
        auto const known = were.find(name);
        writeChange(writer, name, known == were.end() ? nullptr : known->second, *places);
    }
}

FunctionPlaces const * BatchPlaces::find(String const & name) const {
    auto const changed = changes_.find(name);
    if (changed == changes_.end()) {
        return base_.find(name);
    }
    return changed->second ? &*changed->second : nullptr;
}

void BatchPlaces::headLine(JsonValue const & line) {
    end();
    JsonObjectReader reader(line);
    JsonValue const nameValue = reader.require("places");
    String name = expectWireText(nameValue);
    if (reader.optional("gone")) {
        reader.done();
        if (find(name) == nullptr) {
            nameValue.fail("function that has places");
        }
        changes_[std::move(name)] = std::nullopt;
        return;
    }
    String file = expectWireText(reader.require("file"));
    auto const first = static_cast<U32>(reader.require("line").expectU64(0, mostLines));
    bool const anew = reader.require("anew").expectBool();
    reader.done();
    FunctionPlaces const * const known = find(name);
    if (!anew && known == nullptr) {
        nameValue.fail("function that has places");
    }
    auto table = anew ? makePtr<PlaceTable>(std::vector<PlaceTable::Row>()) : known->table;
    changes_[name] = FunctionPlaces{std::move(file), first, std::move(table)};
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
        changes_.at(*open_)->table = makePtr<PlaceTable>(std::exchange(rows_, {}));
        open_.reset();
    }
}

VersionPlaces BatchPlaces::places() const {
    std::vector<VersionPlaces::Change> changes;
    changes.reserve(changes_.size());
    for (auto const & [name, places] : changes_) {
        changes.push_back({name, places});
    }
    return base_.with(std::move(changes));
}

} // namespace Qcf::Mirror
