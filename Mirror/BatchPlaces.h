#pragma once

#include "Mirror/ChangeBatch.h"
#include "Mirror/VersionPlaces.h"
#include "Platform/Render/JsonDocument.h"

namespace Qcf::Mirror {

/// Writes the lines that make places of others: a line a function that is elsewhere, and the rows
/// of those whose tables differ.
void writePlaceChanges(BatchWriter & writer, VersionPlaces const & before,
                       VersionPlaces const & after);

/// Builds places of the lines of a batch beside those that are there. Throws DocumentError with the
/// line for what cannot be meant.
///
///     BatchPlaces places(base);
///     ... places.headLine(line), places.rowsLine(line) ...
///     places.end();
///     VersionPlaces const after = places.places();
class BatchPlaces {
public:
    explicit BatchPlaces(VersionPlaces base) : base_(std::move(base)) {}

    /// A function that comes from elsewhere, or from no text any more.
    void headLine(JsonValue const & line);
    /// Rows of the table of the function that was named last.
    void rowsLine(JsonValue const & line);
    /// The table of the function that was named last is whole.
    void end();
    /// All places after the batch.
    VersionPlaces places() const;

private:
    /// The places that the function has after the lines so far; null for none.
    FunctionPlaces const * find(String const & name) const;

    VersionPlaces base_;
    std::map<String, std::optional<FunctionPlaces>> changes_; ///< none for those that go
    std::optional<String> open_;                              ///< whose rows come
    std::vector<PlaceTable::Row> rows_;
};

} // namespace Qcf::Mirror
