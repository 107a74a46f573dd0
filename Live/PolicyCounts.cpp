#include "Live/PolicyCounts.h"

#include <algorithm>

namespace Qcf::Live {

namespace {

U64 & at(std::vector<U64> & counts, std::size_t number) {
    if (number >= counts.size()) {
        counts.resize(number + 1);
    }
    return counts[number];
}

void addUp(auto & to, auto const & from) {
    for (std::size_t i = 0; i < from.size(); ++i) {
        to[i] += from[i];
    }
}

void addUp(std::vector<U64> & to, std::vector<U64> const & from) {
    to.resize(std::max(to.size(), from.size()));
    for (std::size_t i = 0; i < from.size(); ++i) {
        to[i] += from[i];
    }
}

std::size_t number(Verdict verdict) { return static_cast<std::size_t>(verdict); }

} // namespace

void PolicyCounts::add(RouteOutcome const & outcome) {
    if (outcome.verdict != Verdict::none) {
        ++byVerdict[number(outcome.verdict)];
        ++at(decided, outcome.decidedBy);
    }
}

void PolicyCounts::remove(RouteOutcome const & outcome) {
    if (outcome.verdict != Verdict::none) {
        --byVerdict[number(outcome.verdict)];
        --at(decided, outcome.decidedBy);
    }
}

void PolicyCounts::add(PolicyCounts const & other) {
    addUp(byVerdict, other.byVerdict);
    addUp(decided, other.decided);
}

bool PolicyCounts::operator==(PolicyCounts const & other) const {
    std::vector<U64> mine = decided;
    std::vector<U64> others = other.decided;
    std::size_t const size = std::max(mine.size(), others.size());
    mine.resize(size);
    others.resize(size);
    return byVerdict == other.byVerdict && mine == others;
}

void ChangeCounts::add(RouteOutcome const & before, RouteOutcome const & after) {
    if (before.verdict == Verdict::none || after.verdict == Verdict::none) {
        return;
    }
    ++byVerdicts[number(before.verdict)][number(after.verdict)];
    writesOther += after.writesOther ? 1 : 0;
    if (before.verdict != after.verdict) {
        ++at(decided, after.decidedBy);
    }
}

void ChangeCounts::remove(RouteOutcome const & before, RouteOutcome const & after) {
    if (before.verdict == Verdict::none || after.verdict == Verdict::none) {
        return;
    }
    --byVerdicts[number(before.verdict)][number(after.verdict)];
    writesOther -= after.writesOther ? 1 : 0;
    if (before.verdict != after.verdict) {
        --at(decided, after.decidedBy);
    }
}

void ChangeCounts::add(ChangeCounts const & other) {
    for (std::size_t i = 0; i < verdictKinds; ++i) {
        addUp(byVerdicts[i], other.byVerdicts[i]);
    }
    writesOther += other.writesOther;
    addUp(decided, other.decided);
}

U64 ChangeCounts::routes() const {
    U64 sum = 0;
    for (auto const & row : byVerdicts) {
        for (U64 const count : row) {
            sum += count;
        }
    }
    return sum;
}

U64 ChangeCounts::verdictsChanged() const {
    U64 sum = routes();
    for (std::size_t i = 0; i < verdictKinds; ++i) {
        sum -= byVerdicts[i][i];
    }
    return sum;
}

} // namespace Qcf::Live
