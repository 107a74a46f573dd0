#include "QcfLib/PlanIndex.h"

#include <bit>

namespace Qcf::Eval {

template <typename Value>
void ConstantTable<Value>::seal() {
    // At most half full: a value that is in no test meets an empty place soon.
    std::size_t const size = std::bit_ceil(2 * entries_.size() + 1);
    mask_ = size - 1;
    slots_.assign(size, Entry{Value(), 0});
    for (Entry const & entry : entries_) {
        std::size_t at = place(entry.value);
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
