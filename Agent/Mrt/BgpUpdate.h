#pragma once

#include "Agent/Mrt/PathAttributes.h"

#include <array>

namespace Qcf::Agent {

/// How the session around an UPDATE writes it. Nothing in the message itself says so.
struct UpdateForm {
    bool as4 = false;  ///< AS_PATH has AS numbers of four bytes instead of two
    bool ids4 = false; ///< a path identifier stands before each prefix of IPv4 (RFC 7911)
    bool ids6 = false; ///< the same for IPv6

    bool hasIds(AddressFamily family) const {
        return family == AddressFamily::ipv4 ? ids4 : family == AddressFamily::ipv6 && ids6;
    }
    bool operator==(UpdateForm const &) const = default;
};

/// A prefix of an UPDATE, with its path identifier; 0 where the form has none.
struct UpdatePrefix {
    IpGenPrefix prefix;
    U32 pathId = 0;
};

/// What one UPDATE message of BGP says: announced and withdrawn prefixes of IPv4 and IPv6, unicast
/// and multicast, and the attributes that the announced ones share. Points into the message that it
/// was given last; wherever a message comes from, it is read here.
///
///     update.decode(body, form, shared);
///     for (BgpUpdate::Prefixes place : update.withdrawn()) {
///         for (UpdatePrefix one; place.next(one);) { ... }
///     }
///
/// A message is read as a whole or not at all: `decode` and `check` look at every prefix and every
/// attribute and throw Damage before anything is handed out. Reused from message to message; after
/// the largest one nothing is allocated.
class BgpUpdate {
public:
    /// The prefixes of one place of the message: the old fields, or MP_REACH_NLRI and
    /// MP_UNREACH_NLRI.
    class Prefixes {
    public:
        Prefixes() = default;
        Prefixes(AddressFamily family, bool hasIds, ByteCursor nlri, IpGenAddr const & nextHop = {})
            : nlri_(nlri), family_(family), hasIds_(hasIds), nextHop_(nextHop) {}

        /// The next one; false when there is none left.
        bool next(UpdatePrefix & to) {
            if (nlri_.atEnd()) {
                return false;
            }
            to.pathId = hasIds_ ? nlri_.u32() : 0;
            to.prefix = readPrefix(nlri_, family_);
            return true;
        }
        bool atEnd() const { return nlri_.atEnd(); }
        AddressFamily family() const { return family_; }
        /// Of announced ones.
        IpGenAddr const & nextHop() const { return nextHop_; }

    private:
        ByteCursor nlri_;
        AddressFamily family_ = AddressFamily::none;
        bool hasIds_ = false;
        IpGenAddr nextHop_;
    };
    /// First those of the old field, which are of IPv4, then those of the attribute.
    using Places = std::array<Prefixes, 2>;

    /// Reads the message behind its BGP header. Attributes go into `shared`, which is to be cleared
    /// before and has no prefix of its own. Throws Damage, and then has no prefixes.
    void decode(ByteCursor body, UpdateForm form, Route & shared);
    /// The same without making paths and sets.
    void check(ByteCursor body, UpdateForm form);
    /// Forgets the message.
    void clear();

    /// Those to announce. All have the attributes of the message and differ in the next hop.
    Places & announced() { return announced_; }
    Places const & withdrawn() const { return withdrawn_; }
    U64 announcements() const { return announcements_; }
    U64 withdrawals() const { return withdrawals_; }
    /// Announcements and withdrawals of families that are not read.
    U32 skippedFamilies() const { return skippedFamilies_; }
    /// The family whose table is complete with this message (RFC 4724 2); none for any other
    /// message.
    AddressFamily endOfRib() const { return endOfRib_; }
    /// The path attributes as they stand in the message.
    std::span<U8 const> attributes() const { return attributeBytes_; }

    /// The parts of a message, before anything in them was looked at.
    struct Parts {
        ByteCursor withdrawn;
        ByteCursor attributes;
        ByteCursor announced;
    };
    /// Throws Damage where the lengths do not fit the message.
    static Parts split(ByteCursor body);

private:
    /// Reads places and counts once the attributes were read.
    void readPlaces(Parts const & parts, UpdateForm form, IpGenAddr const & nextHop);
    void findEndOfRib(Parts const & parts);

    /// Kept from message to message for its storage.
    PathAttributes attributes_;
    std::span<U8 const> attributeBytes_;
    Places announced_;
    Places withdrawn_;
    U64 announcements_ = 0;
    U64 withdrawals_ = 0;
    U32 skippedFamilies_ = 0;
    AddressFamily endOfRib_ = AddressFamily::none;
};

} // namespace Qcf::Agent
