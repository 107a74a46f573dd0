#pragma once

#include "Mirror/Redis/RedisStore.h"

#include <functional>

namespace Qcf::Mirror {

/// The versions of a name that one can go back to, as the server keeps them.
///
///     for (KeptVersion const & kept : readHistory(connection, keys)) { ... }
///     auto const old = loadKeptVersion(connection, keys, kept, report);
///     writer.restore(*old); // its content becomes the next version
///
/// Nothing is kept twice. A version is what a snapshot and the batches behind it come to: the
/// stream therefore reaches back to the oldest kept version, and of the snapshots that were
/// replaced those stay that are needed to begin with.
struct KeptVersion {
    VersionId version;
    StreamPosition position; ///< of its last entry in the stream
    U64 functions = 0;
    U64 nodes = 0;
    U64 lists = 0;
    U64 published = 0; ///< seconds since 1970, by the server's clock
    String writer;     ///< who published it; empty when nobody noted that
    String note;       ///< why, where it is another reason than a new policy; or empty
};

/// What is kept, the oldest first; the last one is what is live, unless a writer died before it
/// noted that. Records that cannot be read are left out. Throws what a connection throws.
std::vector<KeptVersion> readHistory(RedisConnection & connection, RedisKeys const & keys);

/// A kept version as it was, in a copy of its own. Throws MirrorError when what it was made of is
/// no longer there, and what a connection throws. With a signer nothing counts that was not signed
/// by its key. Tells what it has to work around.
std::unique_ptr<Replica> loadKeptVersion(RedisConnection & connection, RedisKeys const & keys,
                                         KeptVersion const & kept,
                                         std::shared_ptr<BatchSigner const> signer,
                                         Report const & report);

/// Runs a script as the writer that leads the name: its token goes before the arguments.
using WriterStep = std::function<void(char const * name, RedisScript const & script,
                                      RedisConnection::Arguments const & keys,
                                      RedisConnection::Arguments const & arguments)>;

/// Notes what is live among what is kept, of which the newest `most` stay, at least one; where that
/// is missing, as many as was said last, and 20 before anybody did. Asking again changes nothing.
/// Throws what the step throws.
void noteLiveVersion(WriterStep const & step, RedisKeys const & keys, String const & who,
                     String const & note, std::optional<U64> most);

/// Lets those snapshots and batches go that no kept version needs. To be called when the live
/// version is noted. Throws what a connection and the step throw.
void forgetUnkept(RedisConnection & connection, WriterStep const & step, RedisKeys const & keys);

} // namespace Qcf::Mirror
