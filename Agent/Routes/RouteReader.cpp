#include "Agent/Routes/RouteReader.h"

#include <algorithm>

namespace Qcf::Agent {

void ReadStatistics::add(ReadStatistics const & part) {
    records += part.records;
    routes += part.routes;
    withdrawals += part.withdrawals;
    damagedRecords += part.damagedRecords;
    skippedRecords += part.skippedRecords;
    skippedFamilies += part.skippedFamilies;
    bytes = std::max(bytes, part.bytes);
    cut = cut || part.cut;
}

} // namespace Qcf::Agent
