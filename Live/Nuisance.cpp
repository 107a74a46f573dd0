#include "Live/Nuisance.h"

namespace Qcf::Live {

namespace {

constexpr std::chrono::milliseconds lineTime{60'000}; ///< between two lines about the same

} // namespace

void Nuisance::happened(String const & who, milliseconds now, LiveListener & listener) {
    ++count_;
    who_ = who;
    tell(now, listener);
}

void Nuisance::tell(milliseconds now, LiveListener & listener) {
    if (count_ == 0 || (toldAt_ && now - *toldAt_ < lineTime)) {
        return;
    }
    String const times = count_ > 1 ? ", the last of " + std::to_string(count_) : String();
    listener.note({}, who_ + ' ' + what_ + times);
    toldAt_ = now;
    count_ = 0;
}

} // namespace Qcf::Live
