#pragma once

#include "Mirror/ChangeBatch.h"
#include "Mirror/MirrorError.h"
#include "Platform/Render/JsonDocument.h"

#include <functional>

namespace Qcf::Mirror {

/// A batch on its way in: pieces are collected, and nothing is believed before the end line proves
/// that all of them are there and unharmed. Throws MirrorError for what cannot be.
///
///     StagedBatch batch("stream entry 17-0", firstPiece);
///     batch.add(piece);
///     batch.finish(lastPiece);
///     batch.complete(); // true
///
/// The sum over all lines, their number and the version must be what the end line says. Memory is
/// that of the pieces, which are bounded together. Belongs to one thread.
class StagedBatch {
public:
    /// The largest batch that is collected.
    static constexpr U64 mostBytes = U64{1} << 30;

    /// `firstPiece` holds the start line; `place` is for messages.
    StagedBatch(String place, String firstPiece);

    /// What the start line says; it is read first, so that a batch that does not fit is not
    /// collected.
    BatchStart const & start() const { return batch_.start; }
    /// The next piece.
    void add(String piece);
    /// The last piece, which makes the batch complete.
    void finish(String piece);
    /// Whether the end line has come and was right.
    bool complete() const { return complete_; }

    /// The version that it makes; complete batches only, like what follows.
    VersionId version() const { return batch_.version(); }
    /// Functions, nodes and lists after the batch, as the end line says.
    U64 functions() const { return batch_.functions; }
    U64 nodes() const { return batch_.nodes; }
    U64 lists() const { return batch_.lists; }
    /// Whether the batch was signed by that signer's key.
    bool isSignedBy(BatchSigner const & signer) const {
        return signer.isSigned(batch_.signedText(), batch_.signature);
    }
    /// Calls `visit(line)` for each line between the first and the last, as a JSON object.
    void eachLine(std::function<void(JsonValue const &)> const & visit) const;

private:
    /// Counts a piece in and keeps it.
    void take(String piece);
    /// Compares the end line with what was collected.
    void parseEnd(std::string_view text);

    /// Put before messages.
    String place_;
    Batch batch_;
    Digester sum_;
    U64 lines_ = 0;
    U64 bytes_ = 0;
    bool complete_ = false;
};

} // namespace Qcf::Mirror
