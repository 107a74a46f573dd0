#include "Agent/Routes/RouteChanges.h"

namespace Qcf::Agent {

std::span<char const * const> modifiableAttributeNames() { return changeMemberNames; }

} // namespace Qcf::Agent
