#pragma once

#include "Agent/Routes/ValueRenderer.h"

#include <vector>

namespace Qcf::Agent {

/// Writes routes as JSON lines, which read back to the same routes: of each the attributes and
/// session facts that do not have their default value. (The words beside a community's 64 bits are
/// not kept for elements of `ext_community`.)
///
///     String text;
///     JsonLinesWriter writer(text);
///     writer.add(route); // {"prefix":"10.0.0.0/8","med":50}
///
/// Members come in the order of routeAttributeNames(), `session` last. Belongs to one thread.
class JsonLinesWriter {
public:
    /// `out` must outlive the writer.
    explicit JsonLinesWriter(String & out);

    /// Appends the line of one route, with its end.
    void add(Route const & route);

private:
    /// Writes what differs from the session of a fresh route.
    void addSession(Session const & session);

    /// Writes to `out`; `values_` writes by it.
    RendererV2 renderer_;
    ValueRenderer values_;
    /// What is left out is what a route has that nobody said anything of.
    Route const defaultRoute_;
    std::vector<void const *> defaults_; ///< each attribute of it, by index
};

} // namespace Qcf::Agent
