#include "QcfLib/Plan/PlanClauses.h"

#include <algorithm>

namespace Qcf::Eval {

template <typename Value>
void ConstantTable<Value>::seal() {
    // At most half full: a value that satisfies nothing meets an empty place soon.
    mask_ = std::bit_ceil(2 * entries_.size() + 1) - 1;
    slots_.assign(mask_ + 1, Entry{Value(), 0});
    // Sixteen bits a constant: about one false alarm in sixteen.
    filterMask_ = std::bit_ceil(16 * entries_.size() + 64) - 1;
    filter_.assign((filterMask_ + 1) / 64, 0);
    for (Entry const & entry : entries_) {
        U64 const spread = spreadBits(entry.value);
        U64 const bit = spread & filterMask_;
        filter_[bit / 64] |= U64{1} << (bit % 64);
        std::size_t at = spread & mask_;
        while (slots_[at].clauses != 0 && !(slots_[at].value == entry.value)) {
            at = (at + 1) & mask_;
        }
        slots_[at].value = entry.value;
        slots_[at].clauses |= entry.clauses;
    }
    entries_ = {};
}

template class ConstantTable<U64>;
template class ConstantTable<Acl::CommunityValue>;

IntBoundsQuestion::IntBoundsQuestion(Int const & operand, std::vector<Clause> const & clauses,
                                     ClauseBits others)
    : operand_(operand), starts_{0} {
    for (auto const & [bit, bounds] : clauses) {
        starts_.push_back(bounds.low);
        if (bounds.high != ~U64{0}) {
            starts_.push_back(bounds.high + 1);
        }
    }
    std::sort(starts_.begin(), starts_.end());
    starts_.erase(std::unique(starts_.begin(), starts_.end()), starts_.end());
    starts_.resize(std::bit_ceil(starts_.size()), starts_.back());
    for (U64 const start : starts_) {
        ClauseBits satisfied = others;
        for (auto const & [bit, bounds] : clauses) {
            satisfied |= bounds.low <= start && start <= bounds.high ? bit : 0;
        }
        clauses_.push_back(satisfied);
    }
}

} // namespace Qcf::Eval
