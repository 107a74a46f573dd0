#include "Mirror/Redis/RedisWriter.h"

#include "Mirror/StatusCopy.h"

#include <array>
#include <thread>

#include <unistd.h>

/// The order of steps is what matters here: lead, load what the server has, change the replica,
/// send the batch, and then the snapshot. Whatever fails on the way costs the connection, and the
/// next try starts from what the server has.
namespace Qcf::Mirror {

namespace {

/// Refusals of a server that will soon answer.
bool passes(RedisRefusal const & refusal) {
    constexpr std::array codes{"LOADING", "BUSY", "TRYAGAIN", "MASTERDOWN", "CLUSTERDOWN"};
    return std::any_of(codes.begin(), codes.end(),
                       [&](char const * code) { return refusal.is(code); });
}

String whoWrites() {
    std::array<char, 256> host{};
    ::gethostname(host.data(), host.size() - 1);
    return String(host.data()) + ":" + std::to_string(::getpid());
}

} // namespace

RedisWriter::RedisWriter(RedisOptions options, String const & name, Report report,
                         WriterSettings settings)
    : options_(std::move(options)),
      keys_(name),
      report_(std::move(report)),
      settings_(std::move(settings)),
      replica_(std::make_unique<Replica>(name)) {}

PublishOutcome RedisWriter::publish(Documents::Program const & program) {
    return persist([&](Replica & replica, U64 version) {
        return publishProgram(program, *replica.status(), replica.digests(),
                              static_cast<U32>(version));
    });
}

PublishOutcome RedisWriter::publish(AllFunctionStatus const & status) {
    return persist([&](Replica & replica, U64) { return copyStatus(status, *replica.status()); });
}

PublishOutcome RedisWriter::persist(Change const & change) {
    // NOLINTNEXTLINE(clang-analyzer-deadcode.DeadStores): read where an attempt fails
    auto const deadline = std::chrono::steady_clock::now() + settings_.patience;
    // Waits double, so that a server that starts is not held up by those who ask whether it has.
    for (auto pause = std::chrono::milliseconds(20);; pause *= 2) {
        String trouble;
        try {
            return attempt(change);
        } catch (RedisConnectionError const & error) {
            trouble = error.what();
        } catch (RedisRefusal const & refusal) {
            connection_.reset();
            // Not tried again: whoever took the lead did so later.
            if (refusal.is("FENCED")) {
                throw FencedError(keys_.name + ": another writer has taken the lead; nothing of "
                                               "this publication was made visible by this writer");
            }
            if (!passes(refusal)) {
                throw;
            }
            trouble = refusal.what();
        } catch (MirrorError const &) {
            // Trying again would end the same way, and the replica may be half changed.
            connection_.reset();
            throw;
        }
        connection_.reset();
        if (std::chrono::steady_clock::now() + pause >= deadline) {
            throw RedisConnectionError(trouble);
        }
        report_(trouble + "; trying again");
        std::this_thread::sleep_for(pause);
    }
}

// The snapshot comes after the version counts: a writer that dies in between leaves readers with
// the stream, which leads there.
PublishOutcome RedisWriter::attempt(Change const & change) {
    if (!connection_) {
        open();
    }
    PublishOutcome outcome = publishChanges(change);
    state_ = readState(*connection_, keys_);
    if (snapshotIsDue()) {
        writeSnapshot();
        outcome.snapshot = true;
    }
    // Everything was answered.
    unconfirmed_.reset();
    return outcome;
}

// From the change on the replica is ahead of the server, until the last step was answered: whoever
// throws in between loses the connection, and with it the replica.
PublishOutcome RedisWriter::publishChanges(Change const & change) {
    // Above both: the server may know a version that could not be put together, the replica one
    // whose last step was not answered.
    U64 const version = std::max(state_.version.number, replica_->version().number) + 1;
    PublishOutcome outcome;
    outcome.counts = change(*replica_, version);
    if (source_->hasChanges() || !whole_) {
        Batch const batch = takeBatch(version);
        outcome.changed = true;
        outcome.version = batch.version();
        outcome.functions = batch.functions;
        outcome.nodes = batch.nodes;
        outcome.bytes = batch.bytes();
        unconfirmed_ = outcome;
        send(batch);
        replica_->versionIs(batch.version());
        replica_->digests().keepInUse();
        whole_ = true;
    } else if (unconfirmed_ && unconfirmed_->version == replica_->version()) {
        outcome = *unconfirmed_; // it was done, only the answer was lost
    } else {
        AetCollections const * const store = storeOf(status());
        outcome.functions = status().aet().size();
        outcome.nodes = store != nullptr ? store->size() : 0;
    }
    outcome.version = replica_->version();
    return outcome;
}

Batch RedisWriter::takeBatch(U64 version) {
    bool const buildsOn = whole_ && !source_->replaced();
    BatchStart const start{version, newBatchId(), buildsOn ? replica_->version().id : String()};
    Batch batch = source_->takeBatch(start, replica_->digest());
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
    // It follows the replica that goes.
    source_.reset();
    // What the server has is the truth, whatever this writer had before.
    replica_ = std::make_unique<Replica>(keys_.name);
    StreamReader reader(*replica_, report_);
    loadReplica(*connection_, keys_, *replica_, reader, report_);
    state_ = readState(*connection_, keys_);
    whole_ = state_.exists() && replica_->version() == state_.version;
    if (!whole_ && (state_.exists() || replica_->version().number != 0)) {
        report_("version " + std::to_string(state_.version.number) + " of " + keys_.name +
                " cannot be put together; everything is published anew");
    }
    source_ = std::make_unique<ChangeSource>(replica_->status());
}

// A writer that comes back leads on only if nobody else has led meanwhile.
void RedisWriter::lead() {
    // Another token each time: late steps of an earlier connection are refused, too.
    String const token = newBatchId();
    runScript(*connection_, scripts::lead, {keys_.writer}, {token, whoWrites(), token_});
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
          batch.digest.toString(), std::to_string(batch.functions), std::to_string(batch.nodes)});
}

// A reader that comes late reads the snapshot and the stream behind it: the longer that is, the
// more a new snapshot saves. A reader that is stuck cannot go on without one.
bool RedisWriter::snapshotIsDue() const {
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
    Batch const all = source_->snapshot({version.number, version.id, ""}, version.digest);
    RedisConnection::Arguments const staging{keys_.writer, keys_.staging};
    step("snapshot start", scripts::stage, staging,
         {"first", "id", version.id, "version", std::to_string(version.number), "digest",
          version.digest.toString(), "position", state_.position.toString(), "pieces",
          std::to_string(all.pieces.size()), "bytes", std::to_string(all.bytes())});
    for (std::size_t i = 0; i < all.pieces.size(); ++i) {
        step("snapshot part", scripts::stage, staging,
             {"more", "piece " + std::to_string(i), all.pieces[i]});
    }
    step("snapshot end", scripts::snapshot,
         {keys_.writer, keys_.staging, keys_.snapshot, keys_.changes, keys_.state}, {version.id});
}

} // namespace Qcf::Mirror
