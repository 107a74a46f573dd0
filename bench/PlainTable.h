#pragma once

#include "bench/Policies.h"
#include "bench/Table.h"
#include "bench/lua/Plain.h"

#include <deque>

namespace Qcf::Bench {

/// A table's routes as plain structures, worked out beforehand: path length and origin AS too.
class PlainTable {
public:
    /// The table must stay: large and extended communities are shared with it.
    explicit PlainTable(Table const & table);

    std::vector<PlainRoute> const & routes() const { return routes_; }

private:
    std::vector<PlainRoute> routes_;
    std::vector<U32> communities_;
};

/// The constants of the policies as plain structures.
class PlainConstants {
public:
    explicit PlainConstants(PolicyData const & data);
    PlainConstants(PlainConstants const &) = delete;
    PlainConstants & operator=(PlainConstants const &) = delete;

    PlainData const & data() const { return data_; }

private:
    PlainSet set(std::span<U64 const> values);
    PlainList list(PrefixEntries const & entries);
    void setClauses(PolicyData const & data);

    PlainData data_{};
    std::deque<std::vector<U32>> storage_;
    std::vector<PlainClause> clauses_;
};

} // namespace Qcf::Bench
