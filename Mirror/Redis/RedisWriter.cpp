#include "Mirror/Redis/RedisWriter.h"

#include "Mirror/Redis/LoadedStore.h"
#include "Mirror/Redis/Patience.h"
#include "Mirror/StatusCopy.h"

#include <array>

#include <unistd.h>

/// The order of steps is what matters here: lead, load what the server has, change the replica,
/// send the batch, and then the snapshot. Whatever fails on the way costs the connection, and the
/// next try starts from what the server has.
namespace Qcf::Mirror {

namespace {

String whoWrites() {
    std::array<char, 256> host{};
    ::gethostname(host.data(), host.size() - 1);
    return String(host.data()) + ":" + std::to_string(::getpid());
}

/// A part was refused, and nothing was changed for it.
class PartRefusal : public MirrorError {
public:
    using MirrorError::MirrorError;
};

[[noreturn]] void endFenced(String const & name) {
    throw FencedError(name + ": another writer has taken the lead; nothing of this publication was "
                             "made visible by this writer");
}

} // namespace

RedisWriter::RedisWriter(RedisOptions options, String const & name, Report report,
                         WriterSettings settings)
    : options_(std::move(options)),
      keys_(name),
      report_(std::move(report)),
      settings_(std::move(settings)),
      replica_(std::make_unique<Replica>(name, settings_.signer)) {}

PublishOutcome RedisWriter::publish(Documents::Program const & program,
                                    std::vector<Lists::ListRecord> lists,
                                    PlaceOfNode const & placeOf) {
    note_.clear();
    // Made once, whatever the number of tries.
    PublishedLists const published = publishedLists(std::move(lists), {});
    return persist([&](Replica & replica, U64 version) {
        replica.listsIs(published);
        auto const counts = publishProgram(program, *replica.status(), replica.digests(),
                                           static_cast<U32>(version));
        replica.placesIs(placeOf ? placesOf(program, *replica.status(), placeOf, replica.places())
                                 : VersionPlaces());
        return counts;
    });
}

PublishOutcome RedisWriter::publishPart(Documents::Program const & part,
                                        std::vector<String> const & gone,
                                        PlaceOfNode const & placeOf) {
    note_.clear();
    return persist([&](Replica & replica, U64 version) {
        if (!parts_) {
            parts_ = std::make_unique<PartPublisher>(replica.status());
        }
        PublishCounts counts;
        try {
            counts = parts_->publish(part, gone, static_cast<U32>(version));
        } catch (MirrorError const & error) {
            throw PartRefusal(error.what());
        }
        replica.placesIs(placesWithPart(part, gone, *replica.status(), placeOf, replica.places()));
        return counts;
    });
}

PublishOutcome RedisWriter::publish(AllFunctionStatus const & status) {
    note_.clear();
    return persist([&](Replica & replica, U64) {
        replica.listsIs({});
        replica.placesIs({});
        return copyStatus(status, *replica.status());
    });
}

// The markers are those of a new publication: they only rise, whatever the content goes back to.
PublishOutcome RedisWriter::restore(Replica & kept) {
    note_ = "rollback to version " + std::to_string(kept.version().number);
    return persist([&](Replica & replica, U64 version) {
        // Not those of the versions, which may be of different formats.
        bool const isLive = replica.digest() == kept.digest();
        if (isLive && placesThatDiffer(replica.places(), kept.places()) == 0) {
            return PublishCounts();
        }
        replica.listsIs(kept.lists());
        replica.placesIs(kept.places());
        auto const counts = copyStatus(*kept.status(), *replica.status());
        replica.status()->startOfDedupedFunctionUpdatesMarkerIs(static_cast<U32>(version));
        replica.status()->endOfDedupedFunctionUpdatesMarkerIs(static_cast<U32>(version));
        return counts;
    });
}

PublishOutcome RedisWriter::persist(Change const & change) {
    return withPatience(settings_.patience, report_, [&] {
        try {
            return attempt(change);
        } catch (RedisRefusal const & refusal) {
            connection_.reset();
            // Not tried again: whoever took the lead did so later.
            if (refusal.is("FENCED")) {
                endFenced(keys_.name);
            }
            throw;
        } catch (PartRefusal const &) {
            throw;
        } catch (std::runtime_error const &) {
            // What the server has is not known, or the replica may be half changed.
            connection_.reset();
            throw;
        }
    });
}

// The snapshot comes after the version counts: a writer that dies in between leaves readers with
// the stream, which leads there.
PublishOutcome RedisWriter::attempt(Change const & change) {
    if (!connection_) {
        open();
    } else if (readState(*connection_, keys_).version.number > state_.version.number) {
        // What this one knows is no longer so: it must not say that nothing differs from that.
        endFenced(keys_.name);
    }
    PublishOutcome outcome = publishChanges(change);
    state_ = readState(*connection_, keys_);
    // Whoever took the lead meanwhile may be ahead.
    if (state_.version.number < outcome.version.number) {
        throw MirrorError(keys_.name + ": version " + std::to_string(outcome.version.number) +
                          " was written, and the server shows version " +
                          std::to_string(state_.version.number) +
                          "; it does not keep what it takes");
    }
    keepHistory(whoWrites(), false);
    if (snapshotIsDue()) {
        writeSnapshot();
        outcome.snapshot = true;
    }
    keepHistory(whoWrites(), true);
    // Everything was answered.
    unconfirmed_.reset();
    return outcome;
}

// From the change on the replica is ahead of the server, until the last step was answered: whoever
// throws in between loses the connection, and with it the replica.
PublishOutcome RedisWriter::publishChanges(Change const & change) {
    U64 const version = versionAfter(keys_, state_.version.number, replica_->version().number);
    PublishOutcome outcome;
    PublishedLists const lists = replica_->lists();
    VersionPlaces const places = replica_->places();
    outcome.counts = change(*replica_, version);
    outcome.placesSet = placesThatDiffer(places, replica_->places());
    if (source_->hasChanges() || !whole_ || !sameLists(lists, replica_->lists()) ||
        outcome.placesSet != 0) {
        Batch const batch = takeBatch(version, lists, places);
        outcome.changed = true;
        outcome.version = batch.version();
        outcome.functions = batch.functions;
        outcome.nodes = batch.nodes;
        outcome.lists = batch.lists;
        outcome.listCounts = batch.listCounts;
        outcome.bytes = batch.bytes();
        unconfirmed_ = outcome;
        send(batch);
        replica_->versionIs(batch.version());
        whole_ = true;
    } else if (unconfirmed_ && unconfirmed_->version == replica_->version()) {
        outcome = *unconfirmed_; // it was done, only the answer was lost
    } else {
        AetCollections const * const store = storeOf(status());
        outcome.functions = status().aet().size();
        outcome.nodes = store != nullptr ? store->size() : 0;
        outcome.lists = replica_->lists().size();
    }
    outcome.version = replica_->version();
    return outcome;
}

Batch RedisWriter::takeBatch(U64 version, PublishedLists const & lists,
                             VersionPlaces const & places) {
    bool const buildsOn = whole_ && !source_->replaced();
    BatchStart const start{version, newBatchId(), buildsOn ? replica_->version().id : String()};
    Batch batch = source_->takeBatch(start, replica_->digest(), {lists, replica_->lists()},
                                     {places, replica_->places()});
    if (AetCollections * const store = storeOf(status())) {
        // The store's own record of changes is of no use here and would grow.
        store->dirtyCollKeysDel();
    }
    return batch;
}

void RedisWriter::open() {
    auto connection = std::make_unique<RedisConnection>(options_);
    // In place at once, because the steps below use the member.
    std::swap(connection_, connection);
    lead();
    // They follow the replica that goes.
    source_.reset();
    parts_.reset();
    // What the server has is the truth, whatever this writer had before.
    LoadedStore store = loadStore(*connection_, keys_, settings_.signer, report_);
    // Behind its place the stream goes on: one that lies beyond the state leads nobody there.
    snapshotIsGood_ =
        store.clean && !(readSnapshotState(*connection_, keys_).position > store.state.position);
    whole_ = !store.isAnew();
    if (String const trouble = store.trouble(keys_); !trouble.empty()) {
        report_(trouble + "; everything is published anew");
    }
    replica_ = std::move(store.replica);
    state_ = std::move(store.state);
    source_ = std::make_unique<ChangeSource>(replica_->status());
    source_->signerIs(settings_.signer);
    // What a writer published that died before it noted it, or that knew of no history.
    bool const isOwn = unconfirmed_ && unconfirmed_->version == state_.version;
    keepHistory(isOwn ? whoWrites() : String(), false);
}

// The version counts already, so that a refusal here takes nothing back: it is told. Whoever takes
// the lead meanwhile notes the version itself.
void RedisWriter::keepHistory(String const & who, bool forgets) {
    auto const run = [this](auto const &... arguments) { step(arguments...); };
    try {
        forgets ? forgetUnkept(*connection_, run, keys_)
                : noteLiveVersion(run, keys_, who, who.empty() ? String() : note_,
                                  settings_.keptVersions);
    } catch (RedisRefusal const & refusal) {
        if (passes(refusal)) {
            throw;
        }
        if (!refusal.is("FENCED")) {
            report_(keys_.name + ": the history is not kept: " + refusal.what());
        }
    }
}

// A writer that comes back leads on only if nobody else has led meanwhile.
void RedisWriter::lead() {
    // Another token each time: late steps of an earlier connection are refused, too.
    String const token = newBatchId();
    auto const answer =
        runScript(*connection_, scripts::lead,
                  {keys_.writer, keys_.changes, keys_.state, keys_.snapshot, keys_.staging,
                   keys_.readers, keys_.history, keys_.keptSnapshots},
                  {token, whoWrites(), token_});
    for (std::size_t i = 1; i < answer.size(); ++i) {
        report_(String(answer.at(i).text()) + ": not as a writer leaves it, taken away");
    }
    token_ = token;
    settings_.afterStep("lead");
}

void RedisWriter::step(char const * name, RedisScript const & script,
                       RedisConnection::Arguments const & keys,
                       RedisConnection::Arguments const & arguments) {
    // Every script proves first that this writer still leads.
    RedisConnection::Arguments all{token_};
    all.insert(all.end(), arguments.begin(), arguments.end());
    runScript(*connection_, script, keys, all);
    settings_.afterStep(name);
}

void RedisWriter::send(Batch const & batch) {
    String const version = std::to_string(batch.start.version);
    RedisConnection::Arguments const keys{keys_.writer, keys_.changes, keys_.state};
    // The last piece makes the batch the published state in the same step.
    for (std::size_t i = 0; i + 1 < batch.pieces.size(); ++i) {
        char const * const kind = i == 0 ? "start" : "part";
        step(kind, scripts::append, keys,
             {batch.start.id, std::to_string(i), kind, batch.pieces[i], version});
    }
    step("end", scripts::finish, keys,
         {batch.start.id, std::to_string(batch.pieces.size() - 1), batch.pieces.back(), version,
          batch.digest.toString(), std::to_string(batch.functions), std::to_string(batch.nodes),
          std::to_string(batch.lists)});
}

// A reader that comes late reads the snapshot and the stream behind it: the longer that is, the
// more a new snapshot saves. A reader that is stuck cannot go on without one, and whoever comes
// needs a good one: the stream need not reach back to where it would do without.
bool RedisWriter::snapshotIsDue() const {
    if (!snapshotIsGood_) {
        return true;
    }
    auto const snapshot = readSnapshotState(*connection_, keys_);
    if (snapshot.id == state_.version.id) {
        return false;
    }
    if (snapshot.id.empty() || snapshot.bytes <= settings_.smallSnapshot ||
        state_.bytesSinceSnapshot >= snapshot.bytes / 2) {
        return true;
    }
    auto const readers = readReaders(*connection_, keys_);
    return std::any_of(readers.begin(), readers.end(),
                       [](ReaderState const & reader) { return reader.stuck; });
}

// Aside first: until the last step readers have the one before.
void RedisWriter::writeSnapshot() {
    VersionId const & version = replica_->version();
    Batch const all = source_->snapshot({version.number, version.id, ""}, version.digest,
                                        replica_->lists(), replica_->places());
    RedisConnection::Arguments const staging{keys_.writer, keys_.staging};
    step("snapshot start", scripts::stage, staging,
         {"first", "id", version.id, "version", std::to_string(version.number), "digest",
          version.digest.toString(), "position", state_.position.toString(), "pieces",
          std::to_string(all.pieces.size()), "bytes", std::to_string(all.bytes())});
    for (std::size_t i = 0; i < all.pieces.size(); ++i) {
        step("snapshot part", scripts::stage, staging,
             {"more", "piece " + std::to_string(i), all.pieces[i]});
    }
    U64 const before = readSnapshotState(*connection_, keys_).version;
    String const kept = keys_.keptSnapshot(before);
    step("snapshot end", scripts::snapshot,
         {keys_.writer, keys_.staging, keys_.snapshot, keys_.state, keys_.keptSnapshots, kept},
         {version.id, std::to_string(before)});
    snapshotIsGood_ = true;
}

} // namespace Qcf::Mirror
