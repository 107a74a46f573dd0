#include "bench/Table.h"

#include "Agent/Tables/TableGenerator.h"

namespace Qcf::Bench {

namespace {

constexpr U64 seed = 1;

} // namespace

Table Table::generated(std::size_t count) {
    Agent::TableGenerator generator(count, seed);
    Table table;
    table.routes.resize(count);
    for (auto & route : table.routes) {
        generator.next(route);
    }
    return table;
}

Table Table::sample(std::size_t count) const {
    Table table;
    table.routes.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        table.routes.push_back(routes[i * size() / count]);
    }
    return table;
}

} // namespace Qcf::Bench
