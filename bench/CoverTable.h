#pragma once

#include "Lists/RoaTable.h"

#include <compare>
#include <span>
#include <vector>

namespace Qcf::Bench {

/// ROAs, or prefixes alone, as one would look them up by hand: the address space of a family cut
/// where any prefix begins or ends, and for every piece those that have it. A question is one
/// bisection and a look at the few of that piece.
class CoverTable {
public:
    explicit CoverTable(std::span<Lists::Roa const> roas);
    /// For `covers` alone.
    explicit CoverTable(std::span<IpGenPrefix const> prefixes);

    /// Whether the prefix is, or lies in, any of them.
    bool covers(IpGenPrefix const & prefix) const {
        return prefix.af() == AddressFamily::ipv4
                   ? v4_.covers(prefix.addr().v4Value(), prefix.len())
                   : v6_.covers(V6::of(prefix.addr()), prefix.len());
    }
    /// Origin validation; 0 is the origin that is not known.
    Lists::OriginValidity validate(IpGenPrefix const & prefix, U32 origin) const {
        return prefix.af() == AddressFamily::ipv4
                   ? v4_.validate(prefix.addr().v4Value(), prefix.len(), origin)
                   : v6_.validate(V6::of(prefix.addr()), prefix.len(), origin);
    }

private:
    struct V6 {
        U64 high = 0;
        U64 low = 0;

        static V6 of(IpGenAddr const & address) {
            return {address.halfValue(0), address.halfValue(1)};
        }
        auto operator<=>(V6 const &) const = default;
    };

    /// One payload of a piece.
    struct Payload {
        U8 length;
        U8 maxLength;
        U32 asn;
    };

    template <typename Address>
    class Pieces {
    public:
        void build(std::span<Lists::Roa const> roas);

        bool covers(Address const & address, U8 length) const {
            for (Payload const & payload : at(address)) {
                if (payload.length <= length) {
                    return true;
                }
            }
            return false;
        }
        Lists::OriginValidity validate(Address const & address, U8 length, U32 origin) const {
            auto validity = Lists::OriginValidity::notFound;
            for (Payload const & payload : at(address)) {
                if (payload.length <= length) {
                    if (payload.asn == origin && length <= payload.maxLength && origin != 0) {
                        return Lists::OriginValidity::valid;
                    }
                    validity = Lists::OriginValidity::invalid;
                }
            }
            return validity;
        }

    private:
        std::span<Payload const> at(Address const & address) const {
            // Without a branch to guess: the last piece that does not begin behind the address.
            Address const * piece = starts_.data();
            for (std::size_t left = starts_.size(); left > 1;) {
                std::size_t const half = left / 2;
                piece += piece[half] <= address ? half : 0;
                left -= half;
            }
            U32 const * const first = firsts_.data() + (piece - starts_.data());
            return {payloads_.data() + first[0], payloads_.data() + first[1]};
        }

        std::vector<Address> starts_; ///< ascending from the family's least address
        std::vector<U32> firsts_;     ///< by piece, with one more at the end
        std::vector<Payload> payloads_;
    };

    /// The first address of a prefix and the one behind it, which a prefix at the end of the space
    /// has not.
    static U32 firstOf(IpGenPrefix const & prefix, U32 /*family*/) {
        return prefix.addr().v4Value();
    }
    static V6 firstOf(IpGenPrefix const & prefix, V6 const & /*family*/) {
        return V6::of(prefix.addr());
    }
    static bool behind(U32 & address, U8 length);
    static bool behind(V6 & address, U8 length);

    Pieces<U32> v4_;
    Pieces<V6> v6_;
};

} // namespace Qcf::Bench
