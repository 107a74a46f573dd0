#include "Mirror/Redis/RedisFollower.h"

#include "Platform/Render/RendererV2.h"

#include <array>
#include <thread>

#include <unistd.h>

/// Three ways lead to a version: the stream, which is followed; the published state, with which the
/// copy is compared now and then; and the snapshot, where the stream does not lead. Every fault
/// ends in one of them.
namespace Qcf::Mirror {

namespace {

String hostAndProcess() {
    std::array<char, 256> host{};
    ::gethostname(host.data(), host.size() - 1);
    return String(host.data()) + ":" + std::to_string(::getpid());
}

} // namespace

RedisFollower::RedisFollower(RedisOptions options, FollowedStore & mirror, Report report,
                             FollowerSettings settings)
    : options_(std::move(options)),
      keys_(mirror.name()),
      mirror_(mirror),
      report_(std::move(report)),
      settings_(std::move(settings)),
      reader_(std::make_unique<StreamReader>(mirror_.replica(), report_)) {
    if (settings_.reader.empty()) {
        settings_.reader = hostAndProcess();
    }
}

// Readers that say nothing are forgotten after some time; this one says that it goes.
RedisFollower::~RedisFollower() {
    try {
        // Where there is no record of it there is none to take away.
        if (connection_ && silence_.empty()) {
            runScript(*connection_, scripts::report, {keys_.readers}, {settings_.reader, "", "0"});
        }
    } catch (std::exception const & error) {
        report_(error.what());
    }
}

String RedisFollower::standing() const {
    return mirror_.version().number == 0 ? String("waiting for a first version")
                                         : "keeping " + mirror_.version().toString();
}

// A fault must not make the caller spin: what is left of the wait is spent, up to the delay
// between tries.
bool RedisFollower::poll(std::chrono::milliseconds wait) {
    auto const end = Clock::now() + wait; // NOLINT(clang-analyzer-deadcode.DeadStores): read below
    try {
        bool const isNew = step(wait);
        if (!trouble_.empty()) {
            report_("redis at " + options_.place() + ": answers again");
            trouble_.clear();
        }
        return isNew;
    } catch (RedisAccessError const & error) {
        // Who has worked once goes on trying: a password may be on its way to being changed.
        if (!wasConnected_) {
            throw;
        }
        disconnect(error.what());
    } catch (RedisConnectionError const & error) {
        disconnect(error.what());
    } catch (RedisRefusal const & refusal) {
        // The connection is good, and another one would hear the same, unless it has to sign in.
        if (refusal.is("NOAUTH")) {
            connection_.reset();
        }
        checkNow_ = true;
        troubleIs("redis at " + options_.place() + ": " + refusal.what());
    }
    auto const left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
    std::this_thread::sleep_for(
        std::clamp(left, std::chrono::milliseconds(0), settings_.retryDelay));
    return false;
}

void RedisFollower::connect() {
    connection_ = std::make_unique<RedisConnection>(options_);
    if (!trouble_.empty()) {
        report_("redis at " + options_.place() + ": connected again");
    }
    trouble_.clear();
    wasConnected_ = true;
    // What happened meanwhile the stream need not tell.
    checkNow_ = true;
}

void RedisFollower::disconnect(String const & trouble) {
    connection_.reset();
    troubleIs(trouble);
}

void RedisFollower::troubleIs(String const & trouble) {
    // Told when it is another one: tries follow each other quickly.
    if (trouble != trouble_) {
        report_(trouble + "; " + standing());
        trouble_ = trouble;
    }
}

bool RedisFollower::step(std::chrono::milliseconds wait) {
    if (!connection_) {
        connect();
    }
    if (checkNow_ || Clock::now() >= nextCheck_) {
        checkNow_ = false;
        bool const isNew = checkState();
        // A stream that begins anew has lower positions: one who is ahead would not hear of it. And
        // a snapshot that is waited for comes after the batch that told of it.
        bool const looksSoon = ahead_ || stuck_;
        nextCheck_ =
            Clock::now() + (looksSoon ? settings_.checkInterval / 10 : settings_.checkInterval);
        if (isNew) {
            return true;
        }
    }
    // No wait goes beyond the next check, or a quiet stream would put it off.
    auto const untilCheck =
        std::chrono::duration_cast<std::chrono::milliseconds>(nextCheck_ - Clock::now());
    auto const zero = std::chrono::milliseconds(0);
    auto const entries = readEntries(*connection_, keys_, reader_->position(),
                                     std::max(zero, std::min(untilCheck, wait)));
    bool const applied = reader_->take(entries);
    bool const doubt = reader_->takeDoubt();
    // Something came that the stream alone does not explain.
    if (doubt || (reader_->lost() && entries.size() != 0)) {
        checkNow_ = true;
    }
    if (applied) {
        show();
    }
    return applied;
}

// Following the stream is the usual way. This is what finds out when it was not enough: entries
// that were trimmed or damaged, a server that came back with less, a name that began anew.
bool RedisFollower::checkState() {
    auto const state = readState(*connection_, keys_);
    published_ = state.version.number;
    bool const seenBefore = std::exchange(lastSeenId_, state.version.id) == state.version.id;
    announce();
    if (state.version.id == mirror_.version().id) {
        // The copy is right although the stream was not understood: it is followed afresh from
        // there. Once: entries do not change, and what is wrong with one would be told for ever.
        if (reader_->lost() && afreshFrom_ != state.version.id) {
            afreshFrom_ = state.version.id;
            reader_ = std::make_unique<StreamReader>(mirror_.replica(), report_);
            reader_->positionIs(state.position);
        }
        ahead_ = reader_->position() > state.position;
        return false;
    }
    if (!state.exists()) {
        if (!seenBefore) {
            report_("nothing is published under " + keys_.name + " any more; " + standing());
        }
        return false;
    }
    // The state may be ahead of entries that are still to be read: such a difference counts only
    // when the next check sees it, too.
    bool const behind = state.position > reader_->position() && !reader_->lost();
    if (mirror_.version().number != 0 && behind && !seenBefore) {
        return false; // the stream will tell
    }
    return load(state);
}

bool RedisFollower::load(PublishedState const & state) {
    // Loading the same again would fail in the same way.
    auto const attempt = std::pair(state.version.id, readSnapshotState(*connection_, keys_).id);
    if (attempt == hopeless_) {
        return false;
    }
    if (mirror_.version().number != 0) {
        report_("the changes do not lead from " + mirror_.version().toString() +
                " to the published version " + std::to_string(state.version.number) +
                "; loading the snapshot");
    }
    // Beside the present copy: threads go on with that one until the new one is whole.
    auto fresh = mirror_.emptyReplica();
    auto reader = std::make_unique<StreamReader>(*fresh, report_);
    loadReplica(*connection_, keys_, *fresh, *reader, report_);
    // While this was read the writer may have gone on, and what was loaded is then the newer
    // version.
    auto const now = readState(*connection_, keys_);
    if (fresh->version() == state.version || fresh->version() == now.version) {
        mirror_.adopt(std::move(fresh));
        reader_ = std::move(reader);
        ahead_ = reader_->position() > now.position;
        show();
        return true;
    }
    if (now.version.id == state.version.id) {
        hopeless_ = attempt;
        // Asks the writer for a snapshot.
        stuck_ = true;
        announce();
        report_("version " + std::to_string(state.version.number) +
                " cannot be put together before it is published anew; " + standing());
    } else {
        checkNow_ = true;
    }
    // The stream was read to its end: the present copy goes on from there.
    reader->replicaIs(mirror_.replica());
    reader_ = std::move(reader);
    return false;
}

void RedisFollower::show() {
    stuck_ = false;
    mirror_.show();
    published_ = mirror_.version().number;
    announce();
}

// A writer looks here for readers that are stuck, an operator for those that are behind.
void RedisFollower::announce() {
    String record;
    RendererV2 renderer(record);
    renderer.beginObject();
    renderer.key("version");
    renderer.value(mirror_.version().number);
    renderer.key("digest");
    renderer.value(mirror_.version().digest.toString());
    renderer.key("position");
    renderer.value(reader_->position().toString());
    renderer.key("stuck");
    renderer.value(stuck_);
    renderer.endObject();
    try {
        runScript(*connection_, scripts::report, {keys_.readers},
                  {settings_.reader, record, std::to_string(settings_.forgetAfter.count())});
        silenceIs({});
    } catch (RedisRefusal const & refusal) {
        // What it is here for is the data, and that it gets.
        silenceIs(refusal.what());
    }
}

void RedisFollower::silenceIs(String const & why) {
    if (!why.empty() && silence_.empty()) {
        report_(keys_.name +
                ": the server does not take this reader's record, status will not "
                "show it: " +
                why);
    }
    silence_ = why;
}

} // namespace Qcf::Mirror
