#include "bench/IntervalList.h"

#include "Platform/Framework/Assert.h"

#include <algorithm>

namespace Qcf::Bench {

namespace {

U64 firstOf(IpGenPrefix const & prefix) { return prefix.addr().v4Value(); }
U64 behind(IpGenPrefix const & prefix) {
    return firstOf(prefix) + (U64{1} << (32U - prefix.len()));
}

/// Bits `low` to `high`.
U64 bits(U32 low, U32 high) { return low > high ? 0 : (~U64{0} >> (63 - high)) & (~U64{0} << low); }

} // namespace

IntervalList::IntervalList(std::span<Lists::PrefixListEntry const> entries) {
    for (auto const & entry : entries) {
        QCF_ASSERT(entry.action == Lists::ListAction::permit);
        starts_.push_back(static_cast<U32>(firstOf(entry.prefix)));
        if (behind(entry.prefix) <= ~U32{0}) {
            starts_.push_back(static_cast<U32>(behind(entry.prefix)));
        }
    }
    std::sort(starts_.begin(), starts_.end());
    starts_.erase(std::unique(starts_.begin(), starts_.end()), starts_.end());
    lengths_.assign(starts_.size(), 0);
    for (auto const & entry : entries) {
        U32 const shortest = std::max(entry.minLength, entry.prefix.len());
        auto const from = std::lower_bound(starts_.begin(), starts_.end(), firstOf(entry.prefix));
        auto const to = std::lower_bound(from, starts_.end(), behind(entry.prefix));
        for (auto piece = from; piece != to; ++piece) {
            lengths_[static_cast<std::size_t>(piece - starts_.begin())] |=
                bits(shortest, entry.maxLength);
        }
    }
}

} // namespace Qcf::Bench
