#pragma once

#include "Mirror/PolicyVersion.h"
#include "Platform/Render/RendererV2.h"

#include <vector>

namespace Qcf::Mirror {

/// The text form of one batch of changes: lines of JSON in this order,
///
///     {"start":{"version":7,"id":"9c..","base":"41.."}}   the version made, the one it builds on
///     {"remove":[12,13]}                                  keys of nodes that go
///     {"class":"IntIs","key":21,"lhs":{"ref":3},...}      nodes as in flat documents, children
///     first
///     {"function":"import","ref":27}                      functions by name; null takes one away
///     {"end":{"version":7,"digest":"3b..","functions":2,"nodes":40,"lines":9,"sum":"77.."}}
///
/// An empty base means: from nothing. Such a batch says everything, as a snapshot does.
struct BatchStart {
    U64 version = 0;
    String id;
    String base;
};

/// Whether two batches of the same writer could ever be taken for one another: never.
String newBatchId();

struct Batch {
    BatchStart start;
    Digest digest;      ///< over the functions after the batch
    U64 functions = 0;  ///< functions after the batch
    U64 nodes = 0;      ///< nodes after the batch
    U64 movedNodes = 0; ///< nodes that the batch brings
    /// The lines, each with its line end, in pieces of some size: the first holds the start line
    /// alone, the last the end line.
    std::vector<String> pieces;

    std::size_t bytes() const;
    VersionId version() const { return {start.version, start.id, digest}; }
};

/// Writes a batch line by line, in the order above.
class BatchWriter {
public:
    /// The size that a piece may have before the next one starts.
    static constexpr std::size_t usualPieceSize = std::size_t{1} << 16;

    explicit BatchWriter(BatchStart start, std::size_t pieceSize = usualPieceSize);

    void remove(std::vector<U64> const & keys);
    void node(Eval::AetNodeBase const & node);
    void function(String const & name, U64 key);
    void functionDel(String const & name);
    Batch finish(Digest const & digest, U64 functions, U64 nodes);

private:
    void openFunction(String const & name);
    void endLine();
    void endPiece();

    Batch batch_;
    std::size_t pieceSize_;
    String piece_;
    RendererV2 line_{piece_};
    Digester sum_;
    U64 lines_ = 0;
};

} // namespace Qcf::Mirror
