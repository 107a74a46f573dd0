#include "QcfLib/Plan/ConstantTables.h"

#include <array>
#include <bit>

/// How tables are laid out when they are made; how they are asked stands in the header, where it is
/// inlined.
namespace Qcf::Eval {

namespace {

/// The entries in the order of their values, those of one value as one. The tables demand values
/// that differ from each other.
template <typename Entry>
std::vector<Entry> joinEqual(std::vector<Entry> entries) {
    std::sort(entries.begin(), entries.end(),
              [](Entry const & a, Entry const & b) { return a.value < b.value; });
    std::vector<Entry> joined;
    for (Entry const & entry : entries) {
        if (joined.empty() || !(joined.back().value == entry.value)) {
            joined.push_back(entry);
        } else {
            joined.back().clauses |= entry.clauses;
        }
    }
    return joined;
}

/// Repeats the last value up to a power of two.
template <typename Value>
void fillUp(std::vector<Value> & values) {
    // A copy: the vector moves its values when it grows.
    Value const last = values.back();
    values.resize(std::bit_ceil(values.size()), last);
}

} // namespace

// Room for each entry, though some may be joined.
template <typename Value>
ConstantTable<Value>::ConstantTable(std::vector<Entry> entries) : entries_(entries.size()) {
    for (Entry const & entry : joinEqual(std::move(entries))) {
        entries_.insert(spreadBits(entry.value), entry);
    }
}

template class ConstantTable<U64>;
template class ConstantTable<Acl::CommunityValue>;

namespace {

/// How many ranges of each clause the sweep is in.
class OpenRanges {
public:
    void change(ClauseBits clauses, bool begins) {
        for (; clauses != 0; clauses &= clauses - 1) {
            auto const clause = static_cast<std::size_t>(std::countr_zero(clauses));
            counts_[clause] += begins ? 1 : -1;
            ClauseBits const bit = ClauseBits{1} << clause;
            open_ = counts_[clause] != 0 ? open_ | bit : open_ & ~bit;
        }
    }
    ClauseBits clauses() const { return open_; }

private:
    std::array<S64, maxClauses> counts_{};
    ClauseBits open_ = 0;
};

} // namespace

// One sweep over where bounds begin and behind where they end: nothing follows the largest integer.
IntPieces::IntPieces(std::vector<Range> const & ranges, ClauseBits others) {
    struct Edge {
        U64 at;
        ClauseBits clauses;
        bool begins;
    };
    std::vector<Edge> edges;
    for (auto const & [clauses, bounds] : ranges) {
        if (bounds.low <= bounds.high) {
            edges.push_back({bounds.low, clauses, true});
            if (bounds.high != ~U64{0}) {
                edges.push_back({bounds.high + 1, clauses, false});
            }
        }
    }
    std::sort(edges.begin(), edges.end(),
              [](Edge const & a, Edge const & b) { return a.at < b.at; });
    starts_ = {0};
    clauses_ = {others};
    OpenRanges open;
    for (Edge const & edge : edges) {
        open.change(edge.clauses, edge.begins);
        if (edge.at != starts_.back()) {
            starts_.push_back(edge.at);
            clauses_.push_back(0);
        }
        clauses_.back() = others | open.clauses();
    }
    fillUp(starts_);
    fillUp(clauses_);
}

CoverTable::CoverTable(std::vector<Entry> entries) {
    for (Entry const & entry : joinEqual(std::move(entries))) {
        if (entry.value.af() != AddressFamily::none) {
            add(entry.value.af() == AddressFamily::ipv4 ? v4_ : v6_, entry);
        }
    }
    fillUp(v4_);
    for (Covering const & covering : v4_) {
        v4Starts_.push_back(covering.prefix.addr().v4Value());
    }
}

// What is around a constant stands before it: the last one, or one around that.
void CoverTable::add(Family & family, Entry const & entry) {
    std::size_t around = family.size() - 1;
    while (around != 0 && !family[around].prefix.contains(entry.value)) {
        around = family[around].around;
    }
    ClauseBits const clauses = family[around].clauses | entry.clauses;
    if (clauses != family[around].clauses) {
        family.push_back({entry.value, static_cast<U32>(around), clauses});
        ++count_;
    }
}

} // namespace Qcf::Eval
