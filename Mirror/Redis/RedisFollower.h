#pragma once

#include "Mirror/FollowedStore.h"
#include "Mirror/Redis/RedisStore.h"

namespace Qcf::Mirror {

/// How a follower behaves; good as it is.
struct FollowerSettings {
    /// What the reader is called in `status`; empty for host and process.
    String reader;
    /// How often a quiet reader compares itself with the published state, and says that it is
    /// there.
    /// A tenth of that where it has read entries behind that state, or waits for a snapshot.
    std::chrono::milliseconds checkInterval{5000};
    /// How long it waits before it connects again.
    std::chrono::milliseconds retryDelay{500};
    /// Silent readers are forgotten after this time.
    std::chrono::seconds forgetAfter{600};
};

/// A reader of a published store in Redis: keeps a mirror in step with it.
///
///     FollowedStore store("policies"); // the name that it is published under
///     RedisFollower follower(RedisOptions::parse(url), store, report);
///     while (running) {
///         follower.poll(std::chrono::milliseconds(200));
///     }
///
/// What is wrong with the access (password, account, certificate, files) before there ever was a
/// connection throws RedisAccessError. Other faults never throw: what goes wrong is told by
/// `report` (once, not at every try), the mirror keeps its last complete version, and the follower
/// connects, catches up or loads the snapshot by itself. Belongs to one thread, as the mirror does;
/// evaluating threads use the mirror's view.
///
/// How it catches up: changes come as batches from a stream, from the place where the last one
/// ended. When that place is gone, or a batch does not fit, the snapshot is loaded beside the
/// present copy and takes its place only when it has made the published version.
///
/// It needs to read and no more. Where it may not write (an account without that right, a server
/// that is full, read-only or a replica), it follows all the same, and status does not show it.
class RedisFollower {
public:
    /// Does not connect yet; the mirror must outlive it.
    RedisFollower(RedisOptions options, FollowedStore & mirror, Report report,
                  FollowerSettings settings = {});
    /// Takes the reader out of the status, if the server is there.
    ~RedisFollower();
    RedisFollower(RedisFollower const &) = delete;
    RedisFollower & operator=(RedisFollower const &) = delete;

    /// Waits for news for at most so long (servers look at their clock ten times a second), or does
    /// not wait at all for 0; answers whether a new version became visible.
    bool poll(std::chrono::milliseconds wait);

    /// Whether there is a connection at the moment.
    bool connected() const { return static_cast<bool>(connection_); }
    /// Why there is no connection, or why the server does not answer what is asked; empty while it
    /// does.
    String const & trouble() const { return trouble_; }
    /// The newest version that the server was seen to have, 0 for none: as of the last batch, or of
    /// the last check, whichever was later.
    U64 published() const { return published_; }

private:
    using Clock = std::chrono::steady_clock;

    /// `poll` without the care for faults.
    bool step(std::chrono::milliseconds wait);
    /// Signs in and goes on from where the mirror is.
    void connect();
    void disconnect(String const & trouble);
    /// Tells trouble that is new.
    void troubleIs(String const & trouble);
    /// Compares the mirror with the published state; loads the snapshot where they cannot meet
    /// otherwise.
    bool checkState();
    /// Fills a fresh copy from snapshot and stream; whether it made the version.
    bool load(PublishedState const & state);
    /// Makes what was applied visible.
    void show();
    /// Notes in the server which version this reader holds, where the server lets it.
    void announce();
    /// Tells once why the server does not; empty when it does again.
    void silenceIs(String const & why);
    String standing() const;

    RedisOptions options_;
    RedisKeys keys_;
    FollowedStore & mirror_;
    Report report_;
    FollowerSettings settings_;
    std::unique_ptr<RedisConnection> connection_;
    String trouble_;
    String silence_; ///< why the server does not take this reader's record
    bool wasConnected_ = false;
    std::unique_ptr<StreamReader> reader_;
    bool checkNow_ = true;
    Clock::time_point nextCheck_;
    bool ahead_ = false; ///< it has read what no version that is published ends with
    U64 published_ = 0;
    String lastSeenId_;  ///< of the state at the last check
    String afreshFrom_;  ///< the version behind which the stream was read once more
    bool stuck_ = false; ///< told to the writer, whose next publication then brings a snapshot
    std::pair<String, String> hopeless_; ///< state and snapshot that did not make a version
};

} // namespace Qcf::Mirror
