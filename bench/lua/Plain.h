#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

/// Routes and constants as plain structures, for languages that see C structures and for modules
/// that know nothing of the engine. ffi.lua declares the same structures once more.
extern "C" {

/// Ascending numbers, or communities of three words each: low and high half of the value, type.
struct PlainSet {
    uint32_t count;
    uint32_t const * values;
};

/// An IPv4 prefix list: where pieces of the address space start, and for each piece a bit for every
/// prefix length up to 31 that is permitted, and whether hosts are.
struct PlainList {
    uint32_t count;
    uint32_t const * starts;
    uint32_t const * lengths;
    uint32_t const * hosts;
};

struct PlainRoute {
    uint32_t prefix;       ///< IPv4 only
    uint32_t prefixFamily; ///< 4, 6 or 0
    uint32_t prefixLength;
    uint32_t nextHop; ///< IPv4 only
    uint32_t nextHopFamily;
    uint32_t pathLength;
    uint32_t originAs;
    uint32_t med;
    uint32_t localPref;
    PlainSet community;
    PlainSet largeCommunity;
    PlainSet extCommunity;
};

/// What a policy changed; flags as the agent numbers them. A rejected route has none.
struct PlainChanges {
    uint32_t flags;
    uint32_t med;
    uint32_t localPref;
    uint32_t origin;
    uint32_t communityCount;
    uint32_t largeCommunityCount;
    uint32_t extCommunityCount;
    uint32_t community[128];
    uint32_t largeCommunity[3 * 64];
    uint32_t extCommunity[3 * 64];
};

/// Where a script finds the route and leaves what it changed.
struct PlainSlot {
    PlainRoute const * route;
    PlainChanges changes;
};

struct PlainClause {
    uint32_t
        kind; ///< 0 length and communities, 1 origin AS, 2 communities, 3 preference, 4 next hop
    uint32_t low;
    uint32_t high;
    PlainSet values;
    PlainList list;
    uint32_t preference;
};

/// The constants of the policies.
struct PlainData {
    uint32_t flagCommunity, flagLarge, flagExtended, flagPreference, flagMed, flagOrigin;
    uint32_t p1MedBelow, p1Preference;
    PlainList bogons;
    uint32_t longestPath, tags[3], tagPreferences[3], p2Added, p2MedStep;
    PlainSet p2Removed;
    PlainClause const * clauses;
    uint32_t clauseCount, p3MedStep, p3LongPath, p3Added, p3PreferenceStep;
    PlainList prefixes;
    uint32_t p4Preference, p4Med;
    PlainSet communities, removedLarge, addedExtended;
};

/// What a language module offers; the only thing it exports is `qcfBenchLanguage`.
struct LanguageModule {
    /// Loads a script and its policy of that number; null with a message on failure.
    void * (*open)(char const * script, PlainData const * data, uint32_t policy, char * error,
                   size_t errorSize);
    void (*close)(void * state);
    /// Calls the policy for each route; answers how many it accepted.
    uint64_t (*run)(void * state, PlainRoute const * routes, uint64_t count);
    /// The same with the loop in the script.
    uint64_t (*runLoop)(void * state, PlainRoute const * routes, uint64_t count);
    /// What the last route changed.
    PlainChanges const * (*changes)(void * state);
};

} // extern "C"
