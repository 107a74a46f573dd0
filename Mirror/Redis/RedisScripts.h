#pragma once

#include "Mirror/Redis/RedisConnection.h"

namespace Qcf::Mirror {

/// The keys under which a published store stands in Redis. The braces keep them on one node of a
/// cluster. All of them begin with the name of the store; what each holds is said once, here.
struct RedisKeys {
    /// Throws RedisUrlError unless the name is 1 to 128 of letters, digits and `._-`. Names are
    /// part of keys, and of what people type.
    explicit RedisKeys(String const & named);

    String name;
    String writer;  ///< hash: epoch, token, who, since, keep
    String changes; ///< stream: entries b (batch id), n (piece number), k (kind), d (piece)
    String state; ///< hash: version, id, digest, position, functions, nodes, lists, markers, bytes
    String snapshot; ///< hash: version, id, digest, position, pieces, and the pieces by number
    String staging;  ///< the next snapshot while it is written
    String readers;  ///< hash: reader -> JSON of what it holds
    String history;  ///< hash: version -> JSON of what was published and where it ends
    /// hash: version -> position, of the snapshots that were replaced and are still needed
    String keptSnapshots;

    /// Where the replaced snapshot of that version stands.
    String keptSnapshot(U64 version) const { return keptSnapshots + "." + std::to_string(version); }
};

/// A step over several keys that is done wholly or not at all: a script that the server runs.
///
/// Every step of a writer proves with its token that it still leads the name; a writer that another
/// one has followed is refused with FENCED and can change nothing any more. So two writers never
/// mix their batches, even if one was only slow.
///
///     RedisReply const epoch = runScript(connection, scripts::lead, scriptKeys, arguments);
struct RedisScript {
    /// For messages and for tests of what happens in between.
    char const * name;
    /// The script itself, in the server's language.
    char const * text;
};

/// Each says beside its text what keys and arguments it takes and what it answers.
namespace scripts {
extern RedisScript const lead;   ///< takes the lead of a name and clears away what cannot be used
extern RedisScript const append; ///< puts a piece of a batch into the stream
extern RedisScript const
    finish;                     ///< the last piece, and with it the new state; answers its position
extern RedisScript const stage; ///< puts pieces of the next snapshot aside
extern RedisScript const snapshot; ///< makes what was put aside the snapshot, keeps the one before
extern RedisScript const report;   ///< notes what a reader holds, forgets silent ones
} // namespace scripts

/// Runs scripts by their hash; a server that does not know one yet is given its text. Throws as
/// RedisConnection::command does.
RedisReply runScript(RedisConnection & connection, RedisScript const & script,
                     RedisConnection::Arguments const & keys,
                     RedisConnection::Arguments const & arguments);

} // namespace Qcf::Mirror
