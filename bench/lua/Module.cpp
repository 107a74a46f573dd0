/// The policies as Lua scripts. Compiled twice, against LuaJIT and against Lua, into modules that
/// are loaded apart from each other: both define the same names.
#include "bench/lua/Plain.h"

#include <cstdio>
#include <memory>

extern "C" {
#include <lauxlib.h>
#include <lua.h>
#include <lualib.h>
}

namespace {

bool permits(PlainList const & list, uint32_t address, uint32_t length) {
    uint32_t const * piece = list.starts;
    for (uint32_t left = list.count; left > 1;) {
        uint32_t const half = left / 2;
        piece += piece[half] <= address ? half : 0;
        left -= half;
    }
    auto const index = piece - list.starts;
    return length == 32 ? list.hosts[index] != 0 : (list.lengths[index] >> length & 1) != 0;
}

struct Words {
    uint32_t low, high, type;
    uint64_t value() const { return uint64_t{high} << 32 | low; }
    bool operator==(Words const & other) const {
        return value() == other.value() && type == other.type;
    }
    bool operator<(Words const & other) const {
        return value() != other.value() ? value() < other.value() : type < other.type;
    }
};

template <typename Value>
struct Values {
    Value const * first;
    Value const * last;

    explicit Values(PlainSet const & set)
        : first(reinterpret_cast<Value const *>(set.values)), last(first + set.count) {}
    bool contain(Value const & value) const { return std::binary_search(first, last, value); }
};

bool sharesValue(PlainSet const & few, PlainSet const & many) {
    Values<uint32_t> const wanted(few);
    Values<uint32_t> const among(many);
    auto from = among.first;
    for (auto const * value = wanted.first; value != wanted.last; ++value) {
        from = std::lower_bound(from, among.last, *value);
        if (from != among.last && *from == *value) {
            return true;
        }
    }
    return false;
}

/// One Lua state with one policy.
struct State {
    lua_State * lua = nullptr;
    PlainData const * data = nullptr;
    PlainSlot slot{};
    int policy = LUA_NOREF;
    int loop = LUA_NOREF;
    int route = LUA_NOREF;
};

/// The first argument, which must be the route: its metatable is the method's second upvalue.
PlainSlot & slotOf(lua_State * lua) {
    void * const object = lua_touserdata(lua, 1);
    bool const isRoute = object != nullptr && lua_getmetatable(lua, 1) != 0 &&
                         lua_rawequal(lua, -1, lua_upvalueindex(2)) != 0;
    if (!isRoute) {
        luaL_error(lua, "a method of routes was called without one");
    }
    lua_pop(lua, 1);
    // NOLINTNEXTLINE(clang-analyzer-core.NullDereference): the error above does not return
    return **static_cast<PlainSlot **>(object);
}
PlainRoute const & routeOf(lua_State * lua) { return *slotOf(lua).route; }
template <typename Pointee>
Pointee const & pointee(lua_State * lua, int argument) {
    luaL_checktype(lua, argument, LUA_TLIGHTUSERDATA);
    return *static_cast<Pointee const *>(lua_touserdata(lua, argument));
}
uint32_t integer(lua_State * lua, int argument) {
    return static_cast<uint32_t>(luaL_checknumber(lua, argument));
}
int answer(lua_State * lua, bool value) {
    lua_pushboolean(lua, value ? 1 : 0);
    return 1;
}
int answerInteger(lua_State * lua, uint32_t value) {
    lua_pushinteger(lua, static_cast<lua_Integer>(value));
    return 1;
}
PlainData const & dataOf(lua_State * lua) {
    return *static_cast<PlainData const *>(lua_touserdata(lua, lua_upvalueindex(1)));
}

/// The communities that hold: what was written, else the route's.
PlainSet communityOf(PlainSlot const & slot, uint32_t flag) {
    return (slot.changes.flags & flag) != 0
               ? PlainSet{slot.changes.communityCount, slot.changes.community}
               : slot.route->community;
}

/// What a method may find of values that were written before.
uint32_t written(PlainSlot const & slot, uint32_t flag, uint32_t changed, uint32_t original) {
    return (slot.changes.flags & flag) != 0 ? changed : original;
}

int med(lua_State * lua) {
    PlainSlot const & slot = slotOf(lua);
    return answerInteger(lua,
                         written(slot, dataOf(lua).flagMed, slot.changes.med, slot.route->med));
}
int localPreference(lua_State * lua) {
    PlainSlot const & slot = slotOf(lua);
    return answerInteger(lua, written(slot, dataOf(lua).flagPreference, slot.changes.localPref,
                                      slot.route->localPref));
}
int pathLength(lua_State * lua) { return answerInteger(lua, routeOf(lua).pathLength); }
int prefixLength(lua_State * lua) { return answerInteger(lua, routeOf(lua).prefixLength); }
int prefixIn(lua_State * lua) {
    PlainRoute const & route = routeOf(lua);
    auto const & list = pointee<PlainList>(lua, 2);
    return answer(lua, route.prefixFamily == 4 && permits(list, route.prefix, route.prefixLength));
}
int nextHopIn(lua_State * lua) {
    PlainRoute const & route = routeOf(lua);
    auto const & list = pointee<PlainList>(lua, 2);
    return answer(lua, route.nextHopFamily == 4 && permits(list, route.nextHop, 32));
}
int originAsIn(lua_State * lua) {
    PlainRoute const & route = routeOf(lua);
    return answer(lua, Values<uint32_t>(pointee<PlainSet>(lua, 2)).contain(route.originAs));
}
int hasCommunity(lua_State * lua) {
    PlainSet const set = communityOf(slotOf(lua), dataOf(lua).flagCommunity);
    return answer(lua, Values<uint32_t>(set).contain(integer(lua, 2)));
}
int hasAny(lua_State * lua) {
    PlainSet const set = communityOf(slotOf(lua), dataOf(lua).flagCommunity);
    auto const & other = pointee<PlainSet>(lua, 2);
    return answer(lua, set.count < other.count ? sharesValue(set, other) : sharesValue(other, set));
}

int setMed(lua_State * lua) {
    PlainSlot & slot = slotOf(lua);
    slot.changes.med = integer(lua, 2);
    slot.changes.flags |= dataOf(lua).flagMed;
    return 0;
}
int setLocalPreference(lua_State * lua) {
    PlainSlot & slot = slotOf(lua);
    slot.changes.localPref = integer(lua, 2);
    slot.changes.flags |= dataOf(lua).flagPreference;
    return 0;
}
int setOrigin(lua_State * lua) {
    PlainSlot & slot = slotOf(lua);
    slot.changes.origin = integer(lua, 2);
    slot.changes.flags |= dataOf(lua).flagOrigin;
    return 0;
}
int removeCommunities(lua_State * lua) {
    PlainSlot & slot = slotOf(lua);
    uint32_t const flag = dataOf(lua).flagCommunity;
    Values<uint32_t> const values(communityOf(slot, flag));
    Values<uint32_t> const removed(pointee<PlainSet>(lua, 2));
    auto * const end = std::set_difference(values.first, values.last, removed.first, removed.last,
                                           slot.changes.community);
    slot.changes.communityCount = static_cast<uint32_t>(end - slot.changes.community);
    slot.changes.flags |= flag;
    return 0;
}
int addCommunity(lua_State * lua) {
    PlainSlot & slot = slotOf(lua);
    PlainChanges & changes = slot.changes;
    uint32_t const flag = dataOf(lua).flagCommunity;
    uint32_t const added = integer(lua, 2);
    if ((changes.flags & flag) == 0) {
        PlainSet const & set = slot.route->community;
        std::copy_n(set.values, set.count, changes.community);
        changes.communityCount = set.count;
        changes.flags |= flag;
    }
    auto * const end = changes.community + changes.communityCount;
    auto * const place = std::lower_bound(changes.community, end, added);
    if (place == end || *place != added) {
        std::copy_backward(place, end, end + 1);
        *place = added;
        ++changes.communityCount;
    }
    return 0;
}
int removeLargeCommunities(lua_State * lua) {
    PlainSlot & slot = slotOf(lua);
    Values<Words> const values(slot.route->largeCommunity);
    Values<Words> const removed(pointee<PlainSet>(lua, 2));
    auto * const to = reinterpret_cast<Words *>(slot.changes.largeCommunity);
    auto * const end =
        std::set_difference(values.first, values.last, removed.first, removed.last, to);
    slot.changes.largeCommunityCount = static_cast<uint32_t>(end - to);
    slot.changes.flags |= dataOf(lua).flagLarge;
    return 0;
}
int addExtCommunity(lua_State * lua) {
    PlainSlot & slot = slotOf(lua);
    Values<Words> const values(slot.route->extCommunity);
    Values<Words> const added(pointee<PlainSet>(lua, 2));
    auto * const to = reinterpret_cast<Words *>(slot.changes.extCommunity);
    auto * const end = std::set_union(values.first, values.last, added.first, added.last, to);
    slot.changes.extCommunityCount = static_cast<uint32_t>(end - to);
    slot.changes.flags |= dataOf(lua).flagExtended;
    return 0;
}

struct Method {
    char const * name;
    lua_CFunction function;
};
constexpr Method methods[] = {
    {"med", med},
    {"local_preference", localPreference},
    {"path_length", pathLength},
    {"prefix_length", prefixLength},
    {"prefix_in", prefixIn},
    {"next_hop_in", nextHopIn},
    {"origin_as_in", originAsIn},
    {"has_community", hasCommunity},
    {"has_any", hasAny},
    {"set_med", setMed},
    {"set_local_preference", setLocalPreference},
    {"set_origin", setOrigin},
    {"remove_communities", removeCommunities},
    {"add_community", addCommunity},
    {"remove_large_communities", removeLargeCommunities},
    {"add_ext_community", addExtCommunity},
};

/// Fields of the table on top of the stack.
void field(lua_State * lua, char const * name, uint32_t value) {
    lua_pushnumber(lua, value);
    lua_setfield(lua, -2, name);
}
void field(lua_State * lua, char const * name, void const * address) {
    lua_pushlightuserdata(lua, const_cast<void *>(address));
    lua_setfield(lua, -2, name);
}
void field(lua_State * lua, char const * name, uint32_t const (&values)[3]) {
    lua_newtable(lua);
    for (int i = 0; i < 3; ++i) {
        lua_pushnumber(lua, values[i]);
        lua_rawseti(lua, -2, i + 1);
    }
    lua_setfield(lua, -2, name);
}

void pushClauses(lua_State * lua, PlainData const & data) {
    lua_newtable(lua);
    for (uint32_t i = 0; i < data.clauseCount; ++i) {
        PlainClause const & clause = data.clauses[i];
        lua_newtable(lua);
        field(lua, "kind", clause.kind);
        field(lua, "low", clause.low);
        field(lua, "high", clause.high);
        field(lua, "preference", clause.preference);
        field(lua, "values", static_cast<void const *>(&clause.values));
        field(lua, "list", static_cast<void const *>(&clause.list));
        lua_rawseti(lua, -2, static_cast<int>(i) + 1);
    }
    lua_setfield(lua, -2, "clauses");
}

#define QCF_NUMBER(name) field(lua, #name, data.name)
#define QCF_ADDRESS(name) field(lua, #name, static_cast<void const *>(&data.name))
void pushData(lua_State * lua, PlainData const & data) {
    lua_newtable(lua);
    QCF_NUMBER(flagCommunity);
    QCF_NUMBER(flagLarge);
    QCF_NUMBER(flagExtended);
    QCF_NUMBER(flagPreference);
    QCF_NUMBER(flagMed);
    QCF_NUMBER(flagOrigin);
    QCF_NUMBER(p1MedBelow);
    QCF_NUMBER(p1Preference);
    QCF_NUMBER(longestPath);
    QCF_NUMBER(tags);
    QCF_NUMBER(tagPreferences);
    QCF_NUMBER(p2Added);
    QCF_NUMBER(p2MedStep);
    QCF_NUMBER(p3MedStep);
    QCF_NUMBER(p3LongPath);
    QCF_NUMBER(p3Added);
    QCF_NUMBER(p3PreferenceStep);
    QCF_NUMBER(p4Preference);
    QCF_NUMBER(p4Med);
    QCF_ADDRESS(bogons);
    QCF_ADDRESS(p2Removed);
    QCF_ADDRESS(prefixes);
    QCF_ADDRESS(communities);
    QCF_ADDRESS(removedLarge);
    QCF_ADDRESS(addedExtended);
    pushClauses(lua, data);
}
#undef QCF_NUMBER
#undef QCF_ADDRESS

void pushRoute(State & state) {
    lua_State * const lua = state.lua;
    // NOLINTNEXTLINE(bugprone-sizeof-expression): the object holds the pointer
    *static_cast<PlainSlot **>(lua_newuserdata(lua, sizeof(PlainSlot *))) = &state.slot;
    lua_newtable(lua);
    lua_newtable(lua);
    for (Method const & method : methods) {
        lua_pushlightuserdata(lua, const_cast<PlainData *>(state.data));
        lua_pushvalue(lua, -3);
        lua_pushcclosure(lua, method.function, 2);
        lua_setfield(lua, -2, method.name);
    }
    lua_setfield(lua, -2, "__index");
    lua_setmetatable(lua, -2);
}

void close(void * opaque) {
    std::unique_ptr<State> const state(static_cast<State *>(opaque));
    lua_close(state->lua);
}

/// Scripts get the constants, the policy's number and the address of the slot. They return the
/// policy, which is called with the route as an object, and where they see structures a loop over
/// routes.
void * open(char const * script, PlainData const * data, uint32_t policy, char * error,
            size_t errorSize) {
    auto state = std::make_unique<State>();
    lua_State * const lua = luaL_newstate();
    state->lua = lua;
    state->data = data;
    luaL_openlibs(lua);
    int failed = luaL_loadstring(lua, script);
    if (failed == 0) {
        pushData(lua, *data);
        lua_pushnumber(lua, policy);
        lua_pushlightuserdata(lua, &state->slot);
        failed = lua_pcall(lua, 3, 2, 0);
    }
    if (failed != 0) {
        std::snprintf(error, errorSize, "%s", lua_tostring(lua, -1));
        close(state.release());
        return nullptr;
    }
    state->loop = luaL_ref(lua, LUA_REGISTRYINDEX);
    state->policy = luaL_ref(lua, LUA_REGISTRYINDEX);
    pushRoute(*state);
    state->route = luaL_ref(lua, LUA_REGISTRYINDEX);
    return state.release();
}

[[noreturn]] void fail(lua_State * lua) {
    std::fprintf(stderr, "a policy script failed: %s\n", lua_tostring(lua, -1));
    std::abort();
}

uint64_t run(void * opaque, PlainRoute const * routes, uint64_t count) {
    State & state = *static_cast<State *>(opaque);
    lua_State * const lua = state.lua;
    uint64_t accepted = 0;
    lua_rawgeti(lua, LUA_REGISTRYINDEX, state.policy);
    lua_rawgeti(lua, LUA_REGISTRYINDEX, state.route);
    for (uint64_t i = 0; i < count; ++i) {
        state.slot.route = routes + i;
        state.slot.changes.flags = 0;
        lua_pushvalue(lua, -2);
        lua_pushvalue(lua, -2);
        if (lua_pcall(lua, 1, 1, 0) != 0) {
            fail(lua);
        }
        accepted += lua_toboolean(lua, -1) != 0 ? 1 : 0;
        lua_pop(lua, 1);
    }
    lua_pop(lua, 2);
    return accepted;
}

uint64_t runLoop(void * opaque, PlainRoute const * routes, uint64_t count) {
    State & state = *static_cast<State *>(opaque);
    lua_State * const lua = state.lua;
    lua_rawgeti(lua, LUA_REGISTRYINDEX, state.loop);
    lua_pushlightuserdata(lua, const_cast<PlainRoute *>(routes));
    lua_pushnumber(lua, static_cast<lua_Number>(count));
    if (lua_pcall(lua, 2, 1, 0) != 0) {
        fail(lua);
    }
    auto const accepted = static_cast<uint64_t>(lua_tonumber(lua, -1));
    lua_pop(lua, 1);
    return accepted;
}

PlainChanges const * changes(void * opaque) { return &static_cast<State *>(opaque)->slot.changes; }

} // namespace

extern "C" {
extern LanguageModule const qcfBenchLanguage;
LanguageModule const qcfBenchLanguage{open, close, run, runLoop, changes};
}
