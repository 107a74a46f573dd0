#pragma once

#include "Platform/Framework/VirtualSlot.h"
#include "QcfLib/AttributeLayer.h"

/// How each attribute's new value gets to the agent. Private to the attribute layer's sources.
namespace Qcf::Eval {

struct WriteBack {
    /// Hands the stored value to the agent's operation.
    void (*call)(AttributeOperations & agent, AttributeContent const & content);
    /// Whether the object's class has another operation than the table of defaults.
    bool (*isOverridden)(AttributeOperations const & agent, VirtualSlots defaults);
};

template <auto stored, auto operation>
constexpr WriteBack writeBackOf() {
    return {[](AttributeOperations & agent, AttributeContent const & content) {
                (agent.*operation)(content.*stored);
            },
            [](AttributeOperations const & agent, VirtualSlots defaults) {
                return overridesSlot(agent, defaults, operation);
            }};
}

/// By ModifiableAttribute.
extern WriteBack const writeBacks[modifiableAttributeCount];

} // namespace Qcf::Eval
