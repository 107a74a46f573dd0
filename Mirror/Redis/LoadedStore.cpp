#include "Mirror/Redis/LoadedStore.h"

#include <algorithm>
#include <array>

/// A writer and whoever asks what a writer would do must come to the same: both look here.
namespace Qcf::Mirror {

namespace {

// As the script that takes the lead has it.
constexpr std::size_t longestStreamTime = 15;

/// A stream whose next entry could have no place.
bool isFull(RedisConnection & connection, String const & stream) {
    auto const facts = connection.command({"XINFO", "STREAM", stream});
    for (std::size_t i = 0; i + 1 < facts.size(); i += 2) {
        if (facts.at(i).text() == "last-generated-id") {
            return std::min(facts.at(i + 1).text().find('-'), facts.at(i + 1).text().size()) >
                   longestStreamTime;
        }
    }
    return false;
}

LoadedStore loadOnce(RedisConnection & connection, RedisKeys const & keys,
                     std::shared_ptr<BatchSigner const> const & signer, Report const & report) {
    LoadedStore store;
    store.replica = std::make_unique<Replica>(keys.name, signer);
    Report const told = [&](String const & line) {
        store.clean = false;
        report(line);
    };
    StreamReader reader(*store.replica, told);
    loadReplica(connection, keys, *store.replica, reader, told);
    store.state = readState(connection, keys);
    // Without its place in the stream, a snapshot would send readers to the stream's beginning.
    store.whole = store.state.exists() && store.replica->version() == store.state.version &&
                  store.state.position != StreamPosition();
    store.isEarlier = store.whole && store.replica->digest() != store.state.version.digest;
    return store;
}

} // namespace

String LoadedStore::trouble(RedisKeys const & keys) const {
    bool const isThere = state.exists() || replica->version().number != 0;
    if (!isThere || !isAnew()) {
        return {};
    }
    return "version " + std::to_string(state.version.number) + " of " + keys.name +
           (isEarlier ? " is of an earlier format" : " cannot be put together");
}

// Above both: the server may know a version that could not be put together, the replica one whose
// last step was not answered. A number that only a damaged state can have does not count; where a
// real version has the last one, going on would make a later version look earlier.
U64 versionAfter(RedisKeys const & keys, U64 state, U64 replica) {
    U64 const last = std::max(replica, state < lastVersion ? state : U64{0});
    if (last >= lastVersion) {
        throw MirrorError(
            keys.name + ": version " + std::to_string(last) +
            " is the last that there can be; take the name away with `redis-cli DEL " + keys.state +
            ' ' + keys.snapshot + ' ' + keys.changes + ' ' + keys.history + "` and publish again");
    }
    return last + 1;
}

U64 LoadedStore::nextVersion(RedisKeys const & keys) const {
    return versionAfter(keys, state.version.number, replica->version().number);
}

// A writer may go on meanwhile. Each try then finds a newer version.
LoadedStore loadStore(RedisConnection & connection, RedisKeys const & keys,
                      std::shared_ptr<BatchSigner const> const & signer, Report const & report) {
    constexpr int mostTries = 5;
    for (int i = 1;; ++i) {
        String const before = readState(connection, keys).version.id;
        auto store = loadOnce(connection, keys, signer, report);
        if (store.whole || store.state.version.id == before || i == mostTries) {
            return store;
        }
    }
}

RedisKeys usableKeys(RedisConnection & connection, RedisKeys const & keys, Report const & report) {
    RedisKeys usable = keys;
    std::array<String RedisKeys::*, 8> const all{
        &RedisKeys::writer,  &RedisKeys::changes, &RedisKeys::state,   &RedisKeys::snapshot,
        &RedisKeys::staging, &RedisKeys::readers, &RedisKeys::history, &RedisKeys::keptSnapshots};
    for (auto const each : all) {
        String & key = usable.*each;
        bool const isStream = each == &RedisKeys::changes;
        auto const reply = connection.command({"TYPE", key});
        bool const isThere = reply.text() != "none";
        bool const isRight = reply.text() == (isStream ? "stream" : "hash");
        if (isThere && (!isRight || (isStream && isFull(connection, key)))) {
            report(key + ": not as a writer leaves it, would be taken away");
            key += ".none";
        }
    }
    return usable;
}

} // namespace Qcf::Mirror
