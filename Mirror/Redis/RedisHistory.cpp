#include "Mirror/Redis/RedisHistory.h"

#include "Platform/Render/JsonDocument.h"
#include "Platform/Render/JsonObjectReader.h"

#include <algorithm>
#include <charconv>

/// The history is no more than a note for each version, where it ends in the stream. So it costs a
/// publication two small steps, and whatever batches will say one day, going back brings it along.
namespace Qcf::Mirror {

namespace {

// KEYS: writer, state, history, kept snapshots. ARGV: token, who, note, how many stay ("" as was
// said last, 20 before anybody did). What stands under the keys of the history and is of another
// type is none of ours, and is replaced.
RedisScript const noteScript{"note", R"(
if redis.call('HGET', KEYS[1], 'token') ~= ARGV[1] then
    return redis.error_reply('FENCED another writer has taken the lead')
end
for i = 3, 4 do
    local kind = redis.call('TYPE', KEYS[i]).ok
    if kind ~= 'none' and kind ~= 'hash' then
        redis.call('DEL', KEYS[i])
    end
end
local names = {'version', 'id', 'digest', 'position', 'functions', 'nodes', 'lists', 'published'}
local values = redis.call('HMGET', KEYS[2], unpack(names))
local live = tonumber(values[1] or '')
if not live then
    return redis.status_reply('OK')
end
local noted = redis.call('HGET', KEYS[3], values[1])
if not noted or not values[2] or not string.find(noted, values[2], 1, true) then
    local record = {writer = ARGV[2], note = ARGV[3]}
    for i, name in ipairs(names) do
        record[name] = values[i] or ''
    end
    redis.call('HSET', KEYS[3], values[1], cjson.encode(record))
end
local versions = {}
for _, field in ipairs(redis.call('HKEYS', KEYS[3])) do
    local number = tonumber(field)
    if number and number <= live then
        versions[#versions + 1] = {number, field}
    else
        redis.call('HDEL', KEYS[3], field)
    end
end
local most = tonumber(ARGV[4])
if most then
    redis.call('HSET', KEYS[1], 'keep', ARGV[4])
else
    most = tonumber(redis.call('HGET', KEYS[1], 'keep') or '')
end
if not (most and most >= 1) then
    most = 20
end
table.sort(versions, function(a, b) return a[1] > b[1] end)
for i = most + 1, #versions do
    redis.call('HDEL', KEYS[3], versions[i][2])
end
return redis.status_reply('OK')
)"};

// KEYS: writer, changes, kept snapshots, then snapshots that go. ARGV: token, where the stream is
// to begin ("" leaves it), then the versions of those snapshots.
RedisScript const forgetScript{"forget", R"(
if redis.call('HGET', KEYS[1], 'token') ~= ARGV[1] then
    return redis.error_reply('FENCED another writer has taken the lead')
end
for i = 3, #ARGV do
    redis.call('HDEL', KEYS[3], ARGV[i])
    redis.call('UNLINK', KEYS[i + 1])
end
if ARGV[2] ~= '' then
    redis.pcall('XTRIM', KEYS[2], 'MINID', ARGV[2])
end
return redis.status_reply('OK')
)"};

std::optional<U64> parseNumber(std::string_view text) {
    U64 value = 0;
    auto const read = std::from_chars(text.data(), text.data() + text.size(), value);
    bool const whole = read.ec == std::errc() && read.ptr == text.data() + text.size();
    return whole ? std::optional(value) : std::nullopt;
}

U64 numberOf(JsonObjectReader & members, char const * name) {
    return parseNumber(members.require(name).expectString()).value_or(0);
}

/// Nothing for a record that is not of our writing.
std::optional<KeptVersion> keptVersion(String const & record) {
    try {
        auto const json = JsonDocument::parse(record, "kept version");
        JsonObjectReader members(json.root());
        KeptVersion kept;
        kept.version = {numberOf(members, "version"), String(members.require("id").expectString()),
                        Digest::parse(members.require("digest").expectString()).value_or(Digest())};
        kept.position = StreamPosition::parse(members.require("position").expectString())
                            .value_or(StreamPosition());
        kept.functions = numberOf(members, "functions");
        kept.nodes = numberOf(members, "nodes");
        auto const lists = members.optional("lists");
        kept.lists = lists ? parseNumber(lists->expectString()).value_or(0) : 0;
        kept.published = numberOf(members, "published");
        kept.writer = members.require("writer").expectString();
        kept.note = members.require("note").expectString();
        return kept.version.number == 0 ? std::nullopt : std::optional(std::move(kept));
    } catch (DocumentError const &) {
        return std::nullopt;
    }
}

/// A snapshot that a version can be built upon.
struct Snapshot {
    U64 version = 0;
    StreamPosition position;
    String key;
};

/// Those that were replaced, as the server notes them: the oldest first.
std::vector<Snapshot> keptSnapshots(RedisConnection & connection, RedisKeys const & keys) {
    std::vector<Snapshot> snapshots;
    for (auto const & [field, text] :
         askKey(connection, keys.keptSnapshots, {"HGETALL", keys.keptSnapshots}).pairs()) {
        auto const version = parseNumber(field);
        auto const position = StreamPosition::parse(text);
        if (version && position) {
            snapshots.push_back({*version, *position, keys.keptSnapshot(*version)});
        }
    }
    std::ranges::sort(snapshots, {}, &Snapshot::version);
    return snapshots;
}

/// With the one that readers begin with, which is the newest.
std::vector<Snapshot> allSnapshots(RedisConnection & connection, RedisKeys const & keys) {
    auto snapshots = keptSnapshots(connection, keys);
    auto const live = readSnapshotState(connection, keys);
    if (!live.id.empty()) {
        snapshots.push_back({live.version, live.position, keys.snapshot});
    }
    return snapshots;
}

/// Fills the replica from the newest good snapshot that is not above the version; answers where the
/// stream goes on. An empty replica begins with the stream.
StreamPosition begin(RedisConnection & connection, RedisKeys const & keys, U64 version,
                     Replica & replica, Report const & report) {
    auto snapshots = allSnapshots(connection, keys);
    std::ranges::reverse(snapshots);
    for (Snapshot const & each : snapshots) {
        if (each.version > version) {
            continue;
        }
        try {
            return applySnapshot(askKey(connection, each.key, {"HGETALL", each.key}), replica);
        } catch (MirrorError const & error) {
            report(String(error.what()) + "; going by an earlier one");
        } catch (RedisRefusal const & refusal) {
            report(String(refusal.what()) + "; going by an earlier one");
        }
    }
    return {};
}

} // namespace

std::vector<KeptVersion> readHistory(RedisConnection & connection, RedisKeys const & keys) {
    std::vector<KeptVersion> history;
    for (auto const & [field, record] :
         askKey(connection, keys.history, {"HGETALL", keys.history}).pairs()) {
        if (auto kept = keptVersion(record)) {
            history.push_back(*std::move(kept));
        }
    }
    std::ranges::sort(history, {}, [](KeptVersion const & kept) { return kept.version.number; });
    return history;
}

// Not to the end of the stream, as readers go: the batches behind the version are none of it.
std::unique_ptr<Replica> loadKeptVersion(RedisConnection & connection, RedisKeys const & keys,
                                         KeptVersion const & kept,
                                         std::shared_ptr<BatchSigner const> signer,
                                         Report const & report) {
    auto replica = std::make_unique<Replica>(keys.name, std::move(signer));
    StreamReader reader(*replica, report);
    reader.positionIs(begin(connection, keys, kept.version.number, *replica, report));
    String const last = kept.position.toString();
    while (reader.position() < kept.position) {
        String const behind = "(" + reader.position().toString();
        auto const entries =
            askKey(connection, keys.changes, {"XRANGE", keys.changes, behind, last, "COUNT", "64"});
        if (entries.size() == 0) {
            break;
        }
        reader.take(entries);
    }
    if (replica->version() != kept.version) {
        throw MirrorError(keys.name + ": version " + std::to_string(kept.version.number) +
                          " cannot be put together any more");
    }
    return replica;
}

void noteLiveVersion(WriterStep const & step, RedisKeys const & keys, String const & who,
                     String const & note, std::optional<U64> most) {
    step("note", noteScript, {keys.writer, keys.state, keys.history, keys.keptSnapshots},
         {who, note, most ? std::to_string(*most) : String()});
}

// Everything begins with the newest snapshot that is not above the oldest kept version; without one
// with the stream, which then has all versions since the first.
void forgetUnkept(RedisConnection & connection, WriterStep const & step, RedisKeys const & keys) {
    auto const history = readHistory(connection, keys);
    if (history.empty()) {
        return;
    }
    auto const all = allSnapshots(connection, keys);
    auto const needed = std::find_if(all.rbegin(), all.rend(), [&](Snapshot const & each) {
        return each.version <= history.front().version.number;
    });
    if (needed == all.rend()) {
        return;
    }
    std::vector<String> versions;
    RedisConnection::Arguments places{keys.writer, keys.changes, keys.keptSnapshots};
    for (Snapshot const & each : all) {
        // Above what is live are those of a name that was begun anew.
        if (each.version < needed->version || each.version > history.back().version.number) {
            versions.push_back(std::to_string(each.version));
            places.push_back(each.key);
        }
    }
    // What a snapshot says of its place may be anything.
    String const from = std::min(needed->position, history.front().position).toString();
    RedisConnection::Arguments arguments{from};
    arguments.insert(arguments.end(), versions.begin(), versions.end());
    step("forget", forgetScript, places, arguments);
}

} // namespace Qcf::Mirror
