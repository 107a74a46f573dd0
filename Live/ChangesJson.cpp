#include "Live/ChangesJson.h"

namespace Qcf::Live {

void renderChanges(Agent::AgentContext const & context, RendererV2 & renderer,
                   Agent::ValueRenderer & values) {
    context.changes().eachChange([&](auto, char const * name, auto const & value) {
        renderer.key(name);
        values.render(value, Agent::setFormOf(name));
    });
    if (context.nextHopSetToSelf()) {
        renderer.key("nextHopSetToSelf");
        renderer.value(true);
    }
}

} // namespace Qcf::Live
