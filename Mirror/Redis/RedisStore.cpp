#include "Mirror/Redis/RedisStore.h"

#include "Platform/Render/JsonDocument.h"
#include "Platform/Render/JsonObjectReader.h"

#include <charconv>

/// What a name holds in the server. Fields that are missing or no numbers count as nothing: what
/// has to be right is proved by the batches, which carry sums and digests.
namespace Qcf::Mirror {

namespace {

// Bounds the memory of an answer: pieces usually have up to 64 KiB.
constexpr char const * entriesAtOnce = "64";

using Members = std::map<String, String, std::less<>>;

String text(Members const & members, std::string_view key) {
    auto const found = members.find(key);
    return found == members.end() ? String() : found->second;
}

U64 number(Members const & members, std::string_view key) {
    String const digits = text(members, key);
    U64 value = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), value);
    return value;
}

StreamPosition position(Members const & members) {
    return StreamPosition::parse(text(members, "position")).value_or(StreamPosition());
}

ReaderState readerState(String const & name, String const & record, U64 now) {
    ReaderState reader;
    reader.name = name;
    U64 seen = 0;
    // The script puts the server's time before the record, so that the readers' clocks do not
    // matter.
    auto const read = std::from_chars(record.data(), record.data() + record.size(), seen);
    reader.silentSeconds = now > seen ? now - seen : 0;
    try {
        auto const json = JsonDocument::parse(read.ptr, "reader");
        JsonObjectReader members(json.root());
        reader.version = members.require("version").expectU64();
        reader.digest = members.require("digest").expectString();
        reader.position = members.require("position").expectString();
        reader.stuck = members.require("stuck").expectBool();
    } catch (DocumentError const &) {
        // Listed all the same: somebody is there.
        reader.position = "unknown"; // not of our writing
    }
    return reader;
}

} // namespace

RedisReply askKey(RedisConnection & connection, String const & key,
                  RedisConnection::Arguments const & command, std::chrono::milliseconds longer) {
    try {
        return connection.command(command, longer);
    } catch (RedisRefusal const & refusal) {
        if (!refusal.is("WRONGTYPE")) {
            throw;
        }
        throw RedisRefusal(key + ": holds another type than a writer leaves there; the next "
                                 "publication takes it away");
    }
}

PublishedState readState(RedisConnection & connection, RedisKeys const & keys) {
    auto const members = askKey(connection, keys.state, {"HGETALL", keys.state}).pairs();
    PublishedState state;
    state.version = {number(members, "version"), text(members, "id"),
                     Digest::parse(text(members, "digest")).value_or(Digest())};
    state.position = position(members);
    state.functions = number(members, "functions");
    state.nodes = number(members, "nodes");
    state.lists = number(members, "lists");
    state.startMarker = number(members, "start");
    state.endMarker = number(members, "end");
    state.bytesSinceSnapshot = number(members, "bytes");
    state.published = number(members, "published");
    return state;
}

SnapshotState readSnapshotState(RedisConnection & connection, RedisKeys const & keys) {
    auto const reply = askKey(connection, keys.snapshot,
                              {"HMGET", keys.snapshot, "id", "version", "position", "bytes"});
    return {String(reply.at(0).text()), reply.at(1).number().value_or(0),
            StreamPosition::parse(reply.at(2).text()).value_or(StreamPosition()),
            reply.at(3).number().value_or(0)};
}

std::vector<ReaderState> readReaders(RedisConnection & connection, RedisKeys const & keys) {
    std::vector<ReaderState> readers;
    // Before the records: one written meanwhile counts as silent for no time.
    U64 const now = connection.command({"TIME"}).at(0).number().value_or(0);
    for (auto const & [name, record] :
         askKey(connection, keys.readers, {"HGETALL", keys.readers}).pairs()) {
        readers.push_back(readerState(name, record, now));
    }
    return readers;
}

RedisStatus readStatus(RedisConnection & connection, RedisKeys const & keys) {
    RedisStatus status;
    status.state = readState(connection, keys);
    status.snapshot = readSnapshotState(connection, keys);
    auto const writer = askKey(connection, keys.writer, {"HGETALL", keys.writer}).pairs();
    status.writer = text(writer, "who");
    status.epoch = number(writer, "epoch");
    status.streamEntries =
        askKey(connection, keys.changes, {"XLEN", keys.changes}).number().value_or(0);
    status.readers = readReaders(connection, keys);
    return status;
}

RedisReply readEntries(RedisConnection & connection, RedisKeys const & keys,
                       StreamPosition const & position, std::chrono::milliseconds wait) {
    String const from = position.toString();
    String const milliseconds = std::to_string(wait.count());
    RedisConnection::Arguments command{"XREAD", "COUNT", entriesAtOnce};
    // For the server BLOCK 0 means for ever.
    if (wait.count() > 0) {
        command.insert(command.end(), {"BLOCK", milliseconds});
    }
    command.insert(command.end(), {"STREAMS", keys.changes, from});
    // The only stream's entries; nothing when the time ran out.
    return askKey(connection, keys.changes, command, wait).at(0).at(1);
}

StreamPosition applySnapshot(RedisReply const & snapshot, Replica & replica) {
    auto const members = snapshot.pairs();
    U64 const count = number(members, "pieces");
    auto const piece = [&](U64 i) {
        auto const found = members.find("piece " + std::to_string(i));
        if (found == members.end()) {
            throw MirrorError("snapshot: piece " + std::to_string(i) + " is missing");
        }
        return found->second;
    };
    // A batch has a piece with its start and one with its end.
    if (count < 2) {
        throw MirrorError("snapshot: it says of no pieces");
    }
    StagedBatch batch("snapshot", piece(0));
    for (U64 i = 1; i + 1 < count; ++i) {
        batch.add(piece(i));
    }
    batch.finish(piece(count - 1));
    // Or it would not say everything.
    if (!batch.start().base.empty()) {
        throw MirrorError("snapshot: it builds on another version");
    }
    // All of it or nothing: after a fault the replica is as empty as before.
    replica.apply(batch);
    return position(members);
}

void loadReplica(RedisConnection & connection, RedisKeys const & keys, Replica & replica,
                 StreamReader & reader, Report const & report) {
    StreamPosition from;
    try {
        auto const snapshot = askKey(connection, keys.snapshot, {"HGETALL", keys.snapshot});
        if (snapshot.size() != 0) {
            from = applySnapshot(snapshot, replica);
        }
    } catch (MirrorError const & error) {
        // The stream may still hold everything since the first version.
        report(String(error.what()) + "; going by the stream alone");
    }
    reader.positionIs(from);
    for (;;) {
        // Without waiting, to the end: a writer may add to it meanwhile.
        auto const entries = readEntries(connection, keys, reader.position(), {});
        if (entries.size() == 0) {
            return;
        }
        reader.take(entries);
    }
}

} // namespace Qcf::Mirror
