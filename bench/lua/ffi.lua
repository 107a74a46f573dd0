-- The policies over C structures. Policies 2 to 4 have two forms: one that follows the policy
-- test by test, as a translator of policies would write it, and, where `tuned` is set, one
-- rearranged by hand for speed.
local ffi = require("ffi")
local bit = require("bit")
local band, bor, bxor, rshift, lshift = bit.band, bit.bor, bit.bxor, bit.rshift, bit.lshift
local tobit = bit.tobit
local min, max = math.min, math.max

-- Words that are only compared and looked up are declared signed: LuaJIT computes with 32-bit
-- integers as they are, and turns unsigned ones into floating-point numbers.
ffi.cdef [[
typedef struct { uint32_t count; int32_t const * values; } PlainSet;
typedef struct {
    uint32_t count; int32_t const * starts; int32_t const * lengths; int32_t const * hosts;
} PlainList;
typedef struct {
    int32_t prefix, prefixFamily, prefixLength, nextHop, nextHopFamily;
    int32_t pathLength, originAs;
    uint32_t med, localPref;
    PlainSet community, largeCommunity, extCommunity;
} PlainRoute;
typedef struct {
    uint32_t flags, med, localPref, origin;
    uint32_t communityCount, largeCommunityCount, extCommunityCount;
    int32_t community[128], largeCommunity[192], extCommunity[192];
} PlainChanges;
typedef struct { PlainRoute const * route; PlainChanges changes; } PlainSlot;
]]

local data, policyNumber, slotAddress = ...
-- Everything is read through the slot, by its whole path: a pointer in a local variable is an
-- object on the heap wherever one trace hands it to the next.
local slot = ffi.cast("PlainSlot *", slotAddress)
local limit = 0xffffffff
local highest = tobit(0x80000000)

local function set(address) return ffi.cast("PlainSet const *", address) end
local function list(address) return ffi.cast("PlainList const *", address) end

-- Unsigned order of words by a signed comparison.
local function ordered(word) return bxor(word, highest) end

-- A bisection over a list: whether it permits an address with that length.
local function permits(prefixes, address, length)
    local starts, low, high = prefixes.starts, 0, prefixes.count
    address = ordered(address)
    while high - low > 1 do
        local middle = rshift(low + high, 1)
        if ordered(starts[middle]) <= address then low = middle else high = middle end
    end
    if length == 32 then return prefixes.hosts[low] ~= 0 end
    return band(rshift(prefixes.lengths[low], length), 1) ~= 0
end

-- A test of the route's prefix against a list: the leading bits of the address tell the first piece
-- that may hold it, behind which there is seldom more than one to look at.
local function prefixTest(prefixes)
    local shift = prefixes.count > 256 and 16 or 24
    local first = ffi.new("int32_t[?]", 2 ^ (32 - shift))
    local last = ffi.new("int32_t[?]", prefixes.count)
    for i = 1, prefixes.count - 1 do last[i - 1] = ordered(prefixes.starts[i] - 1) end
    last[prefixes.count - 1] = 0x7fffffff
    local piece = 0
    for i = 0, 2 ^ (32 - shift) - 1 do
        local address = ordered(tobit(i * 2 ^ shift))
        while last[piece] < address do piece = piece + 1 end
        first[i] = piece
    end
    local lengths, hosts = prefixes.lengths, prefixes.hosts
    return function()
        if slot.route.prefixFamily ~= 4 then return false end
        local address, length = slot.route.prefix, slot.route.prefixLength
        local at = first[rshift(address, shift)]
        address = ordered(address)
        while last[at] < address do at = at + 1 end
        if length == 32 then return hosts[at] ~= 0 end
        return band(rshift(lengths[at], length), 1) ~= 0
    end
end

-- Adds a value to the route's communities, already copied, where it belongs.
local function addCommunity(kept, added)
    local at = kept
    while at > 0 and ordered(slot.changes.community[at - 1]) >= ordered(added) do at = at - 1 end
    if at < kept and slot.changes.community[at] == added then return kept end
    for i = kept, at + 1, -1 do slot.changes.community[i] = slot.changes.community[i - 1] end
    slot.changes.community[at] = added
    return kept + 1
end

local function hasCommunity(value)
    for i = 0, slot.route.community.count - 1 do
        if slot.route.community.values[i] == value then return true end
    end
    return false
end

local function hasAny(wanted)
    for i = 0, slot.route.community.count - 1 do
        if wanted[slot.route.community.values[i]] then return true end
    end
    return false
end

-- Writes the route's communities but for two of them, and one more.
local function changeCommunities(removed1, removed2, added)
    local kept = 0
    for i = 0, slot.route.community.count - 1 do
        local value = slot.route.community.values[i]
        if value ~= removed1 and value ~= removed2 then
            slot.changes.community[kept] = value
            kept = kept + 1
        end
    end
    slot.changes.communityCount = addCommunity(kept, added)
end

local function lookup(values)
    local found = {}
    for i = 0, values.count - 1 do found[values.values[i]] = true end
    return found
end

local policies = {}

policies[0] = function()
    slot.changes.flags = 0
    return true
end

policies[1] = function()
    local medBelow, preference, flag = data.p1MedBelow, data.p1Preference, data.flagPreference
    return function()
        if slot.route.med < medBelow then
            slot.changes.localPref = preference
            slot.changes.flags = flag
        else
            slot.changes.flags = 0
        end
        return true
    end
end

local function importFilter()
    local bogons, removed = list(data.bogons), set(data.p2Removed)
    local removed1, removed2, added = removed.values[0], removed.values[1], tobit(data.p2Added)
    local tag1, tag2, tag3 = tobit(data.tags[1]), tobit(data.tags[2]), tobit(data.tags[3])
    local preferences, longest, step = data.tagPreferences, data.longestPath, data.p2MedStep
    local always, flagPreference = bor(data.flagCommunity, data.flagMed), data.flagPreference
    local function prefer(preference)
        slot.changes.localPref = preference
        slot.changes.flags = bor(slot.changes.flags, flagPreference)
    end
    return function()
        slot.changes.flags = 0
        if slot.route.prefixFamily == 4 and
            permits(bogons, slot.route.prefix, slot.route.prefixLength) then
            return false
        end
        if slot.route.pathLength > longest then return false end
        if hasCommunity(tag1) then prefer(preferences[1])
        elseif hasCommunity(tag2) then prefer(preferences[2])
        elseif hasCommunity(tag3) then prefer(preferences[3]) end
        changeCommunities(removed1, removed2, added)
        slot.changes.med = min(slot.route.med + step, limit)
        slot.changes.flags = bor(slot.changes.flags, always)
        return true
    end
end

local function tunedImportFilter()
    local isBogon = prefixTest(list(data.bogons))
    local removed = set(data.p2Removed)
    local removed1, removed2, added = removed.values[0], removed.values[1], tobit(data.p2Added)
    local tag1, tag2, tag3 = tobit(data.tags[1]), tobit(data.tags[2]), tobit(data.tags[3])
    local preferences, addedOrdered = data.tagPreferences, ordered(added)
    local longest, step = data.longestPath, data.p2MedStep
    local always, flagPreference = bor(data.flagCommunity, data.flagMed), data.flagPreference
    return function()
        slot.changes.flags = 0
        if isBogon() then return false end
        if slot.route.pathLength > longest then return false end
        local count, kept, tag = slot.route.community.count, 0, 4
        for i = 0, count - 1 do
            local value = slot.route.community.values[i]
            if value == tag1 then tag = 1 end
            if value == tag2 then tag = min(tag, 2) end
            if value == tag3 then tag = min(tag, 3) end
            if value ~= removed1 and value ~= removed2 then
                slot.changes.community[kept] = value
                kept = kept + 1
            end
        end
        if kept > 0 and ordered(slot.changes.community[kept - 1]) >= addedOrdered then
            kept = addCommunity(kept, added)
        else
            slot.changes.community[kept] = added
            kept = kept + 1
        end
        slot.changes.communityCount = kept
        slot.changes.med = min(slot.route.med + step, limit)
        if tag < 4 then
            slot.changes.localPref = preferences[tag]
            slot.changes.flags = bor(always, flagPreference)
        else
            slot.changes.flags = always
        end
        return true
    end
end

policies[2] = tuned and tunedImportFilter or importFilter

-- The clauses as the text of one `if`.
local clauseTemplates = {
    [0] = "slot.route.prefixLength >= %d and slot.route.prefixLength <= %d and hasAny(values[%d])",
    "values[%d][slot.route.originAs]",
    "hasAny(values[%d])",
    "slot.route.localPref >= %d and slot.route.localPref <= %d",
    "slot.route.nextHopFamily == 4 and permits(values[%d], slot.route.nextHop, 32)",
}

local function preferenceByClauses()
    local text, values = {}, {}
    for i, clause in ipairs(data.clauses) do
        text[i] = ("if %s then return %d\nelse"):format(
            clauseTest(clauseTemplates, i, clause), clause.preference)
        values[i] = clause.kind == 4 and list(clause.list) or
            clause.kind ~= 3 and lookup(set(clause.values))
    end
    local source = "local slot, values, hasAny, permits = ...\nreturn function()\n"
        .. table.concat(text) .. " return slot.route.localPref end end"
    return loadstring(source)(slot, values, hasAny, permits)
end

-- One table for all sets of constants that one attribute is tested against: from a constant to the
-- sets that hold it, a bit each. At most 32 sets.
local function newIndex() return { size = 0, masks = {} } end

local function addToIndex(index, values)
    assert(index.size < 32)
    local flag = lshift(1, index.size)
    index.size = index.size + 1
    for i = 0, values.count - 1 do
        local value = values.values[i]
        index.masks[value] = bor(index.masks[value] or 0, flag)
    end
    return flag
end

-- Whether a host is in a list, as the text of nested comparisons: a bisection.
local function bisection(prefixes, low, high)
    if high - low == 1 then return prefixes.hosts[low] ~= 0 and "true" or "false" end
    local middle = rshift(low + high, 1)
    local below, above = bisection(prefixes, low, middle), bisection(prefixes, middle, high)
    if below == above then return below end
    local start = ordered(prefixes.starts[middle])
    if below == "false" and above == "true" then return ("nextHop >= %d"):format(start) end
    if below == "true" and above == "false" then return ("nextHop < %d"):format(start) end
    if below == "false" then return ("(nextHop >= %d and %s)"):format(start, above) end
    if above == "false" then return ("(nextHop < %d and %s)"):format(start, below) end
    return ("((nextHop < %d and %s) or (nextHop >= %d and %s))"):format(start, below, start, above)
end

-- The clauses over what the two tables found.
local function clauseText(clause, byCommunity, byOrigin)
    local format, kind = string.format, clause.kind
    local test
    if kind == 0 then
        test = format("length >= %d and length <= %d and band(tags, %d) ~= 0", clause.low,
            clause.high, addToIndex(byCommunity, set(clause.values)))
    elseif kind == 1 then
        test = format("band(origins, %d) ~= 0", addToIndex(byOrigin, set(clause.values)))
    elseif kind == 2 then
        test = format("band(tags, %d) ~= 0", addToIndex(byCommunity, set(clause.values)))
    elseif kind == 3 then
        test = format("localPref >= %d and localPref <= %d", clause.low, clause.high)
    else
        local prefixes = list(clause.list)
        test = "hasNextHop and " .. bisection(prefixes, 0, prefixes.count)
    end
    return format("if %s then return %d\nelse", test, clause.preference)
end

local function clauseFunction()
    local text, byCommunity, byOrigin = {}, newIndex(), newIndex()
    for i, clause in ipairs(data.clauses) do
        text[i] = clauseText(clause, byCommunity, byOrigin)
    end
    local source = [[
local slot, byOrigin, band, bxor = ...
return function(tags)
    local length, localPref = slot.route.prefixLength, slot.route.localPref
    local origins = byOrigin[slot.route.originAs] or 0
    local hasNextHop = slot.route.nextHopFamily == 4
    local nextHop = bxor(slot.route.nextHop, 0x80000000)
    ]] .. table.concat(text) .. " return localPref end end"
    return loadstring(source)(slot, byOrigin.masks, band, bxor), byCommunity.masks
end

-- What follows the clauses; `preferenceOf` works them off and writes the communities.
local function adjustments(preferenceOf)
    local step, longPath = data.p3MedStep, data.p3LongPath
    local preferenceStep = data.p3PreferenceStep
    local flags = bor(data.flagCommunity, data.flagMed, data.flagOrigin, data.flagPreference)
    local function isLonger(than) return slot.route.pathLength > than end
    local function adjusted(by, than)
        if isLonger(than) then return min(slot.route.med + by, limit) end
        return max(slot.route.med - by, 0)
    end
    return function()
        slot.changes.localPref = min(preferenceOf() + preferenceStep, limit)
        slot.changes.med = adjusted(step, longPath)
        slot.changes.origin = 0
        slot.changes.flags = flags
        return true
    end
end

local function clauses()
    local preferenceOf, added = preferenceByClauses(), tobit(data.p3Added)
    return adjustments(function()
        local preference = preferenceOf()
        changeCommunities(nil, nil, added)
        return preference
    end)
end

local function tunedClauses()
    local preferenceOf, byCommunity = clauseFunction()
    local added = tobit(data.p3Added)
    local addedOrdered = ordered(added)
    return adjustments(function()
        local count, tags = slot.route.community.count, 0
        for i = 0, count - 1 do
            local value = slot.route.community.values[i]
            slot.changes.community[i] = value
            local found = byCommunity[value]
            if found then tags = bor(tags, found) end
        end
        if count > 0 and ordered(slot.changes.community[count - 1]) >= addedOrdered then
            slot.changes.communityCount = addCommunity(count, added)
        else
            slot.changes.community[count] = added
            slot.changes.communityCount = count + 1
        end
        return preferenceOf(tags)
    end)
end

policies[3] = tuned and tunedClauses or clauses

-- Communities of three words as tables within tables.
local function wordTable(values)
    local words = {}
    for i = 0, 3 * values.count - 1, 3 do
        local low, high, kind = values.values[i], values.values[i + 1], values.values[i + 2]
        words[high] = words[high] or {}
        words[high][low] = words[high][low] or {}
        words[high][low][kind] = true
    end
    return words
end

-- Writes the route's large communities but for some of them; answers how many.
local function removeLarge(removed)
    local kept = 0
    for i = 0, 3 * slot.route.largeCommunity.count - 1, 3 do
        local low = slot.route.largeCommunity.values[i]
        local high = slot.route.largeCommunity.values[i + 1]
        local kind = slot.route.largeCommunity.values[i + 2]
        local found = removed[high]
        found = found and found[low]
        if not (found and found[kind]) then
            slot.changes.largeCommunity[kept] = low
            slot.changes.largeCommunity[kept + 1] = high
            slot.changes.largeCommunity[kept + 2] = kind
            kept = kept + 3
        end
    end
    return kept / 3
end

local function isLess(low1, high1, kind1, low2, high2, kind2)
    if high1 ~= high2 then return ordered(high1) < ordered(high2) end
    if low1 ~= low2 then return ordered(low1) < ordered(low2) end
    return ordered(kind1) < ordered(kind2)
end

-- Writes the route's extended communities and one more where it belongs; answers how many.
local function addExtended(low, high, kind)
    local to, put = 0, false
    for i = 0, 3 * slot.route.extCommunity.count - 1, 3 do
        local low1 = slot.route.extCommunity.values[i]
        local high1 = slot.route.extCommunity.values[i + 1]
        local kind1 = slot.route.extCommunity.values[i + 2]
        if not put and not isLess(low1, high1, kind1, low, high, kind) then
            slot.changes.extCommunity[to] = low
            slot.changes.extCommunity[to + 1] = high
            slot.changes.extCommunity[to + 2] = kind
            to, put = to + 3, true
        end
        if low1 ~= low or high1 ~= high or kind1 ~= kind then
            slot.changes.extCommunity[to] = low1
            slot.changes.extCommunity[to + 1] = high1
            slot.changes.extCommunity[to + 2] = kind1
            to = to + 3
        end
    end
    if not put then
        slot.changes.extCommunity[to] = low
        slot.changes.extCommunity[to + 1] = high
        slot.changes.extCommunity[to + 2] = kind
        to = to + 3
    end
    return to / 3
end

local function bigLists()
    local prefixes, wanted = list(data.prefixes), lookup(set(data.communities))
    local removed, added = wordTable(set(data.removedLarge)), set(data.addedExtended).values
    local low, high, kind = added[0], added[1], added[2]
    local preference, med = data.p4Preference, data.p4Med
    local always = bor(data.flagLarge, data.flagExtended)
    local flagPreference, flagMed = data.flagPreference, data.flagMed
    return function()
        local flags = always
        if slot.route.prefixFamily == 4 and
            permits(prefixes, slot.route.prefix, slot.route.prefixLength) then
            slot.changes.localPref = preference
            flags = bor(flags, flagPreference)
        end
        if hasAny(wanted) then
            slot.changes.med = med
            flags = bor(flags, flagMed)
        end
        slot.changes.largeCommunityCount = removeLarge(removed)
        slot.changes.extCommunityCount = addExtended(low, high, kind)
        slot.changes.flags = flags
        return true
    end
end

local function tunedBigLists()
    local listed = prefixTest(list(data.prefixes))
    local communities = newIndex()
    addToIndex(communities, set(data.communities))
    local wanted = communities.masks
    local removed = wordTable(set(data.removedLarge))
    local added = set(data.addedExtended).values
    local low, high, kind = added[0], added[1], added[2]
    local preference, med = data.p4Preference, data.p4Med
    local always = bor(data.flagLarge, data.flagExtended)
    local flagPreference, flagMed = data.flagPreference, data.flagMed
    local function tagged()
        if slot.route.community.count == 0 then return false end
        if wanted[slot.route.community.values[0]] then return true end
        for i = 1, slot.route.community.count - 1 do
            if wanted[slot.route.community.values[i]] then return true end
        end
        return false
    end
    return function()
        local flags = always
        if listed() then
            slot.changes.localPref = preference
            flags = bor(flags, flagPreference)
        end
        if tagged() then
            slot.changes.med = med
            flags = bor(flags, flagMed)
        end
        -- Most routes have none of these: no loop is better than one that ends at once.
        if slot.route.largeCommunity.count == 0 then
            slot.changes.largeCommunityCount = 0
        else
            slot.changes.largeCommunityCount = removeLarge(removed)
        end
        if slot.route.extCommunity.count == 0 then
            slot.changes.extCommunity[0] = low
            slot.changes.extCommunity[1] = high
            slot.changes.extCommunity[2] = kind
            slot.changes.extCommunityCount = 1
        else
            slot.changes.extCommunityCount = addExtended(low, high, kind)
        end
        slot.changes.flags = flags
        return true
    end
end

policies[4] = tuned and tunedBigLists or bigLists

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
