#pragma once

#include "Agent/Routes/ValueRenderer.h"

#include <vector>

namespace Qcf::Agent {

/// Writes routes as objects of JSON, which read back to the same routes: of each the attributes and
/// session facts that do not have their default value. (The words beside a community's 64 bits are
/// not kept for elements of `ext_community`.)
///
///     RouteRenderer routes(renderer);
///     routes.render(route); // {"prefix":"10.0.0.0/8","med":50}
///
/// Members come in the order of routeAttributeNames(), `session` last. Belongs to one thread.
class RouteRenderer {
public:
    /// The renderer must outlive it.
    explicit RouteRenderer(RendererV2 & renderer);

    /// Writes one route as a value.
    void render(Route const & route);

private:
    /// Writes what differs from the session of a fresh route.
    void renderSession(Session const & session);

    RendererV2 & renderer_;
    ValueRenderer values_;
    /// What is left out is what a route has that nobody said anything of.
    Route const defaultRoute_;
    std::vector<void const *> defaults_; ///< each attribute of it, by index
};

/// Writes routes as JSON lines, each as a RouteRenderer does.
///
///     String text;
///     JsonLinesWriter writer(text);
///     writer.add(route); // {"prefix":"10.0.0.0/8","med":50}
///
/// Belongs to one thread.
class JsonLinesWriter {
public:
    /// `out` must outlive the writer.
    explicit JsonLinesWriter(String & out) : renderer_(out), routes_(renderer_) {}

    /// Appends the line of one route, with its end.
    void add(Route const & route) {
        routes_.render(route);
        renderer_.endDocument();
    }

private:
    /// Writes to `out`; `routes_` writes by it.
    RendererV2 renderer_;
    RouteRenderer routes_;
};

} // namespace Qcf::Agent
