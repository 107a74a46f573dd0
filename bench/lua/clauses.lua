-- What the scripts share; it stands before each of them.
local unpack = unpack or table.unpack

-- A clause's test as text, from a template for each kind of clause. Its sets and lists are called by
-- the clause's number.
local function clauseTest(templates, i, clause)
    local arguments = {
        [0] = { clause.low, clause.high, i }, { i }, { i }, { clause.low, clause.high }, { i },
    }
    return templates[clause.kind]:format(unpack(arguments[clause.kind]))
end

