#pragma once

#include "Mirror/ChangeSource.h"
#include "Mirror/PartPublisher.h"
#include "Mirror/ProgramPublication.h"
#include "Mirror/Redis/RedisHistory.h"

namespace Qcf::Mirror {

/// Another writer has taken the lead of the name; this one can change nothing any more.
class FencedError : public std::runtime_error {
public:
    explicit FencedError(String const & line) : std::runtime_error(line) {}
};

/// How a writer behaves; good as it is.
struct WriterSettings {
    /// How long a publication goes on trying while the server is away.
    std::chrono::milliseconds patience{10000};
    /// A snapshot of at most this size is written with every version; a larger one when the stream
    /// has grown by half of it since.
    U64 smallSnapshot = U64{256} << 10;
    /// Signs what is published, and takes over nothing that was not signed by its key; null for
    /// neither.
    std::shared_ptr<BatchSigner const> signer = nullptr;
    /// How many versions one can go back to, the live one among them; at least 1. What is missing
    /// is as the name's last writer set it, which is 20 where none did.
    std::optional<U64> keptVersions = {};
    /// Called after each step in the server; a hook for tests of what happens in between.
    std::function<void(char const * step)> afterStep = [](char const *) {};
};

/// What a publication came to.
struct PublishOutcome {
    /// Whether there is a new version.
    bool changed = false;
    VersionId version;
    PublishCounts counts;
    ListCounts listCounts;
    U64 placesSet = 0; ///< functions that stand elsewhere in their texts, or their nodes do
    U64 functions = 0; ///< now published
    U64 nodes = 0;
    U64 lists = 0;
    U64 bytes = 0; ///< of the batch
    bool snapshot = false;
};

/// The writer of a published store in Redis.
///
///     RedisWriter writer(RedisOptions::parse(url), "policies", report);
///     PublishOutcome const outcome = writer.publish(program);
///
/// A writer takes the lead when it first publishes, and whoever led before is fenced off: each step
/// is refused from a writer that no longer leads. A batch becomes the published state with its last
/// step; one that is cut short is never seen by readers, and the next publication starts from the
/// last complete one. Belongs to one thread.
///
/// What it publishes is kept in a replica of its own, so that only what differs travels. Publishing
/// what is there already makes no version.
class RedisWriter {
public:
    RedisWriter(RedisOptions options, String const & name, Report report,
                WriterSettings settings = {});

    /// Makes the program and the lists the published state, publishing what differs. Each list is
    /// named once; `placeOf` tells where nodes stand in a text, which readers are then told, too.
    /// Tries again while the server is away, up to the patience. Throws FencedError,
    /// RedisConnectionError, RedisRefusal, and MirrorError for what cannot be published.
    PublishOutcome publish(Documents::Program const & program,
                           std::vector<Lists::ListRecord> lists = {},
                           PlaceOfNode const & placeOf = {});
    /// Publishes some functions and takes names away, as PartPublisher does; all others, and the
    /// lists, stay as they are. The first one counts what is published, each one after it costs
    /// what it changes. The given functions stand where `placeOf` says, and nowhere without it.
    /// Throws as above, and MirrorError for whatever PartPublisher refuses; the next one goes on
    /// from there.
    PublishOutcome publishPart(Documents::Program const & part, std::vector<String> const & gone,
                               PlaceOfNode const & placeOf = {});
    /// Makes what the status holds the published state, however it was filled: its functions under
    /// all their names, its nodes under their keys, markers and flags. No batch may be under way in
    /// it. A status has no lists and no places, and the version then has none. Throws as above;
    /// what was published before stays.
    PublishOutcome publish(AllFunctionStatus const & status);
    /// Makes what a version was the published state again, as the next version. Nothing when its
    /// content is what is published. Throws as above.
    PublishOutcome restore(Replica & kept);

    /// What this writer holds to be published.
    AllFunctionStatus const & status() const { return *replica_->status(); }

private:
    /// Makes the replica's status what is to be published; `version` is the one that comes next.
    using Change = std::function<PublishCounts(Replica & replica, U64 version)>;

    /// Tries until it succeeds, the patience ends or trying is of no use.
    PublishOutcome persist(Change const & change);
    /// One try: leads, catches up, changes the replica and sends what changed.
    PublishOutcome attempt(Change const & change);
    PublishOutcome publishChanges(Change const & change);
    /// Takes what is live down as a version to go back to; `forgets` lets go of what is beyond.
    void keepHistory(String const & who, bool forgets);
    /// The changes as a batch that makes that version; `lists` and `places` are those before.
    Batch takeBatch(U64 version, PublishedLists const & lists, VersionPlaces const & places);
    /// Connects where there is no connection.
    void open();
    /// Takes the lead of the name.
    void lead();
    /// Puts a batch into the stream piece by piece.
    void send(Batch const & batch);
    /// Runs a script and calls `afterStep`.
    void step(char const * name, RedisScript const & script,
              RedisConnection::Arguments const & keys,
              RedisConnection::Arguments const & arguments);
    /// Whether the stream has grown enough.
    bool snapshotIsDue() const;
    /// Writes what is published as the new snapshot, piece by piece, aside until it is whole.
    void writeSnapshot();

    RedisOptions options_;
    RedisKeys keys_;
    Report report_;
    WriterSettings settings_;
    String token_; ///< empty before this writer has led
    std::unique_ptr<RedisConnection> connection_;
    std::unique_ptr<Replica> replica_;
    std::unique_ptr<ChangeSource> source_;
    std::unique_ptr<PartPublisher> parts_; ///< null before the first part
    /// As this writer knows the server's.
    PublishedState state_;
    /// Whether those who begin with the snapshot have nothing to work around.
    bool snapshotIsGood_ = true;
    bool whole_ = false; ///< whether the replica is what the server's state says
    std::optional<PublishOutcome> unconfirmed_;
    String note_; ///< of the publication under way, for the history
};

} // namespace Qcf::Mirror
