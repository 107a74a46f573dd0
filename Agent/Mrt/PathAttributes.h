#pragma once

#include "Agent/Mrt/MrtFormat.h"
#include "Agent/Routes/Route.h"

namespace Qcf::Agent {

/// How the record around them writes path attributes. Nothing in the attributes themselves says so.
struct AttributeForm {
    bool as4 = false; ///< AS_PATH has AS numbers of four bytes instead of two
    bool rib = false; ///< an entry of a table: MP_REACH_NLRI may be reduced to the next hop
};

/// Decodes path attributes straight into a route. Reused from record to record; what it hands out
/// points into the record.
///
///     attributes.decode(bytes, {.as4 = true}, route);
///
/// Damage is thrown as soon as it is met, and the route is then to be thrown away: a record of
/// several entries is checked before any of its routes is handed out.
class PathAttributes {
public:
    /// MP_REACH_NLRI or MP_UNREACH_NLRI as it stands in the attributes: its prefixes are not
    /// decoded here.
    struct MpNlri {
        bool present = false;
        FamilyCode family; ///< 0/0 in the reduced form
        IpGenAddr nextHop; ///< none where there is none, and for families that are not read
        ByteCursor nlri;
    };

    /// Sets what the attributes say and leaves the rest of `route` alone, which is to be cleared
    /// before. Attributes of unknown codes are passed over, of two with one code the first counts.
    ///
    /// AS4_PATH is merged into an AS_PATH of two-byte numbers that is at least as long, and has no
    /// effect otherwise, though damage in it always counts. An AIGP metric of all ones (infinite)
    /// becomes the largest one that a route may have, one less. Throws Damage.
    void decode(std::span<U8 const> bytes, AttributeForm form, Route & route);

    /// Throws the Damage that `decode` would throw, without making paths and sets.
    void check(std::span<U8 const> bytes, AttributeForm form);

    /// What MP_REACH_NLRI and MP_UNREACH_NLRI of the attributes decoded last say; points into the
    /// record.
    MpNlri const & reach() const { return reach_; }
    MpNlri const & unreach() const { return unreach_; }

private:
    using AsnVector = Routing::Bgp::AsnVector;
    /// What a walk over the attributes is for: a route, or to see that they are whole.
    enum class Aim : U8 { route, check };

    /// Goes through the attributes once; with `check` no paths and sets are made.
    template <Aim aim>
    void walk(std::span<U8 const> bytes, AttributeForm form, Route & route);
    /// Decodes a value by its code: those that nearly every route has here, the others in
    /// `readRare`.
    template <Aim aim>
    void readOne(U8 code, std::span<U8 const> bytes, AttributeForm form, Route & route);
    template <Aim aim>
    void readRare(U8 code, std::span<U8 const> bytes, Route & route);
    /// Straight into the route where numbers have four bytes, else aside until AS4_PATH is known.
    template <Aim aim>
    void readPath(std::span<U8 const> bytes, AttributeForm form, Route & route);
    /// Reads the family and the next hop; prefixes stay as they are.
    void readReach(std::span<U8 const> bytes, bool rib);
    /// Reads the family; prefixes stay as they are.
    void readUnreach(ByteCursor value);
    /// Merges AS4_PATH, once both paths are known.
    void finishPath(Route & route);
    /// Whether an attribute of that code was met.
    bool has(U8 code) const { return ((seen_ >> code) & 1) != 0; }

    U64 seen_ = 0; ///< the codes below 64 that were met
    MpNlri reach_;
    MpNlri unreach_;
    /// Storage that is kept from record to record.
    AsnVector path_;
    AsnVector as4Path_;
    AsnVector merged_;
    U32 aggregatorAs_ = 0;
    Route checked_; ///< takes the numbers that a check reads
};

} // namespace Qcf::Agent
