#pragma once

#include "Agent/Tables/TableGenerator.h"

#include <span>
#include <vector>

namespace Qcf::Bench {

/// Routes that policies are measured on.
struct Table {
    std::vector<Agent::Route> routes;

    std::size_t size() const { return routes.size(); }

    using Sharing = Agent::TableGenerator::Sharing;

    /// The first routes of the generated table; the same ones in every run.
    static Table generated(std::size_t count, Sharing sharing = Sharing::none);
    /// About so many of the first `most` routes of a file, in stretches that are evenly spread:
    /// neighbours stay neighbours.
    static Table ofFile(String const & path, std::size_t count, std::size_t most);
    /// So many of this table's routes, evenly spread over it and moved together.
    Table sample(std::size_t count) const;
};

/// A run of a table's routes.
struct Slice {
    Table const * table;
    std::size_t first;
    std::size_t count;

    explicit Slice(Table const & whole) : table(&whole), first(0), count(whole.size()) {}
    Slice(Table const & of, std::size_t from, std::size_t size)
        : table(&of), first(from), count(size) {}

    std::span<Agent::Route const> routes() const { return {table->routes.data() + first, count}; }
    /// Part `index` of `parts` equal ones.
    Slice part(std::size_t index, std::size_t parts) const {
        std::size_t const begin = count * index / parts;
        return {*table, first + begin, count * (index + 1) / parts - begin};
    }
};

} // namespace Qcf::Bench
