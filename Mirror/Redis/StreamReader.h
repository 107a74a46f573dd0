#pragma once

#include "Mirror/Redis/RedisScripts.h"
#include "Mirror/Replica.h"

#include <functional>

namespace Qcf::Mirror {

/// Takes one line for the operator.
using Report = std::function<void(String const & line)>;

/// A place in a stream of Redis: two numbers, as "1700000000000-3". The greater one is the later.
struct StreamPosition {
    U64 time = 0;
    U64 count = 0;

    auto operator<=>(StreamPosition const &) const = default;
    String toString() const { return std::to_string(time) + "-" + std::to_string(count); }
    /// Reads that text; nothing for any other.
    static std::optional<StreamPosition> parse(std::string_view text);
};

/// Follows the stream of changes from a position on: puts batches together from entries and applies
/// the complete ones to a replica. What does not belong there is told and passed over; what does
/// not fit makes the reader `lost`, until the replica is loaded anew.
///
///     StreamReader reader(replica, report);
///     if (reader.take(readEntries(connection, keys, reader.position(), wait))) {
///         ... a batch was applied ...
///     }
///
/// Belongs to one thread. An entry that is cut, of another writer or of no known kind cannot do
/// harm: a batch counts only when its end line proves all of it.
class StreamReader {
public:
    StreamReader(Replica & replica, Report report)
        : replica_(&replica), report_(std::move(report)) {}

    /// Behind the last entry that was taken.
    StreamPosition const & position() const { return position_; }
    void positionIs(StreamPosition const & position) { position_ = position; }
    /// Goes on with another replica, which stands where this reader does.
    void replicaIs(Replica & replica) { replica_ = &replica; }

    /// Takes entries as XRANGE and XREAD answer them; answers whether a batch was applied.
    bool take(RedisReply const & entries);

    /// Whether the stream could not be followed at some place; applying goes on with the next batch
    /// that fits.
    bool lost() const { return lost_; }
    /// Whether something that is no part of any batch came by since the last call.
    bool takeDoubt() { return std::exchange(doubt_, false); }
    /// Whether the entries so far end within a batch.
    bool batchOpen() const { return open_ && !open_->complete(); }

private:
    /// One entry, by its fields.
    bool takeEntry(String const & place, RedisReply const & fields);
    /// A piece of a batch, by its kind: first, in between or last.
    bool takePiece(String const & place, std::string_view kind, U64 number, String piece,
                   std::string_view id);
    /// The first piece of a batch: what was open is given up.
    void start(String const & place, String piece, std::string_view id);
    /// The last piece: applies the batch; whether it fits.
    bool finish(String piece);
    /// Tells why the stream cannot be followed here.
    void lose(String const & why);

    Replica * replica_;
    Report report_;
    StreamPosition position_;
    std::optional<StagedBatch> open_;
    /// The number that the next piece of the open batch must have.
    U64 nextPiece_ = 0;
    bool lost_ = false;
    bool doubt_ = false;
};

} // namespace Qcf::Mirror
