#include "Questions/TraceEffects.h"

namespace Qcf::Questions {

namespace {

// The flag that asks for our own address as the next hop is no attribute.
bool setsFlag(Watch::TraceNode const & node) {
    return Eval::is<Eval::SetNextHopSelfImplExpr>(*node.node) && node.result.isTrue();
}

void append(std::vector<TraceEffect> & effects, Watch::TraceNode const & node, bool withIdle) {
    for (Watch::TraceNode const * const child : node.children) {
        append(effects, *child, withIdle);
    }
    bool const isChange = node.change && !node.thrown;
    if (isChange && (withIdle || !node.change->hadNoEffect())) {
        effects.push_back({&node.change->target->typeData(), node.change->after});
    }
    if (setsFlag(node)) {
        effects.push_back({&node.node->typeData(), {}});
    }
}

} // namespace

std::vector<TraceEffect> effectsOf(Watch::TraceNode const & node, bool withIdle) {
    std::vector<TraceEffect> effects;
    append(effects, node, withIdle);
    return effects;
}

} // namespace Qcf::Questions
