#include "Mirror/Redis/Patience.h"

#include <algorithm>
#include <array>

namespace Qcf::Mirror {

bool passes(RedisRefusal const & refusal) {
    constexpr std::array codes{"LOADING", "BUSY", "TRYAGAIN", "MASTERDOWN", "CLUSTERDOWN"};
    return std::any_of(codes.begin(), codes.end(),
                       [&](char const * code) { return refusal.is(code); });
}

} // namespace Qcf::Mirror
