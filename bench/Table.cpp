#include "bench/Table.h"

#include "Agent/TableGenerator.h"

namespace Qcf::Bench {

namespace {

constexpr U64 seed = 1;

} // namespace

Table Table::generated(std::size_t routes) {
    Agent::TableGenerator generator(routes, seed);
    Table table;
    table.routes.resize(routes);
    for (auto & route : table.routes) {
        generator.next(route);
    }
    return table;
}

Table Table::sample(std::size_t routes) const {
    Table table;
    table.routes.reserve(routes);
    for (std::size_t i = 0; i < routes; ++i) {
        table.routes.push_back(this->routes[i * size() / routes]);
    }
    return table;
}

} // namespace Qcf::Bench
