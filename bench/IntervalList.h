#pragma once

#include "Lists/PrefixListTrie.h"

#include <span>
#include <vector>

namespace Qcf::Bench {

/// An IPv4 prefix list as one would write it by hand: the address space cut where any entry begins
/// or ends, and for every piece a bit for each prefix length that is permitted there. A question is
/// one bisection. For lists of permits alone, whose order does not matter.
class IntervalList {
public:
    IntervalList() = default;
    explicit IntervalList(std::span<Lists::PrefixListEntry const> entries);

    bool permits(IpGenPrefix const & candidate) const {
        return candidate.af() == AddressFamily::ipv4 &&
               permits(candidate.addr().v4Value(), candidate.len());
    }
    bool permits(IpGenAddr const & host) const {
        return host.af() == AddressFamily::ipv4 && permits(host.v4Value(), 32);
    }

    /// First addresses of the pieces, ascending from 0, and the lengths permitted in each.
    std::vector<U32> const & starts() const { return starts_; }
    std::vector<U64> const & lengths() const { return lengths_; }

private:
    bool permits(U32 address, U32 length) const {
        // Without a branch to guess: the last piece that does not begin behind the address.
        U32 const * piece = starts_.data();
        for (std::size_t left = starts_.size(); left > 1;) {
            std::size_t const half = left / 2;
            piece += piece[half] <= address ? half : 0;
            left -= half;
        }
        return (lengths_[static_cast<std::size_t>(piece - starts_.data())] >> length & 1) != 0;
    }

    std::vector<U32> starts_{0};
    std::vector<U64> lengths_{0};
};

} // namespace Qcf::Bench
