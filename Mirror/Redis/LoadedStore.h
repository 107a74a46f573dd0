#pragma once

#include "Mirror/Redis/RedisStore.h"

namespace Qcf::Mirror {

/// The last version that a name can have: markers of a status have 32 bits.
inline constexpr U64 lastVersion = ~U32{0};

/// What a server has under a name, as whoever publishes next finds it.
struct LoadedStore {
    /// As far as it can be put together; never null.
    std::unique_ptr<Replica> replica;
    PublishedState state;
    /// Whether nothing had to be worked around.
    bool clean = true;
    /// Whether the replica is what the state says.
    bool whole = false;
    /// Whether it was written with a digest that is none of today's.
    bool isEarlier = false;

    /// Whether a publication says everything, since nothing can build on what is there.
    bool isAnew() const { return !whole || isEarlier; }
    /// Why what is there is published anew, in words; empty where it is not, or there is nothing.
    String trouble(RedisKeys const & keys) const;
    /// The number of the version that a publication would make. Throws MirrorError where numbers
    /// are at their end.
    U64 nextVersion(RedisKeys const & keys) const;
};

/// The number above those that count of a state and a replica. Throws MirrorError where there is
/// none.
U64 versionAfter(RedisKeys const & keys, U64 state, U64 replica);

/// Reads what the server has. With a signer nothing counts that was not signed by its key. Throws
/// what a connection throws; tells of what it has to work around.
LoadedStore loadStore(RedisConnection & connection, RedisKeys const & keys,
                      std::shared_ptr<BatchSigner const> const & signer, Report const & report);

/// The keys as they are once a writer has taken away what it cannot use: in the place of such a key
/// stands one that holds nothing. Changes nothing, and tells of each. Throws what a connection
/// throws.
RedisKeys usableKeys(RedisConnection & connection, RedisKeys const & keys, Report const & report);

} // namespace Qcf::Mirror
