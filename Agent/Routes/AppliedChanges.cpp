#include "Agent/Routes/AppliedChanges.h"

#include "Agent/Routes/ValueRenderer.h"
#include "Platform/Framework/Assert.h"

namespace Qcf::Agent {

namespace {

/// One attribute as JSON text.
template <typename Value>
String textOf(Value const & value, SetForm form) {
    String text;
    RendererV2 renderer(text);
    // A single value needs something to stand in.
    renderer.beginArray();
    ValueRenderer(renderer).render(value, form);
    renderer.endArray();
    return text.substr(1, text.size() - 2);
}

std::vector<String> textsOf(Route const & route) {
    std::vector<String> texts;
    route.eachAttribute([&](std::size_t index, auto const & value) {
        texts.push_back(textOf(value, routeAttributes()[index].form));
    });
    return texts;
}

/// Puts a change in its attribute's place, whose type is the one that the attribute has in a route.
template <typename Change>
struct Assign {
    Change const & change;

    template <typename Value>
    void operator()(Value & value) const {
        if constexpr (std::is_same_v<Change, Value>) {
            value = change;
        } else if constexpr (requires { value.asnsIs(change); }) {
            value.asnsIs(change);
        } else if constexpr (isSetOf<Value>) {
            value.assign(change.begin(), change.end());
        } else {
            QCF_ASSERT_TEXT(false, "the attribute has one type");
        }
    }

private:
    template <typename Set>
    static constexpr bool isSetOf = requires(Set set) {
        requires std::is_same_v<std::span<typename Set::value_type const>, Change>;
        set.assign(set.begin(), set.end());
    };
};

} // namespace

Route appliedTo(Route const & route, RouteChanges const & changes) {
    Route after = route;
    changes.eachChange([&](auto, char const * name, auto const & change) {
        if (auto const index = findRouteAttribute(name)) {
            after.visitAttribute(*index, Assign<std::decay_t<decltype(change)>>{change});
        }
    });
    return after;
}

// Texts say the same of a value wherever it comes from, and are what is told anyhow.
std::vector<AttributeDifference> differences(Route const & before, Route const & after) {
    std::vector<AttributeDifference> found;
    auto const first = textsOf(before);
    auto const second = textsOf(after);
    for (std::size_t i = 0; i < first.size(); ++i) {
        if (first[i] != second[i]) {
            found.push_back({routeAttributes()[i].name, first[i], second[i]});
        }
    }
    return found;
}

String attributeText(Route const & route, std::string_view languageName) {
    auto const index = findRouteAttribute(languageName);
    return index ? textsOf(route)[*index] : String();
}

} // namespace Qcf::Agent
