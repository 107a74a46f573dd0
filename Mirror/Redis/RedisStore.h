#pragma once

#include "Mirror/Redis/StreamReader.h"

namespace Qcf::Mirror {

/// What a name's state says in Redis: the newest complete batch.
struct PublishedState {
    VersionId version;       ///< number 0 when nothing is published
    StreamPosition position; ///< of the batch's last entry
    U64 functions = 0;
    U64 nodes = 0;
    U64 startMarker = 0; ///< ahead of the end marker while a batch is under way, or was given up
    U64 endMarker = 0;
    U64 bytesSinceSnapshot = 0;
    U64 published = 0; ///< seconds since 1970, by the server's clock

    bool exists() const { return version.number != 0; }
};

struct SnapshotState {
    String id; ///< empty when there is none
    U64 version = 0;
    StreamPosition position;
    U64 bytes = 0;
};

struct ReaderState {
    String name;
    U64 version = 0;
    String digest;
    String position;
    bool stuck = false; ///< it waits for a snapshot
    U64 silentSeconds = 0;
};

/// All that can be told about a name.
struct RedisStatus {
    PublishedState state;
    SnapshotState snapshot;
    String writer; ///< who led last; empty for nobody
    U64 epoch = 0;
    U64 streamEntries = 0;
    std::vector<ReaderState> readers;
};

PublishedState readState(RedisConnection & connection, RedisKeys const & keys);
SnapshotState readSnapshotState(RedisConnection & connection, RedisKeys const & keys);
std::vector<ReaderState> readReaders(RedisConnection & connection, RedisKeys const & keys);
RedisStatus readStatus(RedisConnection & connection, RedisKeys const & keys);

/// Fills an empty replica from the snapshot, if there is a good one, and the stream behind it up to
/// its end. `reader` then stands at that end.
void loadReplica(RedisConnection & connection, RedisKeys const & keys, Replica & replica,
                 StreamReader & reader, Report const & report);

/// Entries behind a position, at most so many, without waiting or for at most so long.
RedisReply readEntries(RedisConnection & connection, RedisKeys const & keys,
                       StreamPosition const & position, std::chrono::milliseconds wait);

} // namespace Qcf::Mirror
