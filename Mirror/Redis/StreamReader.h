#pragma once

#include "Mirror/Redis/RedisScripts.h"
#include "Mirror/Replica.h"

#include <functional>

namespace Qcf::Mirror {

/// Takes one line for the operator.
using Report = std::function<void(String const & line)>;

/// A place in a stream of Redis: two numbers, as "1700000000000-3".
struct StreamPosition {
    U64 time = 0;
    U64 count = 0;

    auto operator<=>(StreamPosition const &) const = default;
    String toString() const { return std::to_string(time) + "-" + std::to_string(count); }
    static std::optional<StreamPosition> parse(std::string_view text);
};

/// Follows the stream of changes from a position on: puts batches together from entries and applies
/// the complete ones to a replica. What does not belong there is told and passed over; what does
/// not fit makes the reader `lost`, until the replica is loaded anew.
class StreamReader {
public:
    StreamReader(Replica & replica, Report report)
        : replica_(&replica), report_(std::move(report)) {}

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
    bool batchOpen() const { return open_ && !open_->complete(); }

private:
    bool takeEntry(String const & place, RedisReply const & fields);
    bool takePiece(String const & place, std::string_view kind, U64 number, String piece,
                   std::string_view id);
    void start(String const & place, String piece, std::string_view id);
    bool finish(String piece);
    void lose(String const & why);

    Replica * replica_;
    Report report_;
    StreamPosition position_;
    std::optional<StagedBatch> open_;
    U64 nextPiece_ = 0;
    bool lost_ = false;
    bool doubt_ = false;
};

} // namespace Qcf::Mirror
