-- The policies over an object whose methods are C functions, the way any Lua can be embedded.
local data, policyNumber = ...
local min, max = math.min, math.max
local load = loadstring or load
local limit = 0xffffffff

local policies = {}

policies[0] = function()
    return function() return true end
end

policies[1] = function()
    local medBelow, preference = data.p1MedBelow, data.p1Preference
    return function(r)
        if r:med() < medBelow then r:set_local_preference(preference) end
        return true
    end
end

policies[2] = function()
    local bogons, removed, added = data.bogons, data.p2Removed, data.p2Added
    local tags, preferences = data.tags, data.tagPreferences
    local longest, step = data.longestPath, data.p2MedStep
    return function(r)
        if r:prefix_in(bogons) then return false end
        if r:path_length() > longest then return false end
        for i = 1, 3 do
            if r:has_community(tags[i]) then
                r:set_local_preference(preferences[i])
                break
            end
        end
        r:remove_communities(removed)
        r:add_community(added)
        r:set_med(min(r:med() + step, limit))
        return true
    end
end

-- The clauses as the text of one `if`, as a translator of policies would write it.
local clauseTemplates = {
    [0] = "r:prefix_length() >= %d and r:prefix_length() <= %d and r:has_any(values[%d])",
    "r:origin_as_in(values[%d])",
    "r:has_any(values[%d])",
    "r:local_preference() >= %d and r:local_preference() <= %d",
    "r:next_hop_in(lists[%d])",
}

local function clauseFunction()
    local text, values, lists = {}, {}, {}
    for i, clause in ipairs(data.clauses) do
        text[i] = ("if %s then r:set_local_preference(%d)\nelse"):format(
            clauseTest(clauseTemplates, i, clause), clause.preference)
        values[i], lists[i] = clause.values, clause.list
    end
    local source = "local values, lists = ...\nreturn function(r)\n"
        .. table.concat(text) .. " return end end"
    return load(source)(values, lists)
end

policies[3] = function()
    local clauses = clauseFunction()
    local step, longPath, added = data.p3MedStep, data.p3LongPath, data.p3Added
    local preferenceStep = data.p3PreferenceStep
    local function isLonger(r, than) return r:path_length() > than end
    local function adjustMed(r, by, than)
        if isLonger(r, than) then
            r:set_med(min(r:med() + by, limit))
        else
            r:set_med(max(r:med() - by, 0))
        end
    end
    return function(r)
        clauses(r)
        adjustMed(r, step, longPath)
        r:set_origin(0)
        r:add_community(added)
        r:set_local_preference(min(r:local_preference() + preferenceStep, limit))
        return true
    end
end

policies[4] = function()
    local prefixes, communities = data.prefixes, data.communities
    local removed, added = data.removedLarge, data.addedExtended
    local preference, med = data.p4Preference, data.p4Med
    return function(r)
        if r:prefix_in(prefixes) then r:set_local_preference(preference) end
        if r:has_any(communities) then r:set_med(med) end
        r:remove_large_communities(removed)
        r:add_ext_community(added)
        return true
    end
end

return policies[policyNumber]()
