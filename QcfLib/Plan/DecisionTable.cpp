#include "QcfLib/Plan/DecisionTable.h"

#include <algorithm>

/// How tables are laid out when they are made; what a run does with them stands in the header,
/// where it is inlined.
namespace Qcf::Eval {

namespace {

/// The entries in the order of their values, those of one value as one. The table demands values
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

IntBoundsQuestion::IntBoundsQuestion(Int const & operand, std::vector<Clause> const & clauses,
                                     ClauseBits others)
    : operand_(operand), starts_{0} {
    for (auto const & [bit, bounds] : clauses) {
        // The answer changes only where some bounds begin, and behind where they end: nothing
        // follows the largest integer.
        starts_.push_back(bounds.low);
        if (bounds.high != ~U64{0}) {
            starts_.push_back(bounds.high + 1);
        }
    }
    std::sort(starts_.begin(), starts_.end());
    starts_.erase(std::unique(starts_.begin(), starts_.end()), starts_.end());
    starts_.resize(std::bit_ceil(starts_.size()), starts_.back());
    // What holds at the start of a piece holds in all of it.
    for (U64 const start : starts_) {
        ClauseBits satisfied = others;
        for (auto const & [bit, bounds] : clauses) {
            satisfied |= bounds.low <= start && start <= bounds.high ? bit : 0;
        }
        clauses_.push_back(satisfied);
    }
}

StepText describeTable(std::span<std::unique_ptr<PlanQuestion const> const> questions,
                       std::span<PlanStep const * const> targets, PlanStep const * otherwise) {
    StepText text{"decision table of " + std::to_string(targets.size()) + " clauses"};
    char const * separator = "";
    for (auto const & question : questions) {
        text.detail += separator + question->text();
        separator = "; ";
        if (question->steps() != nullptr) {
            text.next.emplace_back("asks", question->steps());
        }
    }
    for (std::size_t i = 0; i < targets.size(); ++i) {
        // Clauses are numbered from 1, as people read them.
        text.next.emplace_back("clause " + std::to_string(i + 1), targets[i]);
    }
    text.next.emplace_back("otherwise", otherwise);
    return text;
}

StepText DecisionTableStep::describe() const {
    std::vector<PlanStep const *> targets;
    for (Clause const & clause : clauses_) {
        targets.push_back(clause.target);
    }
    return describeTable(questions_, targets, otherwise_);
}

} // namespace Qcf::Eval
