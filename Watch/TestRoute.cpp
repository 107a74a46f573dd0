#include "Watch/TestRoute.h"

#include "Agent/Routes/RouteJson.h"
#include "Agent/Tables/RouteFile.h"
#include "Platform/Render/DocumentError.h"
#include "Platform/Render/JsonDocument.h"

#include <filesystem>

namespace Qcf::Watch {

Agent::Route readTestRoute(Text::RouteDeclaration const & declared, Text::Sources const & sources) {
    Agent::Route route;
    String const & text = sources[declared.span.file].name();
    if (declared.file.empty()) {
        auto const document = JsonDocument::parse(declared.json, sources.placeText(declared.span));
        Agent::readRoute(document.root(), route);
        return route;
    }
    auto const path = std::filesystem::path(text).parent_path() / declared.file;
    auto const reader = Agent::openRoutes(path.string(), [](String const & /*damage*/) {});
    for (U64 number = 0; reader->next(route); ++number) {
        if (number == declared.number) {
            return route;
        }
    }
    throw DocumentError(sources.placeText(declared.span) + ": wants route " +
                        std::to_string(declared.number) + " of " + path.string() + ", found " +
                        std::to_string(reader->statistics().routes) + " routes");
}

} // namespace Qcf::Watch
