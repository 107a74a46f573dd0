#include "Command/RouteTally.h"

#include <algorithm>
#include <bit>

namespace {

using Qcf::Eval::TriStateBoolValue;

/// The summary's lines: names to the left, numbers below each other.
class Lines {
public:
    void add(std::string_view name, U64 number) {
        constexpr std::size_t nameWidth = 40;
        constexpr std::size_t numberWidth = 12;
        String label(name);
        label += ':';
        label.resize(std::max(label.size(), nameWidth), ' ');
        String digits = std::to_string(number);
        digits.insert(0, numberWidth - std::min(numberWidth, digits.size()), ' ');
        text_ += label + ' ' + digits + '\n';
    }
    void addUnlessZero(std::string_view name, U64 number) {
        if (number != 0) {
            add(name, number);
        }
    }
    String const & text() const { return text_; }

private:
    String text_;
};

} // namespace

void RouteTally::add(Qcf::Agent::Evaluated const & evaluated) {
    ++routes;
    ++results[static_cast<U8>(evaluated.result.retVal())];
    nextHopSetToSelf += evaluated.context.nextHopSetToSelf() ? 1 : 0;
    U32 flags = evaluated.context.changes().flags;
    changedRoutes += flags != 0 ? 1 : 0;
    // A bit an attribute: only those that are set are gone over.
    for (; flags != 0; flags &= flags - 1) {
        ++changed[static_cast<U32>(std::countr_zero(flags))];
    }
}

void RouteTally::add(RouteTally const & other) {
    routes += other.routes;
    for (std::size_t i = 0; i < results.size(); ++i) {
        results[i] += other.results[i];
    }
    changedRoutes += other.changedRoutes;
    for (std::size_t i = 0; i < changed.size(); ++i) {
        changed[i] += other.changed[i];
    }
    nextHopSetToSelf += other.nextHopSetToSelf;
}

// The verdicts always stand there, even as 0, so that tables can be compared line by line; what
// only some files or policies have is left out where it did not occur.
String RouteTally::summary(Qcf::Agent::ReadStatistics const & read, F64 seconds) const {
    Lines lines;
    lines.add("routes", routes);
    lines.add("true", results[static_cast<U8>(TriStateBoolValue::true_)]);
    lines.add("false", results[static_cast<U8>(TriStateBoolValue::false_)]);
    lines.add("unknown", results[static_cast<U8>(TriStateBoolValue::unknown)]);
    lines.add("changed", changedRoutes);
    auto const names = Qcf::Agent::modifiableAttributeNames();
    for (std::size_t i = 0; i < names.size(); ++i) {
        lines.addUnlessZero("  " + String(names[i]), changed[i]);
    }
    lines.addUnlessZero("next hop set to self", nextHopSetToSelf);
    lines.addUnlessZero("damaged records", read.damagedRecords);
    lines.addUnlessZero("records without routes", read.skippedRecords);
    lines.addUnlessZero("withdrawn prefixes", read.withdrawals);
    lines.addUnlessZero("routes of other families", read.skippedFamilies);
    lines.add("milliseconds", static_cast<U64>(seconds * 1e3));
    // A short table may take no time that the clock shows.
    lines.add("routes per second",
              seconds > 0 ? static_cast<U64>(static_cast<F64>(routes) / seconds) : 0);
    return lines.text();
}
