#pragma once

#include "Mirror/ChangeSource.h"
#include "Mirror/Publisher.h"
#include "Mirror/Redis/RedisStore.h"

namespace Qcf::Mirror {

/// Another writer has taken the lead of the name; this one can change nothing any more.
class FencedError : public std::runtime_error {
public:
    explicit FencedError(String const & line) : std::runtime_error(line) {}
};

struct WriterSettings {
    /// How long a publication goes on trying while the server is away.
    std::chrono::milliseconds patience{10000};
    /// A snapshot of at most this size is written with every version; a larger one when the stream
    /// has grown by half of it since.
    U64 smallSnapshot = U64{256} << 10;
    /// Called after each step in the server; a hook for tests of what happens in between.
    std::function<void(char const * step)> afterStep = [](char const *) {};
};

struct PublishOutcome {
    bool changed = false;
    VersionId version;
    PublishCounts counts;
    U64 functions = 0; ///< now published
    U64 nodes = 0;
    U64 bytes = 0; ///< of the batch
    bool snapshot = false;
};

/// The writer of a published store in Redis.
///
/// A writer takes the lead when it first publishes, and whoever led before is fenced off: each step
/// is refused from a writer that no longer leads. A batch becomes the published state with its last
/// step; one that is cut short is never seen by readers, and the next publication starts from the
/// last complete one. Belongs to one thread.
class RedisWriter {
public:
    RedisWriter(RedisOptions options, String const & name, Report report,
                WriterSettings settings = {});

    /// Makes the program the published state, publishing what differs. Tries again while the server
    /// is away, up to the patience. Throws FencedError, RedisConnectionError, RedisRefusal.
    PublishOutcome publish(Documents::Program const & program);
    /// Makes what the status holds the published state, however it was filled: its functions under
    /// all their names, its nodes under their keys, markers and flags. No batch may be under way in
    /// it. Throws MirrorError, too, when it holds something that cannot be published; what was
    /// published before stays.
    PublishOutcome publish(AllFunctionStatus const & status);

    /// What this writer holds to be published.
    AllFunctionStatus const & status() const { return *replica_->status(); }

private:
    /// Makes the replica's status what is to be published; `version` is the one that comes next.
    using Change = std::function<PublishCounts(Replica & replica, U64 version)>;

    PublishOutcome persist(Change const & change);
    PublishOutcome attempt(Change const & change);
    PublishOutcome publishChanges(Change const & change);
    Batch takeBatch(U64 version);
    void open();
    void lead();
    void send(Batch const & batch);
    void step(char const * name, RedisScript const & script,
              RedisConnection::Arguments const & keys,
              RedisConnection::Arguments const & arguments);
    bool snapshotIsDue() const;
    void writeSnapshot();

    RedisOptions options_;
    RedisKeys keys_;
    Report report_;
    WriterSettings settings_;
    String token_; ///< empty before this writer has led
    std::unique_ptr<RedisConnection> connection_;
    std::unique_ptr<Replica> replica_;
    std::unique_ptr<ChangeSource> source_;
    PublishedState state_;
    bool whole_ = false; ///< whether the replica is what the server's state says
    std::optional<PublishOutcome> unconfirmed_;
};

} // namespace Qcf::Mirror
