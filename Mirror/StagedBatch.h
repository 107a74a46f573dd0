#pragma once

#include "Mirror/ChangeBatch.h"
#include "Mirror/MirrorError.h"
#include "Platform/Render/JsonDocument.h"

#include <functional>

namespace Qcf::Mirror {

/// A batch on its way in: pieces are collected, and nothing is believed before the end line proves
/// that all of them are there and unharmed. Throws MirrorError for what cannot be.
class StagedBatch {
public:
    /// `firstPiece` holds the start line; `place` is for messages.
    StagedBatch(String place, String firstPiece);

    BatchStart const & start() const { return batch_.start; }
    /// The next piece.
    void add(String piece);
    /// The last piece, which makes the batch complete.
    void finish(String piece);
    bool complete() const { return complete_; }

    /// The version that it makes; complete batches only, like what follows.
    VersionId version() const { return batch_.version(); }
    U64 functions() const { return batch_.functions; }
    U64 nodes() const { return batch_.nodes; }
    /// Calls `visit(line)` for each line between the first and the last, as a JSON object.
    void eachLine(std::function<void(JsonValue const &)> const & visit) const;

private:
    void take(String piece);
    void parseEnd(std::string_view text);

    String place_;
    Batch batch_;
    Digester sum_;
    U64 lines_ = 0;
    bool complete_ = false;
};

} // namespace Qcf::Mirror
