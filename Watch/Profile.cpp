#include "Watch/Profile.h"

#include <algorithm>

namespace Qcf::Watch {

namespace {

void addVerdicts(VerdictCounts & to, VerdictCounts const & from) {
    for (std::size_t i = 0; i < to.size(); ++i) {
        to[i] += from[i];
    }
}

} // namespace

void Profile::add(Profile const & other) {
    addCounts(nodes, other.nodes);
    decided.resize(other.decided.size());
    for (std::size_t i = 0; i < decided.size(); ++i) {
        addVerdicts(decided[i], other.decided[i]);
    }
    selfTime.resize(other.selfTime.size());
    for (std::size_t i = 0; i < selfTime.size(); ++i) {
        selfTime[i] += other.selfTime[i];
    }
    addVerdicts(atEnd, other.atEnd);
    addVerdicts(verdicts, other.verdicts);
    stacks.add(other.stacks);
}

Profiler::Profiler(NodeNumbers const & numbers, Options options)
    : numbers_(numbers), options_(options) {
    profile_.nodes.resize(numbers.size());
    profile_.decided.resize(numbers.size());
    profile_.selfTime.resize(options.time ? numbers.size() : 0);
}

// The arrays keep their storage.
void Profiler::clear() {
    std::ranges::fill(profile_.nodes, NodeCounts());
    std::ranges::fill(profile_.decided, VerdictCounts());
    std::ranges::fill(profile_.selfTime, 0);
    profile_.atEnd = {};
    profile_.verdicts = {};
    profile_.stacks = {};
}

U64 Profiler::lap() {
    auto const now = Clock::now();
    auto const passed = std::chrono::duration_cast<std::chrono::nanoseconds>(now - last_).count();
    last_ = now;
    return static_cast<U64>(passed);
}

// What passed since the last event belongs to the node that is open around.
void Profiler::entered(Eval::Expression const & node, Eval::EvalContext & context) {
    U32 const number = numbers_.of(node);
    if (options_.time) {
        U64 const passed = lap();
        if (!open_.empty()) {
            open_.back().time += passed;
        }
    }
    open_.push_back({number, 0});
    ++profile_.nodes[number].entered;
    deciding_.entered(node, context);
    if (options_.stacks) {
        profile_.stacks.enter(number);
    }
}

void Profiler::left(Eval::Expression const & node, Eval::EvalResult result,
                    Eval::EvalContext & context) {
    U32 const number = numbers_.of(node);
    leave(number);
    NodeCounter::note(profile_.nodes[number], result);
    deciding_.left(node, result, context);
    if (open_.empty()) {
        verdictIs(result);
    }
}

void Profiler::thrown(Eval::Expression const & node, Eval::EvalContext & context) {
    leave(numbers_.of(node));
    deciding_.thrown(node, context);
}

void Profiler::leave(U32 number) {
    U64 time = open_.back().time;
    open_.pop_back();
    if (options_.time) {
        time += lap();
        profile_.selfTime[number] += time;
    }
    if (options_.stacks) {
        profile_.stacks.leave(time);
    }
}

void Profiler::verdictIs(Eval::EvalResult result) {
    auto const verdict = static_cast<std::size_t>(result.retVal());
    ++profile_.verdicts[verdict];
    auto const * const statement = deciding_.statement().node;
    ++(statement == nullptr ? profile_.atEnd : profile_.decided[numbers_.of(*statement)])[verdict];
}

} // namespace Qcf::Watch
