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
    // A place in the data and no count: the furthest that was reached.
    bytes = std::max(bytes, part.bytes);
    cut = cut || part.cut;
}

} // namespace Qcf::Agent
