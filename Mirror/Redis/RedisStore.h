#pragma once

#include "Mirror/Redis/StreamReader.h"

namespace Qcf::Mirror {

/// What a name's state says in Redis: the newest complete batch. It is written with the last step
/// of a batch, so that a batch that was cut short is never part of it.
struct PublishedState {
    VersionId version;       ///< number 0 when nothing is published
    StreamPosition position; ///< of the batch's last entry
    U64 functions = 0;
    U64 nodes = 0;
    U64 lists = 0;
    U64 startMarker = 0; ///< ahead of the end marker while a batch is under way, or was given up
    U64 endMarker = 0;
    /// What decides when the next snapshot is due.
    U64 bytesSinceSnapshot = 0;
    U64 published = 0; ///< seconds since 1970, by the server's clock

    /// Whether anything was ever published.
    bool exists() const { return version.number != 0; }
};

/// What the snapshot of a name is: everything up to a place in the stream, for readers who come
/// late.
struct SnapshotState {
    String id; ///< empty when there is none
    U64 version = 0;
    StreamPosition position;
    U64 bytes = 0;
};

/// What a reader last said of itself.
struct ReaderState {
    String name;
    U64 version = 0;
    String digest;
    /// In the stream, as it told.
    String position;
    bool stuck = false; ///< it waits for a snapshot
    /// Since it was last heard of.
    U64 silentSeconds = 0;
};

/// All that can be told about a name, for people and for watching.
struct RedisStatus {
    /// What was published last.
    PublishedState state;
    /// From what readers start.
    SnapshotState snapshot;
    String writer; ///< who led last; empty for nobody
    /// Rises by one with each writer that takes the lead.
    U64 epoch = 0;
    /// Entries in the stream, of finished batches and of others.
    U64 streamEntries = 0;
    /// Who follows, as far as they said so lately.
    std::vector<ReaderState> readers;
};

/// Asks the server about a key; where that holds another type than a writer leaves there, the
/// refusal names the key and says what becomes of it.
RedisReply askKey(RedisConnection & connection, String const & key,
                  RedisConnection::Arguments const & command,
                  std::chrono::milliseconds longer = {});

/// What is published under the name. Each of these asks the server once or twice, and throws what a
/// connection throws.
PublishedState readState(RedisConnection & connection, RedisKeys const & keys);
/// Which snapshot there is.
SnapshotState readSnapshotState(RedisConnection & connection, RedisKeys const & keys);
/// The readers that were not forgotten.
std::vector<ReaderState> readReaders(RedisConnection & connection, RedisKeys const & keys);
/// All of it, as `qcf status` tells it.
RedisStatus readStatus(RedisConnection & connection, RedisKeys const & keys);

/// Applies a snapshot, as HGETALL answers it, to an empty replica; answers where the stream goes
/// on. Throws MirrorError for one that is not whole: the replica is then as empty as before.
StreamPosition applySnapshot(RedisReply const & snapshot, Replica & replica);

/// Fills an empty replica from the snapshot, if there is a good one, and the stream behind it up to
/// its end. `reader` then stands at that end. What makes no version is reported, and the replica
/// then has none that the caller would want: whoever loads compares versions. Writers may go on
/// meanwhile: what they add is read, too.
void loadReplica(RedisConnection & connection, RedisKeys const & keys, Replica & replica,
                 StreamReader & reader, Report const & report);

/// Entries behind a position as the server answers XREAD or XRANGE, without waiting or for at most
/// so long. Up to a bounded number at once.
RedisReply readEntries(RedisConnection & connection, RedisKeys const & keys,
                       StreamPosition const & position, std::chrono::milliseconds wait);

} // namespace Qcf::Mirror
