#pragma once

#include "Platform/Framework/Assert.h"
#include "Platform/Routing/IpAddr.h"

/// What a reader of prefixes does with bits that are set beyond the prefix length. Refused unless
/// it is asked for otherwise: in a text with both, one of them was hardly meant.
enum class HostBits : U8 {
    refuse, ///< such a text is no prefix
    mask,   ///< they are cleared
};

/// An address prefix: an address whose bits beyond the length are zero, and the length.
///
///     IpGenPrefix const prefix = *IpGenPrefix::parse("10.0.0.0/8");
///     prefix.contains(IpGenAddr::v4(0x0a010203));            // true
///     prefix.contains(*IpGenPrefix::parse("10.1.0.0/16"));   // true
///     prefix.contains(*IpGenPrefix::parse("0.0.0.0/0"));     // false
///
/// A plain value of 24 bytes without heap. The default one is of family `none` with length 0, which
/// contains nothing and is contained in nothing.
class IpGenPrefix {
public:
    /// No prefix: family none, length 0.
    constexpr IpGenPrefix() = default;

    /// The prefix of `length` bits of `addr`; bits beyond are cleared. The length must not exceed
    /// the width of the family (0 for family none): outside values are to be checked before.
    IpGenPrefix(IpGenAddr const & addr, U8 length) : addr_(mask(addr, length)), length_(length) {}

    /// The full-length prefix of an address; of family none for no address. Lists of prefixes are
    /// asked about an address in this form.
    static IpGenPrefix host(IpGenAddr const & addr) {
        IpGenPrefix prefix;
        prefix.addr_ = addr;
        prefix.length_ = addressWidth(addr.af());
        return prefix;
    }

    /// The address; bits beyond the length are zero.
    IpGenAddr const & addr() const { return addr_; }
    /// The family of the address.
    constexpr AddressFamily af() const { return addr_.af(); }

    /// Length in bits, 0 to 32 or 128; 0 for family none, too.
    constexpr U8 len() const { return length_; }

    /// True when the address is of the same family and lies in the prefix. The prefix of length 0
    /// contains every address of its family.
    bool contains(IpGenAddr const & addr) const {
        if (addr.af() != af()) {
            return false;
        }
        switch (af()) {
        case AddressFamily::ipv4:
            // In 64 bits, since a shift of 32 bits by 32 is undefined.
            return (U64{addr_.v4Value() ^ addr.v4Value()} >> (32U - length_)) == 0;
        case AddressFamily::ipv6:
            return containsV6(addr);
        case AddressFamily::none:
            break;
        }
        return false;
    }

    /// True when every address of `other` lies in this prefix; a prefix contains itself. Prefixes
    /// of different families never do.
    bool contains(IpGenPrefix const & other) const {
        return other.length_ >= length_ && contains(other.addr_);
    }

    /// Same family, address and length.
    bool operator==(IpGenPrefix const & other) const {
        return length_ == other.length_ && addr_ == other.addr_;
    }

    /// By family, address, then length: a prefix stands before the longer ones it contains.
    std::strong_ordering operator<=>(IpGenPrefix const & other) const {
        auto const order = addr_ <=> other.addr_;
        return std::is_neq(order) ? order : length_ <=> other.length_;
    }

    /// Hash of family, address and length. Equal prefixes have equal hashes for equal seeds.
    U32 hash(U32 seed) const;

    /// "10.0.0.0/8", "2001:db8::/32", or "" for family none. `parse` reads it back as the same
    /// prefix.
    String toString() const;

    /// Appends what `toString` returns; allocates only when `out` must grow. For writing many.
    void appendText(String & out) const;

    /// Reads "ADDRESS/LENGTH"; the empty text is the prefix of family none. The length is decimal
    /// without sign or leading zero and within the family's width. The address is read as
    /// `IpGenAddr::parse` does. Nothing where the text is no prefix.
    static std::optional<IpGenPrefix> parse(std::string_view text,
                                            HostBits hostBits = HostBits::refuse);

private:
    /// The first `bits` (0 to 64) bits of a and b agree. A shift by all 64 bits would be undefined,
    /// hence the test.
    static bool topBitsAgree(U64 a, U64 b, U32 bits) {
        return bits == 0 || ((a ^ b) >> (64U - bits)) == 0;
    }

    /// Whether the first bits agree, in the two halves of the address.
    bool containsV6(IpGenAddr const & addr) const {
        if (length_ <= 64) {
            return topBitsAgree(addr_.halfValue(0), addr.halfValue(0), length_);
        }
        // Beyond 64 bits the first half must be equal as a whole.
        return addr_.halfValue(0) == addr.halfValue(0) &&
               topBitsAgree(addr_.halfValue(1), addr.halfValue(1), length_ - 64U);
    }

    /// The address with the bits beyond the length cleared. A length beyond the family's width is
    /// misuse and asserted.
    static IpGenAddr mask(IpGenAddr const & addr, U8 length) {
        QCF_ASSERT(length <= addressWidth(addr.af()));
        if (addr.af() == AddressFamily::ipv4) {
            return IpGenAddr::v4(
                static_cast<U32>(addr.v4Value() & ~((U64{1} << (32U - length)) - 1)));
        }
        return addr.af() == AddressFamily::ipv6 ? maskV6(addr, length) : addr;
    }

    /// The same for sixteen octets, out of line.
    static IpGenAddr maskV6(IpGenAddr const & addr, U8 length);

    /// Masked, so that equal prefixes have equal members.
    IpGenAddr addr_;
    /// At most the family's width.
    U8 length_ = 0;
};

/// Writes what `toString` returns.
std::ostream & operator<<(std::ostream & out, IpGenPrefix const & prefix);

template <>
struct std::hash<IpGenPrefix> : HashOfValue<IpGenPrefix> {};
