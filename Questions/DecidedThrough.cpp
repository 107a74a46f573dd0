#include "Questions/DecidedThrough.h"

#include "Watch/ListAnswers.h"

#include <algorithm>

namespace Qcf::Questions {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

DecidedThrough::DecidedThrough(NamedThing const & thing, NamedReaders const & readers,
                               ExternalMatchersBase const & matchers,
                               FunctionMetadata const & slots)
    : isList_(thing.isList()), readers_(readers) {
    auto const add = [&](SlotKind kind, auto const & table) {
        auto const slot = slots.of(kind).find(thing.name);
        if (isList_ && slot != slots.of(kind).end() && table.at(slot->second)) {
            prefixLists_.push_back(table.at(slot->second).get());
        }
    };
    add(SlotKind::v4PrefixList, matchers.ipv4PrefixLists);
    add(SlotKind::v6PrefixList, matchers.ipv6PrefixLists);
    add(SlotKind::dynamicPrefixList, matchers.dynamicIpv4PrefixLists);
    add(SlotKind::dynamicPrefixList, matchers.dynamicIpv6PrefixLists);
    auto const roa = slots.roaTablesUsed.find(thing.name);
    if (isList_ && roa != slots.roaTablesUsed.end()) {
        roaSlot_ = roa->second;
    }
}

void DecidedThrough::clear() {
    deciding_.clear();
    open_.clear();
    isThrough_ = false;
}

void DecidedThrough::entered(Expression const & node, EvalContext & context) {
    if (open_.empty()) {
        clear();
    }
    deciding_.entered(node, context);
    open_.push_back({is<Block>(node)});
}

// Each node hands up whether it read the thing; of a block's statements only the last one counts,
// and that only where it left.
void DecidedThrough::left(Expression const & node, EvalResult result, EvalContext & context) {
    bool const isPassed = is<Block>(node) && !result.terminates();
    bool const isReading = !isPassed && (open_.back().reads || reads(node, context));
    deciding_.left(node, result, context);
    open_.pop_back();
    if (open_.empty()) {
        isThrough_ = isReading;
    } else {
        Open & around = open_.back();
        around.reads = isReading || (around.reads && !around.isBlock);
    }
}

void DecidedThrough::thrown(Expression const & node, EvalContext & context) {
    deciding_.thrown(node, context);
    open_.pop_back();
}

// A call that is given a list asks it nothing itself: what counts is where the parameter is asked.
bool DecidedThrough::reads(Expression const & node, EvalContext & context) const {
    bool const isHandedOn = isList_ && is<FunctionCallExpression>(node);
    if (!isHandedOn && readers_.nodes.contains(&node)) {
        return true;
    }
    if (roaSlot_ && is<MatchOriginAsValidityImplExpr>(node)) {
        auto const & arguments = *context.intTypeArgValues();
        return !arguments.empty() && arguments[0] == S64{*roaSlot_};
    }
    if (prefixLists_.empty()) {
        return false;
    }
    auto const test = Watch::prefixListTest(node, context);
    if (test.list == nullptr) {
        return false;
    }
    auto const * const asked =
        test.list->getValWithArgs(Ptr<EvalContextBase const>(&context), test.candidate.af());
    return std::ranges::find(prefixLists_, asked) != prefixLists_.end();
}

} // namespace Qcf::Questions
