#include "Agent/Routes/JsonLinesWriter.h"

/// Leaves out what has its default value: a reader puts it there by itself, and lines stay short.
namespace Qcf::Agent {

RouteRenderer::RouteRenderer(RendererV2 & renderer)
    : renderer_(renderer), values_(renderer_), defaultRoute_() {
    // Without their types: each is compared only with the same member of another route.
    defaultRoute_.eachAttribute(
        [this](std::size_t, auto const & value) { defaults_.push_back(&value); });
}

void RouteRenderer::render(Route const & route) {
    renderer_.beginObject();
    route.eachAttribute([this]<typename Value>(std::size_t index, Value const & value) {
        if (value == *static_cast<Value const *>(defaults_[index])) {
            return;
        }
        RouteAttribute const & attribute = routeAttributes()[index];
        renderer_.key(attribute.name);
        values_.render(value, attribute.form);
    });
    // Last, and under one key, since these are no attributes.
    renderSession(route.session);
    renderer_.endObject();
}

void RouteRenderer::renderSession(Session const & session) {
    Session const usual;
    // The object is begun with its first member, so that the usual session leaves no trace.
    bool begun = false;
    auto const member = [&](char const * name, auto value, auto usualValue) {
        if (value == usualValue) {
            return;
        }
        if (!begun) {
            renderer_.key("session");
            renderer_.beginObject();
            begun = true;
        }
        renderer_.key(name);
        renderer_.value(value);
    };
    member("outbound", session.outbound, usual.outbound);
    member("local_as", session.localAs, usual.localAs);
    member("peer_confed", session.peerConfed, usual.peerConfed);
    member("vrf_id", session.vrfId, usual.vrfId);
    if (begun) {
        renderer_.endObject();
    }
}

} // namespace Qcf::Agent
