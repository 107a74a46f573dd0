#pragma once

#include "Agent/Mrt/BgpUpdate.h"
#include "Live/NumberIndex.h"
#include "Live/RouteOutcome.h"

#include <memory>
#include <vector>

namespace Qcf::Live {

/// A route as a table keeps it, in 32 bytes. Its attributes stand in an AttributeStore.
struct RibRoute {
    enum Mark : U8 {
        as4 = 1,       ///< its AS_PATH has AS numbers of four bytes
        localPref = 2, ///< it came with LOCAL_PREF
    };

    std::array<U8, 16> address;
    U32 pathId;
    U32 attributes; ///< number in the store
    U8 length;
    U8 generation; ///< of the connection that sent it last
    /// When it changed last, as TableFeed::tick has it, or what it is compared with; 0 for long
    /// ago.
    U8 changed;

    /// What it is marked with; no mark of a route that is new.
    bool has(Mark mark) const { return (bits_ & mark) != 0; }
    void marksAre(U8 marks) { bits_ = static_cast<U8>((bits_ & ~markBits) | marks); }
    AddressFamily family() const {
        return (bits_ & ipv6) != 0 ? AddressFamily::ipv6 : AddressFamily::ipv4;
    }
    /// What became of it, on either of two sides: one for the policy that is shown, one for another
    /// that may take its place. Its table says which is which.
    RouteOutcome outcome(U8 side) const;
    void outcomeIs(U8 side, RouteOutcome const & outcome);

    IpGenPrefix prefix() const;
    /// By prefix and path identifier.
    bool isOf(Agent::UpdatePrefix const & key) const {
        return pathId == key.pathId && prefix() == key.prefix;
    }
    /// The same.
    bool isOfKey(RibRoute const & other) const {
        return address == other.address && pathId == other.pathId && length == other.length &&
               family() == other.family();
    }
    /// A route of that key with nothing else.
    static RibRoute of(Agent::UpdatePrefix const & key);

private:
    static constexpr U8 markBits = as4 | localPref;
    static constexpr U8 ipv6 = 4;
    static constexpr U8 verdictBits = 3;
    static constexpr U8 verdictAt = 4; ///< of the first side; two bits each
    static constexpr U16 writesOther = 0x8000;

    U8 bits_;
    std::array<U16, 2> decided_; ///< statements, and whether another thing is written
};
static_assert(sizeof(RibRoute) == 32);

/// The routes of one table by prefix and path identifier: in one row in pieces of 32 KiB, and an
/// index of places. Growing moves a few thousand routes' numbers at a time, however many there are.
///
///     auto const [route, isNew] = table.insert({prefix, pathId});
///     table.erase(*route);
///
/// Routes stand in the order in which they came; the last one takes the place of one that goes.
/// Pointers hold until the next change. Memory: 37 to 45 bytes a route, of more than a few hundred.
/// Belongs to one thread.
class RibTable {
public:
    /// More cannot be kept.
    static constexpr std::size_t mostRoutes = (std::size_t{1} << 27) - 2;

    struct Inserted {
        RibRoute * route;
        bool isNew; ///< all but its key is to be set
    };

    RibTable();

    /// Null where there is none.
    RibRoute * find(Agent::UpdatePrefix const & key);
    /// The route of that key, made where there is none; not beyond `mostRoutes`.
    Inserted insert(Agent::UpdatePrefix const & key);
    /// Takes out a route of this table.
    void erase(RibRoute const & route);
    /// Takes out all, and gives back the memory.
    void clear();

    std::size_t size() const { return size_; }
    /// The route at a place; null where there is none, which is from `size()` on.
    RibRoute * at(std::size_t place) { return place < size_ ? &stored(place) : nullptr; }
    /// Memory taken, in bytes.
    U64 memory() const;

    /// Calls `visit(route)` for each; the table must not change meanwhile.
    template <typename Visit>
    void each(Visit visit) {
        for (std::size_t place = 0; place < size_; ++place) {
            visit(stored(place));
        }
    }
    /// The order of `sorted`: by prefix, then identifier.
    static bool precedes(RibRoute const & a, RibRoute const & b);
    /// Takes out those for which `isGone(route)` holds, after the call.
    template <typename Question>
    void eraseIf(Question isGone) {
        // What takes the place of one that goes was asked before.
        for (std::size_t place = size_; place > 0; --place) {
            if (RibRoute const & last = stored(place - 1); isGone(last)) {
                erase(last);
            }
        }
    }
    /// All routes by prefix, then identifier; good until the next change.
    std::vector<RibRoute *> sorted();

private:
    static constexpr std::size_t pieceSize = 1024;
    static constexpr U32 placeBits = 27;
    static constexpr U32 placeMask = (U32{1} << placeBits) - 1;

    /// What the index asks of entries.
    struct Keys {
        RibTable & table;
        void const * placeOf(U32 entry) const { return &table.stored(entry & placeMask); }
        U32 hashOf(U32 entry) const { return table.hashOf(table.stored(entry & placeMask)); }
    };

    RibRoute & stored(std::size_t place) { return pieces_[place / pieceSize][place % pieceSize]; }
    U32 hashOf(RibRoute const & key) const;
    /// A place, and above it some bits of the hash: most routes that are not meant need not be
    /// looked at.
    static U32 entryOf(std::size_t place, U32 hash) {
        return static_cast<U32>(place) | NumberIndex::spareBits(hash) << placeBits;
    }
    /// How the route of that key is listed; `NumberIndex::none` where there is none.
    U32 listed(RibRoute const & key, U32 hash);
    RibRoute & append();

    /// All but the last are full; the first one begins small.
    std::vector<std::unique_ptr<RibRoute[]>> pieces_;
    std::size_t room_ = 0; ///< places in all pieces
    NumberIndex index_;    ///< entries
    std::size_t size_ = 0;
    U32 seed_; ///< so that nobody outside can choose what collides
};

} // namespace Qcf::Live
