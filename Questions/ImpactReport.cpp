#include "Questions/ImpactReport.h"

#include "Agent/Routes/RouteAttributes.h"

namespace Qcf::Questions {

namespace {

constexpr struct {
    SlotKind kind;
    char const * text;
} kindTexts[] = {
    {SlotKind::commList, "community list"},
    {SlotKind::extCommList, "ext community list"},
    {SlotKind::largeCommList, "large community list"},
    {SlotKind::tagSet, "tag set"},
    {SlotKind::asPathAccessList, "AS-path list"},
    {SlotKind::v4PrefixList, "IPv4 prefix list"},
    {SlotKind::v6PrefixList, "IPv6 prefix list"},
    {SlotKind::dynamicPrefixList, "dynamic prefix list"},
    {SlotKind::roaTable, "ROA table"},
    {SlotKind::tunnelRib, "tunnel RIB"},
};

String kindText(NamedThing const & thing) {
    String text;
    for (auto const & row : kindTexts) {
        for (SlotKind const kind : thing.lists) {
            text += kind == row.kind ? (text.empty() ? "" : ", ") + String(row.text) : String();
        }
    }
    return thing.isList() ? text : String("attribute");
}

String verdictText(Eval::EvalResult result) {
    return result.isTrue()                         ? "accepted"
           : result.retVal() == Eval::QcfUnknown() ? "unknown"
                                                   : "rejected";
}

/// "were RPKI empty", "without as_path".
String withoutText(NamedThing const & thing) {
    if (thing.isList()) {
        return "were " + thing.name + " empty";
    }
    return "without " + String(Agent::routeAttributes()[*thing.routeIndex].name);
}

String placeText(Watch::NodePlace const & place) {
    return place.isInText() ? std::to_string(place.line) : place.pointer;
}

String lineText(ImpactView const & view, NamingPlace const & place) {
    return placeText(view.places.of(*place.node, *place.function)) + ' ' +
           view.places.line(*place.node, *place.function);
}

void appendFunctions(String & out, ImpactView const & view) {
    std::size_t width = 0;
    for (NamingPlace const & place : view.readers.places) {
        width = std::max(width, place.function->funcName().size());
    }
    for (auto const & [function, called] : view.readers.callers) {
        width = std::max(width, function->funcName().size());
    }
    auto const row = [&](String const & name, String const & text) {
        out += "  " + name + String(width - name.size() + 2, ' ') + text + '\n';
    };
    Eval::Function const * last = nullptr;
    for (NamingPlace const & place : view.readers.places) {
        bool const isNew = place.function != std::exchange(last, place.function);
        row(isNew ? place.function->funcName() : String(), lineText(view, place));
    }
    for (auto const & [function, called] : view.readers.callers) {
        String calls = "calls ";
        for (Eval::Function const * const each : called) {
            calls += (each == called.front() ? "" : ", ") + each->funcName();
        }
        row(function->funcName(), calls);
    }
}

String totalsText(ImpactView const & view) {
    Impact const & impact = view.impact;
    String text = std::to_string(impact.routes) +
                  " routes: " + std::to_string(impact.decidedRoutes) + " decided through " +
                  view.thing.name;
    if (String const why = whyNeeded(view.thing); !why.empty()) {
        return text + "; what would be without it cannot be told: " + why + '\n';
    }
    return text + ", " + std::to_string(impact.without.differing()) + " would differ " +
           withoutText(view.thing) + " (" + std::to_string(impact.without.verdicts()) +
           " in their verdict)\n";
}

String decidedText(ImpactView const & view) {
    std::vector<std::vector<String>> rows;
    for (DecidedGroup const & group : view.impact.decided) {
        bool const isEnd = group.statement == nullptr;
        rows.push_back({std::to_string(group.count), verdictText(group.result),
                        isEnd ? "the function's end"
                              : placeText(view.places.of(*group.statement, *group.within)) + ' ' +
                                    view.places.line(*group.statement, *group.within),
                        "e.g. " + exampleText(group.example)});
    }
    return inColumns(rows);
}

template <typename Value>
void member(RendererV2 & renderer, char const * key, Value const & value) {
    renderer.key(key);
    renderer.value(value);
}

void renderPlace(Eval::Expression const & node, Eval::Function const & within,
                 Watch::NodePlaces const & places, RendererV2 & renderer) {
    Watch::NodePlace const place = places.of(node, within);
    renderer.beginObject();
    member(renderer, "file", place.file);
    if (place.isInText()) {
        member(renderer, "line", U64{place.line});
        member(renderer, "column", U64{place.column});
    } else {
        member(renderer, "pointer", place.pointer);
    }
    member(renderer, "text", places.line(node, within));
    renderer.endObject();
}

void renderNaming(ImpactView const & view, RendererV2 & renderer) {
    for (NamingPlace const & place : view.readers.places) {
        renderer.beginObject();
        member(renderer, "function", place.function->funcName());
        renderer.key("names");
        renderPlace(*place.node, *place.function, view.places, renderer);
        renderer.endObject();
        renderer.endDocument();
    }
    for (auto const & [function, called] : view.readers.callers) {
        renderer.beginObject();
        member(renderer, "function", function->funcName());
        renderer.key("calls");
        renderer.beginArray();
        for (Eval::Function const * const each : called) {
            renderer.value(each->funcName());
        }
        renderer.endArray();
        renderer.endObject();
        renderer.endDocument();
    }
}

void renderDecided(ImpactView const & view, RendererV2 & renderer) {
    for (DecidedGroup const & group : view.impact.decided) {
        renderer.beginObject();
        member(renderer, "decided", group.count);
        member(renderer, "verdict", toString(group.result.retVal()));
        renderer.key("by");
        if (group.statement == nullptr) {
            renderer.nullValue();
        } else {
            renderPlace(*group.statement, *group.within, view.places, renderer);
        }
        renderer.key("example");
        renderer.beginObject();
        renderExample(group.example, renderer);
        renderer.endObject();
        renderer.endObject();
        renderer.endDocument();
    }
}

} // namespace

String impactText(ImpactView const & view) {
    String text = view.thing.name + ": " + kindText(view.thing) + '\n';
    appendFunctions(text, view);
    text += totalsText(view);
    if (!view.impact.decided.empty()) {
        text += "decided through " + view.thing.name + '\n' + decidedText(view);
    }
    auto const groups = view.impact.without.sorted();
    if (!groups.empty()) {
        text += "would differ " + withoutText(view.thing) + '\n' +
                differencesText(groups, {view.places, view.places});
    }
    return text;
}

void renderImpact(ImpactView const & view, RendererV2 & renderer) {
    renderNaming(view, renderer);
    renderDecided(view, renderer);
    renderDifferences(view.impact.without.sorted(), {view.places, view.places}, renderer);
    renderer.beginObject();
    member(renderer, "name", view.thing.name);
    member(renderer, "kind", kindText(view.thing));
    member(renderer, "routes", view.impact.routes);
    member(renderer, "decided", view.impact.decidedRoutes);
    String const why = whyNeeded(view.thing);
    bool const isCompared = why.empty();
    renderer.key("differ");
    isCompared ? renderer.value(view.impact.without.differing()) : renderer.nullValue();
    renderer.key("verdicts");
    isCompared ? renderer.value(view.impact.without.verdicts()) : renderer.nullValue();
    renderer.key("notCompared");
    isCompared ? renderer.nullValue() : renderer.value(why);
    renderer.endObject();
    renderer.endDocument();
}

} // namespace Qcf::Questions
