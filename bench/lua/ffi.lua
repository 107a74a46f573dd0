-- The policies over C structures: a LuaJIT script as one would write it for speed.
local ffi = require("ffi")
local bit = require("bit")
local band, bor, rshift = bit.band, bit.bor, bit.rshift
local min, max = math.min, math.max

ffi.cdef [[
typedef struct { uint32_t count; uint32_t const * values; } PlainSet;
typedef struct {
    uint32_t count; uint32_t const * starts; uint32_t const * lengths; uint32_t const * hosts;
} PlainList;
typedef struct {
    uint32_t prefix, prefixFamily, prefixLength, nextHop, nextHopFamily;
    uint32_t pathLength, originAs, med, localPref;
    PlainSet community, largeCommunity, extCommunity;
} PlainRoute;
typedef struct {
    uint32_t flags, med, localPref, origin;
    uint32_t communityCount, largeCommunityCount, extCommunityCount;
    uint32_t community[128], largeCommunity[192], extCommunity[192];
} PlainChanges;
typedef struct { PlainRoute const * route; PlainChanges changes; } PlainSlot;
]]

local data, policyNumber, slotAddress = ...
local slot = ffi.cast("PlainSlot *", slotAddress)
local changes = slot.changes
local limit = 0xffffffff

local function set(address) return ffi.cast("PlainSet const *", address) end
local function list(address) return ffi.cast("PlainList const *", address) end

local function permits(prefixes, address, length)
    local starts, piece, left = prefixes.starts, 0, prefixes.count
    while left > 1 do
        local half = rshift(left, 1)
        if starts[piece + half] <= address then piece = piece + half end
        left = left - half
    end
    if length == 32 then return prefixes.hosts[piece] ~= 0 end
    return band(rshift(prefixes.lengths[piece], length), 1) ~= 0
end

-- The first place of `values` from `from` on that is not below `value`.
local function lowerBound(values, from, behind, value)
    while from < behind do
        local middle = rshift(from + behind, 1)
        if values[middle] < value then from = middle + 1 else behind = middle end
    end
    return from
end

local function contains(values, count, value)
    local at = lowerBound(values, 0, count, value)
    return at < count and values[at] == value
end

local function sharesValue(few, many)
    local n, m, a, b = few.count, many.count, few.values, many.values
    if n == 0 or m == 0 or a[n - 1] < b[0] or b[m - 1] < a[0] then return false end
    local at = 0
    if m > 8 * n then
        for i = 0, n - 1 do
            at = lowerBound(b, at, m, a[i])
            if at < m and b[at] == a[i] then return true end
        end
        return false
    end
    local i = 0
    while i < n and at < m do
        local x, y = a[i], b[at]
        if x == y then return true end
        if x < y then i = i + 1 else at = at + 1 end
    end
    return false
end

-- The route's communities without two values (or none) and with another, in order.
local function changeCommunity(route, removed1, removed2, added)
    local from, to, kept, put = route.community.values, changes.community, 0, false
    for i = 0, route.community.count - 1 do
        local value = from[i]
        if not put and value >= added then
            to[kept] = added
            kept, put = kept + 1, true
        end
        if value ~= removed1 and value ~= removed2 and value ~= added then
            to[kept] = value
            kept = kept + 1
        end
    end
    if not put then
        to[kept] = added
        kept = kept + 1
    end
    changes.communityCount = kept
end

local function copyWords(to, kept, from, i)
    to[3 * kept] = from[3 * i]
    to[3 * kept + 1] = from[3 * i + 1]
    to[3 * kept + 2] = from[3 * i + 2]
end

local function sameWords(a, i, b, j)
    return a[3 * i] == b[3 * j] and a[3 * i + 1] == b[3 * j + 1] and a[3 * i + 2] == b[3 * j + 2]
end

local function lessWords(a, i, b, j)
    if a[3 * i + 1] ~= b[3 * j + 1] then return a[3 * i + 1] < b[3 * j + 1] end
    if a[3 * i] ~= b[3 * j] then return a[3 * i] < b[3 * j] end
    return a[3 * i + 2] < b[3 * j + 2]
end

local policies = {}

policies[0] = function()
    changes.flags = 0
    return true
end

policies[1] = function()
    local medBelow, preference, flag = data.p1MedBelow, data.p1Preference, data.flagPreference
    return function()
        local flags = 0
        if slot.route.med < medBelow then
            changes.localPref = preference
            flags = flag
        end
        changes.flags = flags
        return true
    end
end

policies[2] = function()
    local bogons, removed = list(data.bogons), set(data.p2Removed)
    local removed1, removed2, added = removed.values[0], removed.values[1], data.p2Added
    local tag1, tag2, tag3 = data.tags[1], data.tags[2], data.tags[3]
    local preference1, preference2, preference3 = unpack(data.tagPreferences)
    local longest, step = data.longestPath, data.p2MedStep
    local always, flagPreference = bor(data.flagCommunity, data.flagMed), data.flagPreference
    return function()
        local route, flags = slot.route, always
        changes.flags = 0
        if route.prefixFamily == 4 and permits(bogons, route.prefix, route.prefixLength) then
            return false
        end
        if route.pathLength > longest then return false end
        local values, count = route.community.values, route.community.count
        local preference = contains(values, count, tag1) and preference1
            or contains(values, count, tag2) and preference2
            or contains(values, count, tag3) and preference3
        if preference then
            changes.localPref = preference
            flags = bor(flags, flagPreference)
        end
        changeCommunity(route, removed1, removed2, added)
        changes.med = min(route.med + step, limit)
        changes.flags = flags
        return true
    end
end

-- The clauses as the text of one `if`, as a translator of policies would write it.
local function clauseText(i, clause)
    local tests = {
        [0] = "length >= %d and length <= %d and sharesValue(values[%d], community)",
        "contains(values[%d].values, values[%d].count, originAs)",
        "sharesValue(community, values[%d])",
        "localPref >= %d and localPref <= %d",
        "nextHopFamily == 4 and permits(lists[%d], nextHop, 32)",
    }
    local arguments = {
        [0] = { clause.low, clause.high, i }, { i, i }, { i }, { clause.low, clause.high }, { i },
    }
    local test = tests[clause.kind]:format(unpack(arguments[clause.kind]))
    return ("if %s then return %d\nelse"):format(test, clause.preference)
end

local function clauseFunction()
    local text, values, lists = {}, {}, {}
    for i, clause in ipairs(data.clauses) do
        text[#text + 1] = clauseText(i, clause)
        values[i], lists[i] = set(clause.values), list(clause.list)
    end
    local source = [[
local values, lists, sharesValue, contains, permits = ...
return function(route)
    local length, originAs, localPref = route.prefixLength, route.originAs, route.localPref
    local community, nextHop, nextHopFamily = route.community, route.nextHop, route.nextHopFamily
    ]] .. table.concat(text) .. " return localPref end end"
    return loadstring(source)(values, lists, sharesValue, contains, permits)
end

policies[3] = function()
    local preferenceOf = clauseFunction()
    local step, longPath, added = data.p3MedStep, data.p3LongPath, data.p3Added
    local preferenceStep = data.p3PreferenceStep
    local flags = bor(data.flagCommunity, data.flagMed, data.flagOrigin, data.flagPreference)
    local function isLonger(route, than) return route.pathLength > than end
    local function adjusted(route, by, than)
        if isLonger(route, than) then return min(route.med + by, limit) end
        return max(route.med - by, 0)
    end
    return function()
        local route = slot.route
        changes.localPref = min(preferenceOf(route) + preferenceStep, limit)
        changes.med = adjusted(route, step, longPath)
        changes.origin = 0
        changeCommunity(route, -1, -1, added)
        changes.flags = flags
        return true
    end
end

local function removeLarge(from, count, removed)
    local to, kept = changes.largeCommunity, 0
    for i = 0, count - 1 do
        local found = false
        for j = 0, removed.count - 1 do
            if sameWords(from, i, removed.values, j) then
                found = true
                break
            end
        end
        if not found then
            copyWords(to, kept, from, i)
            kept = kept + 1
        end
    end
    changes.largeCommunityCount = kept
end

local function addExtended(from, count, added)
    local to, kept, put = changes.extCommunity, 0, false
    for i = 0, count - 1 do
        if not put and not lessWords(from, i, added, 0) then
            copyWords(to, kept, added, 0)
            kept, put = kept + 1, true
        end
        if not sameWords(from, i, added, 0) then
            copyWords(to, kept, from, i)
            kept = kept + 1
        end
    end
    if not put then
        copyWords(to, kept, added, 0)
        kept = kept + 1
    end
    changes.extCommunityCount = kept
end

policies[4] = function()
    local prefixes, communities = list(data.prefixes), set(data.communities)
    local removed, added = set(data.removedLarge), set(data.addedExtended)
    local preference, med = data.p4Preference, data.p4Med
    local always = bor(data.flagLarge, data.flagExtended)
    local flagPreference, flagMed = data.flagPreference, data.flagMed
    return function()
        local route, flags = slot.route, always
        if route.prefixFamily == 4 and permits(prefixes, route.prefix, route.prefixLength) then
            changes.localPref = preference
            flags = bor(flags, flagPreference)
        end
        if sharesValue(route.community, communities) then
            changes.med = med
            flags = bor(flags, flagMed)
        end
        removeLarge(route.largeCommunity.values, route.largeCommunity.count, removed)
        addExtended(route.extCommunity.values, route.extCommunity.count, added.values)
        changes.flags = flags
        return true
    end
end

local policy = policies[policyNumber]
if policyNumber > 0 then policy = policy() end

local function loop(routesAddress, count)
    local routes, accepted = ffi.cast("PlainRoute const *", routesAddress), 0
    for i = 0, count - 1 do
        slot.route = routes + i
        if policy() then accepted = accepted + 1 end
    end
    return accepted
end

return policy, loop
