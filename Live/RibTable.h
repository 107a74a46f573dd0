#pragma once

#include "Agent/Mrt/BgpUpdate.h"

#include <vector>

namespace Qcf::Live {

/// A route as a table keeps it, in 32 bytes. Its attributes stand in an AttributeStore.
struct RibRoute {
    /// What is not evaluated has no verdict.
    enum class Verdict : U8 { rejected, accepted, unknown, none };
    enum Mark : U8 {
        as4 = 1,       ///< its AS_PATH has AS numbers of four bytes
        localPref = 2, ///< it came with LOCAL_PREF
    };

    std::array<U8, 16> address;
    U32 pathId;
    U32 attributes;       ///< number in the store
    U16 decidedBy;        ///< the deciding statement; 0 for none that is known
    AddressFamily family; ///< none of a slot that is free
    U8 length;
    Verdict verdict;
    U8 marks;
    U8 generation; ///< of the connection that sent it last
    /// When it changed last, as TableFeed::tick has it, or what it is compared with; 0 for long
    /// ago.
    U8 changed;

    IpGenPrefix prefix() const;
    /// By prefix and path identifier.
    bool isOf(Agent::UpdatePrefix const & key) const {
        return pathId == key.pathId && prefix() == key.prefix;
    }
};
static_assert(sizeof(RibRoute) == 32);

/// The routes of one table by prefix and path identifier: one piece of memory without anything
/// around a route.
///
///     auto const [route, isNew] = table.insert({prefix, pathId});
///     table.erase(*route);
///
/// A route moves when others come and go: pointers hold until the next change. The order is by hash
/// and differs from run to run. Memory: 43 to 85 bytes a route. Belongs to one thread.
class RibTable {
public:
    struct Inserted {
        RibRoute * route;
        bool isNew; ///< all but its key is to be set
    };

    RibTable();

    /// Null where there is none.
    RibRoute * find(Agent::UpdatePrefix const & key);
    /// The route of that key, made where there is none.
    Inserted insert(Agent::UpdatePrefix const & key);
    /// Takes out a route of this table.
    void erase(RibRoute & route);
    /// Takes out all, and gives back the memory.
    void clear();

    std::size_t size() const { return size_; }
    U64 memory() const { return slots_.size() * sizeof(RibRoute); }

    /// Calls `visit(route)` for each; the table must not change meanwhile.
    template <typename Visit>
    void each(Visit visit) {
        for (RibRoute & route : slots_) {
            if (route.family != AddressFamily::none) {
                visit(route);
            }
        }
    }
    /// How many places for routes there are. As long as there are as many, routes stay where they
    /// are, but for the few that move up when another one goes.
    std::size_t places() const { return slots_.size(); }
    /// The route at a place; null where there is none.
    RibRoute * at(std::size_t place) {
        RibRoute & route = slots_[place];
        return route.family == AddressFamily::none ? nullptr : &route;
    }
    /// The order of `sorted`: by prefix, then identifier.
    static bool precedes(RibRoute const & a, RibRoute const & b);
    /// Takes out those for which `isGone(route)` holds, after the call.
    template <typename Question>
    void eraseIf(Question isGone) {
        // Backwards from a free slot: what an erasure moves up stands between here and that slot,
        // and was asked already.
        std::size_t const mask = slots_.size() - 1;
        std::size_t const end = firstFree();
        for (std::size_t steps = 1; steps < slots_.size(); ++steps) {
            RibRoute & route = slots_[(end - steps) & mask];
            while (route.family != AddressFamily::none && isGone(route)) {
                erase(route);
            }
        }
    }
    /// All routes by prefix, then identifier; good until the next change.
    std::vector<RibRoute *> sorted();

private:
    std::size_t homeOf(RibRoute const & route) const;
    /// Where the route of that key stands, or the free slot where it would.
    RibRoute & slotOf(RibRoute const & key);
    /// Some slot is free, unless there are none.
    std::size_t firstFree() const;
    void grow();

    std::vector<RibRoute> slots_; ///< a power of two of them, or none
    std::size_t size_ = 0;
    U32 seed_; ///< so that nobody outside can choose what collides
};

} // namespace Qcf::Live
