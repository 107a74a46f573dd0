#include "Mirror/Redis/RedisScripts.h"

#include <algorithm>

#include <openssl/evp.h>

/// Whatever a writer changes is done by a script that compares its token first: done by two
/// commands, another writer could take the lead between the question and the change.
namespace Qcf::Mirror {

RedisKeys::RedisKeys(String const & named) : name(named) {
    // Characters that need no quoting in keys, in shells and in messages.
    bool const fits = !name.empty() && name.size() <= 128 &&
                      std::all_of(name.begin(), name.end(), [](unsigned char c) {
                          return std::isalnum(c) != 0 || c == '.' || c == '_' || c == '-';
                      });
    if (!fits) {
        throw RedisUrlError("name: wants 1 to 128 letters, digits, '.', '_' or '-'");
    }
    String const prefix = "qcf:{" + name + "}:";
    writer = prefix + "writer";
    changes = prefix + "changes";
    state = prefix + "state";
    snapshot = prefix + "snapshot";
    staging = prefix + "snapshot.next";
    readers = prefix + "readers";
    history = prefix + "history";
    keptSnapshots = prefix + "history.snapshots";
}

namespace scripts {

// KEYS: writer, changes, state, snapshot, staging, readers, history, kept snapshots. ARGV: own
// token, who, the token that must lead now ("" takes over from anybody). Answers the epoch and the
// keys that were taken away: those of another type, a stream that can take no more entries, numbers
// that cannot be added to.
RedisScript const lead{"lead", R"(
local types = {'hash', 'stream', 'hash', 'hash', 'hash', 'hash', 'hash', 'hash'}
local taken = {}
for i, key in ipairs(KEYS) do
    local is = redis.call('TYPE', key).ok
    if is ~= 'none' and is ~= types[i] then
        redis.call('DEL', key)
        table.insert(taken, key)
    end
end
local now = redis.call('HGET', KEYS[1], 'token')
if ARGV[3] ~= '' and now ~= ARGV[3] then
    return redis.error_reply('FENCED another writer has taken the lead')
end
if redis.call('EXISTS', KEYS[2]) == 1 then
    local facts = redis.call('XINFO', 'STREAM', KEYS[2])
    for i = 1, #facts, 2 do
        local isLast = facts[i] == 'last-generated-id'
        if isLast and #string.match(facts[i + 1], '^%d+') > 15 then
            redis.call('DEL', KEYS[2])
            table.insert(taken, KEYS[2])
        end
    end
end
for _, at in ipairs({{KEYS[1], 'epoch'}, {KEYS[3], 'bytes'}}) do
    local number = redis.call('HGET', at[1], at[2])
    if number and not (#number < 16 and string.match(number, '^%d+$')) then
        redis.call('HDEL', at[1], at[2])
        table.insert(taken, at[1] .. ' ' .. at[2])
    end
end
local time = redis.call('TIME')
redis.call('HSET', KEYS[1], 'token', ARGV[1], 'who', ARGV[2], 'since', time[1])
table.insert(taken, 1, redis.call('HINCRBY', KEYS[1], 'epoch', 1))
return taken
)"};

// KEYS: writer, changes, state. ARGV: token, batch id, piece number, kind, piece, version.
RedisScript const append{"append", R"(
if redis.call('HGET', KEYS[1], 'token') ~= ARGV[1] then
    return redis.error_reply('FENCED another writer has taken the lead')
end
if ARGV[4] == 'start' then
    redis.call('HSET', KEYS[3], 'start', ARGV[6])
end
redis.call('HINCRBY', KEYS[3], 'bytes', #ARGV[5])
return redis.call('XADD', KEYS[2], '*', 'b', ARGV[2], 'n', ARGV[3], 'k', ARGV[4], 'd', ARGV[5])
)"};

// KEYS: writer, changes, state. ARGV: token, batch id, piece number, piece, version, digest,
// functions, nodes, lists.
RedisScript const finish{"finish", R"(
if redis.call('HGET', KEYS[1], 'token') ~= ARGV[1] then
    return redis.error_reply('FENCED another writer has taken the lead')
end
local at = redis.call('XADD', KEYS[2], '*', 'b', ARGV[2], 'n', ARGV[3], 'k', 'end', 'd', ARGV[4])
local time = redis.call('TIME')
redis.call('HSET', KEYS[3], 'id', ARGV[2], 'version', ARGV[5], 'start', ARGV[5], 'end', ARGV[5],
           'digest', ARGV[6], 'functions', ARGV[7], 'nodes', ARGV[8], 'lists', ARGV[9],
           'position', at, 'published', time[1])
redis.call('HINCRBY', KEYS[3], 'bytes', #ARGV[4])
return at
)"};

// KEYS: writer, staging. ARGV: token, "first" or "more", then pairs of field and value.
RedisScript const stage{"stage", R"(
if redis.call('HGET', KEYS[1], 'token') ~= ARGV[1] then
    return redis.error_reply('FENCED another writer has taken the lead')
end
if ARGV[2] == 'first' then
    redis.call('DEL', KEYS[2])
end
for i = 3, #ARGV, 2 do
    redis.call('HSET', KEYS[2], ARGV[i], ARGV[i + 1])
end
return redis.status_reply('OK')
)"};

// KEYS: writer, staging, snapshot, state, kept snapshots, where the snapshot before goes. ARGV:
// token, id of the state that it holds, version of the snapshot before. That one stays until no
// kept version builds upon it, and the stream behind it with it.
RedisScript const snapshot{"snapshot", R"(
if redis.call('HGET', KEYS[1], 'token') ~= ARGV[1] then
    return redis.error_reply('FENCED another writer has taken the lead')
end
if redis.call('HGET', KEYS[4], 'id') ~= ARGV[2] or redis.call('HGET', KEYS[2], 'id') ~= ARGV[2] then
    return redis.error_reply('STALE the state has moved on')
end
local before = redis.call('HMGET', KEYS[3], 'version', 'position')
if before[1] == ARGV[3] and before[2] then
    redis.call('RENAME', KEYS[3], KEYS[6])
    redis.call('HSET', KEYS[5], before[1], before[2])
end
redis.call('RENAME', KEYS[2], KEYS[3])
redis.call('HSET', KEYS[4], 'bytes', 0)
return redis.status_reply('OK')
)"};

// KEYS: readers. ARGV: reader, its record, seconds after which a silent one is forgotten; an empty
// record takes the reader out.
RedisScript const report{"report", R"(
local now = tonumber(redis.call('TIME')[1])
if ARGV[2] == '' then
    return redis.call('HDEL', KEYS[1], ARGV[1])
end
local all = redis.call('HGETALL', KEYS[1])
for i = 1, #all, 2 do
    local seen = tonumber(string.match(all[i + 1], '^(%d+) '))
    if not seen or now - seen > tonumber(ARGV[3]) then
        redis.call('HDEL', KEYS[1], all[i])
    end
end
return redis.call('HSET', KEYS[1], ARGV[1], string.format('%d %s', now, ARGV[2]))
)"};

} // namespace scripts

namespace {

/// What a server knows a script by.
String sha1(std::string_view text) {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned size = 0;
    EVP_Digest(text.data(), text.size(), digest, &size, EVP_sha1(), nullptr);
    String hex;
    for (unsigned i = 0; i < size; ++i) {
        constexpr char const * digits = "0123456789abcdef";
        hex += digits[digest[i] >> 4];
        hex += digits[digest[i] & 15];
    }
    return hex;
}

} // namespace

RedisReply runScript(RedisConnection & connection, RedisScript const & script,
                     RedisConnection::Arguments const & keys,
                     RedisConnection::Arguments const & arguments) {
    String const hash = sha1(script.text);
    String const keyCount = std::to_string(keys.size());
    RedisConnection::Arguments all{"EVALSHA", hash, keyCount};
    all.insert(all.end(), keys.begin(), keys.end());
    all.insert(all.end(), arguments.begin(), arguments.end());
    try {
        return connection.command(all);
    } catch (RedisRefusal const & refusal) {
        // A server forgets its scripts when it starts anew; EVAL makes this one known again.
        if (!refusal.is("NOSCRIPT")) {
            throw;
        }
    }
    all[0] = "EVAL";
    all[1] = script.text;
    return connection.command(all);
}

} // namespace Qcf::Mirror
