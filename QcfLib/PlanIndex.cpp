#include "QcfLib/PlanIndex.h"

#include <bit>

namespace Qcf::Eval {

template <typename Value>
void ConstantTable<Value>::seal() {
    // At most half full: a value that is in no test meets an empty place soon.
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
        while (slots_[at].tests != 0 && !(slots_[at].value == entry.value)) {
            at = (at + 1) & mask_;
        }
        slots_[at].value = entry.value;
        slots_[at].tests |= entry.tests;
    }
    entries_ = {};
}

template class ConstantTable<U64>;
template class ConstantTable<Acl::CommunityValue>;

} // namespace Qcf::Eval
