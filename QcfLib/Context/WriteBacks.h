#pragma once

#include "Platform/Framework/VirtualSlot.h"
#include "QcfLib/AttributeLayer.h"

/// How each attribute's new value gets to the agent. Private to the attribute layer's sources.
namespace Qcf::Eval {

/// Hands the stored value of an attribute to the agent's operation.
using WriteBack = void (*)(AttributeOperations & agent, AttributeContent const & content);
/// Whether the agent's class has another operation than the table of defaults.
using WriteBackTest = bool (*)(AttributeOperations const & agent, VirtualSlots defaults);

/// The set or value is handed over by reference, as the content holds it.
template <auto stored, auto operation>
void writeBackBy(AttributeOperations & agent, AttributeContent const & content) {
    (agent.*operation)(content.*stored);
}
/// Where tables cannot be read every operation counts as overridden.
template <auto operation>
bool isOverridden(AttributeOperations const & agent, VirtualSlots defaults) {
    return overridesSlot(agent, defaults, operation);
}

// By ModifiableAttribute.
extern WriteBack const writeBacks[modifiableAttributeCount];
extern WriteBackTest const writeBackTests[modifiableAttributeCount];

} // namespace Qcf::Eval
