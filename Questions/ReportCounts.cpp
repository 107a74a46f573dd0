#include "Questions/ReportCounts.h"

#include <algorithm>

namespace Qcf::Questions {

namespace {

/// Stands in a slot until the route's number is known. No table is as long.
constexpr U64 current = NodeExamples::none - 1;

/// The smallest numbers of both, rising.
template <std::size_t size>
void keepFirst(std::array<U64, size> & to, std::array<U64, size> const & from) {
    std::array<U64, 2 * size> both;
    std::ranges::copy(from, std::ranges::copy(to, both.begin()).out);
    std::ranges::sort(both);
    std::copy_n(both.begin(), size, to.begin());
}

std::size_t answerIndex(Eval::EvalResult result) {
    if (result.termination() == Eval::TerminationFlag::exitToPoa) {
        return 3;
    }
    return result.isTrue() ? 0 : result.retVal() == Eval::QcfUnknown() ? 2 : 1;
}

} // namespace

void ListHits::add(ListHits const & other) {
    asked += other.asked;
    permitted += other.permitted;
    for (auto const & [entry, hits] : other.byEntry) {
        byEntry[entry] += hits;
    }
}

void NodeExamples::add(NodeExamples const & other) {
    for (std::size_t i = 0; i < byAnswer.size(); ++i) {
        byAnswer[i] = std::min(byAnswer[i], other.byAnswer[i]);
    }
    keepFirst(entered, other.entered);
    keepFirst(decided, other.decided);
}

std::vector<U64> NodeExamples::all() const {
    std::vector<U64> numbers;
    auto const gather = [&numbers](auto const & slots) {
        for (U64 const number : slots) {
            if (number != none && std::ranges::find(numbers, number) == numbers.end()) {
                numbers.push_back(number);
            }
        }
    };
    gather(byAnswer);
    gather(decided);
    gather(entered);
    return numbers;
}

void ReportCounts::add(ReportCounts && other) {
    profile.add(other.profile);
    examples.resize(other.examples.size());
    for (std::size_t i = 0; i < examples.size(); ++i) {
        examples[i].add(other.examples[i]);
    }
    for (auto const & [list, hits] : other.lists) {
        lists[list].add(hits);
    }
    for (auto const & [name, count] : other.changed) {
        changed[name] += count;
    }
    for (auto const & [reason, count] : other.unknownBecause) {
        unknownBecause[reason] += count;
    }
    routes.merge(other.routes);
    differences.add(std::move(other.differences));
}

ReportObserver::ReportObserver(Watch::NodeNumbers const & numbers)
    : numbers_(numbers), profiler_(numbers, {}) {
    counts_.examples.resize(numbers.size());
    for (auto const & at : numbers.nodes()) {
        asksList_.push_back(Watch::asksList(*at.node));
    }
}

void ReportObserver::note(std::span<U64> slots) {
    auto const free = std::ranges::find_if(
        slots, [](U64 slot) { return slot == NodeExamples::none || slot == current; });
    if (free != slots.end() && *free != current) {
        *free = current;
        pending_.push_back(&*free);
    }
}

void ReportObserver::entered(Eval::Expression const & node, Eval::EvalContext & context) {
    profiler_.entered(node, context);
    ++depth_;
    note(counts_.examples[numbers_.of(node)].entered);
}

void ReportObserver::left(Eval::Expression const & node, Eval::EvalResult result,
                          Eval::EvalContext & context) {
    profiler_.left(node, result, context);
    U32 const number = numbers_.of(node);
    note(std::span(counts_.examples[number].byAnswer).subspan(answerIndex(result), 1));
    if (asksList_[number]) {
        auto const answer = Watch::listAnswer(node, context);
        if (answer.list != nullptr) {
            ListHits & hits = counts_.lists[answer.list];
            ++hits.asked;
            hits.permitted += answer.why.answer.value_or(false) ? 1 : 0;
            if (answer.why.entry) {
                ++hits.byEntry[*answer.why.entry];
            }
        }
    }
    if (--depth_ == 0) {
        if (auto const * const decides = profiler_.decidedBy().node) {
            note(counts_.examples[numbers_.of(*decides)].decided);
        }
    }
}

void ReportObserver::thrown(Eval::Expression const & node, Eval::EvalContext & context) {
    profiler_.thrown(node, context);
    --depth_;
}

void ReportObserver::routeDone(Agent::Evaluated const & evaluated) {
    for (U64 * const slot : pending_) {
        *slot = evaluated.number;
    }
    if (!pending_.empty()) {
        counts_.routes.emplace(evaluated.number, evaluated.route);
        pending_.clear();
    }
    evaluated.context.changes().eachChange([this](auto, char const * name, auto const &) {
        auto const known = counts_.changed.find(std::string_view(name));
        ++(known == counts_.changed.end() ? counts_.changed[name] : known->second);
    });
}

void ReportObserver::unknownBecauseIs(std::vector<String> const & reasons) {
    for (String const & reason : reasons) {
        ++counts_.unknownBecause[reason];
    }
}

ReportCounts ReportObserver::take() {
    counts_.profile = profiler_.profile();
    return std::exchange(counts_, ReportCounts());
}

} // namespace Qcf::Questions
