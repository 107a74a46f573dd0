#include "Agent/Mrt/PathAttributes.h"
#include "Agent/Routes/RouteAttributes.h"
#include "Agent/Routes/RouteJson.h"
#include "Platform/Render/JsonDocument.h"

#include <gtest/gtest.h>

namespace Qcf::Agent {
namespace {

bool carries(Route const & route, char const * name) {
    return route.carries(findRouteAttribute(name).value());
}

TEST(CarriedAttributes, ReadersNoteWhatTheyMeet) {
    auto const document =
        JsonDocument::parse(R"({"med": 0, "igp.tag": 0, "community": []})", "route");
    Route route;
    readRoute(document.root(), route);
    for (char const * const name : {"med", "igp.tag", "community"}) {
        EXPECT_TRUE(carries(route, name)) << name;
    }
    for (char const * const name : {"local_preference", "prefix", "isis.levels", "as_path"}) {
        EXPECT_FALSE(carries(route, name)) << name;
    }
    auto const empty = JsonDocument::parse("{}", "route");
    readRoute(empty.root(), route);
    EXPECT_FALSE(carries(route, "med")) << "of the route before";
}

TEST(CarriedAttributes, PathAttributesNoteTheirs) {
    constexpr U8 bytes[] = {0x40, 1, 1, 0,          // ORIGIN IGP
                            0x40, 2, 0,             // AS_PATH, empty
                            0x80, 4, 4, 0, 0, 0, 0, // MULTI_EXIT_DISC 0
                            0x40, 5, 4, 0, 0, 0, 100};
    Route route;
    PathAttributes().decode(bytes, {.as4 = true}, route);
    for (char const * const name : {"origin", "as_path", "med", "local_preference"}) {
        EXPECT_TRUE(carries(route, name)) << name;
    }
    for (char const * const name : {"community", "next_hop", "aigp.metric"}) {
        EXPECT_FALSE(carries(route, name)) << name;
    }
}

TEST(CarriedAttributes, OtherValuesThanDefaultsNeedNoNote) {
    Route route;
    route.med = 5;
    route.rareIs().tag = 7;
    route.largeCommunity.push_back({1, 2});
    for (std::size_t i = 0; i < routeAttributeNames().size(); ++i) {
        std::string_view const name = routeAttributeNames()[i];
        bool const isSet = name == "med" || name == "igp.tag" || name == "large_community";
        EXPECT_EQ(route.carries(i), isSet) << name;
    }
    Route const copy = route;
    EXPECT_TRUE(carries(copy, "med"));
    route.clear();
    EXPECT_FALSE(carries(route, "med"));
}

} // namespace
} // namespace Qcf::Agent
