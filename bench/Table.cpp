#include "bench/Table.h"

#include "Agent/Tables/RouteFile.h"

#include <algorithm>

namespace Qcf::Bench {

namespace {

constexpr U64 seed = 1;

/// The first routes of the file one by one; damage, which real files have, is passed over.
template <typename Work>
void eachRoute(String const & path, std::size_t most, Work work) {
    auto const reader = Agent::openRoutes(path, [](String const &) {});
    Agent::Route route;
    for (std::size_t count = 0; count < most && reader->next(route); ++count) {
        work(route);
    }
}

} // namespace

Table Table::ofFile(String const & path, std::size_t count, std::size_t most) {
    constexpr std::size_t stretch = 64;
    std::size_t size = 0;
    eachRoute(path, most, [&](Agent::Route const &) { ++size; });
    std::size_t const every = std::max<std::size_t>(1, size / std::max<std::size_t>(1, count));
    Table table;
    std::size_t at = 0;
    eachRoute(path, most, [&](Agent::Route const & route) {
        if (at++ / stretch % every == 0) {
            table.routes.push_back(route);
        }
    });
    return table;
}

Table Table::generated(std::size_t count, Sharing sharing) {
    Agent::TableGenerator generator(count, seed, sharing);
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
