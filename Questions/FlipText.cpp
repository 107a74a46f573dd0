#include "Questions/FlipText.h"

#include "Agent/Routes/JsonLinesWriter.h"
#include "Agent/Routes/RouteAttributes.h"
#include "Agent/Routes/ValueRenderer.h"
#include "Watch/ExplanationText.h"

#include <algorithm>

namespace Qcf::Questions {

using Agent::Route;

namespace {

String withoutQuotes(String text) {
    bool const isQuoted = text.size() > 2 && text.front() == '"' && text.back() == '"';
    return isQuoted ? text.substr(1, text.size() - 2) : text;
}

template <typename Element>
String elementText(Element const & element, Agent::SetForm form) {
    String text;
    RendererV2 renderer(text);
    renderer.beginArray();
    Agent::ValueRenderer(renderer).render(std::span(&element, 1), form);
    renderer.endArray();
    return withoutQuotes(text.substr(2, text.size() - 4));
}

/// "65000:1 removed, 65000:2 added"; empty for what is no set.
template <typename Set>
String elementsText(Set const & before, Set const & after, RoutePart part) {
    String text;
    if constexpr (requires { before.capacity(); }) {
        auto const tell = [&](Set const & from, Set const & other, char const * what) {
            for (auto const & element : from) {
                if (!std::ranges::binary_search(other, element)) {
                    text += (text.empty() ? "" : ", ") +
                            elementText(element, Agent::routeAttributes()[part].form) + what;
                }
            }
        };
        tell(before, after, " removed");
        tell(after, before, " added");
    }
    return text;
}

template <typename Value>
String lengthText(Value const & /*before*/, Value const & /*after*/) {
    return {};
}

// Of a prefix that gets shorter or longer where it is.
String lengthText(IpGenPrefix const & before, IpGenPrefix const & after) {
    bool const sameBits =
        after.af() == before.af() && (after == IpGenPrefix(before.addr(), after.len()));
    return sameBits ? std::to_string(before.len()) + " -> " + std::to_string(after.len())
                    : String();
}

char const * verdictText(Eval::EvalResult result) {
    return result.isTrue()                         ? "accepted"
           : result.retVal() == Eval::QcfUnknown() ? "unknown"
                                                   : "rejected";
}

String whereText(Flip const & flip, Watch::NodePlaces const & places) {
    if (flip.statement.node == nullptr) {
        return "at the end";
    }
    Watch::NodePlace const place = places.of(*flip.statement.node, *flip.statement.within);
    return place.isInText() ? "line " + std::to_string(place.line) : place.text();
}

String searchText(FlipReport const & report) {
    String text = "   [" + std::to_string(report.found) + " found of " +
                  std::to_string(report.tried) + " tried";
    if (report.found > report.flips.size() && !report.flips.empty()) {
        text += ", the nearest told";
    }
    text += report.isCut ? "; more could be tried" : "";
    for (String const & name : report.complete) {
        text += (&name == &report.complete.front() ? "; complete for " : ", ") + name;
    }
    return text + "]\n";
}

void renderChange(RoutePart part, Route const & before, Route const & after,
                  RendererV2 & renderer) {
    renderer.key("attribute");
    renderer.value(partName(part));
    renderer.key("from");
    renderPart(before, part, renderer);
    renderer.key("to");
    renderPart(after, part, renderer);
}

void renderFlip(Flip const & flip, Route const & before, Watch::NodePlaces const & places,
                RendererV2 & renderer) {
    renderer.beginObject();
    renderChange(flip.changes.front().part, before, flip.route, renderer);
    if (flip.changes.size() > 1) {
        renderer.key("and");
        renderer.beginObject();
        renderChange(flip.changes.back().part, before, flip.route, renderer);
        renderer.endObject();
    }
    renderer.key("distance");
    renderer.value(flip.distance);
    renderer.key("verdict");
    renderer.value(toString(flip.result.retVal()));
    renderer.key("decidedBy");
    bool const isDecided = flip.statement.node != nullptr;
    auto const place =
        isDecided ? places.of(*flip.statement.node, *flip.statement.within) : Watch::NodePlace();
    Watch::renderDecidedBy(isDecided ? &place : nullptr, flip.reason, renderer);
    renderer.key("route");
    Agent::RouteRenderer(renderer).render(flip.route);
    renderer.endObject();
}

} // namespace

String changeText(Route const & before, Route const & after, RoutePart part) {
    String text;
    before.eachAttribute([&]<typename Value>(std::size_t index, Value const & from) {
        if (index != part) {
            return;
        }
        after.eachAttribute([&]<typename Other>(std::size_t other, Other const & to) {
            if constexpr (std::is_same_v<Value, Other>) {
                if (other == part) {
                    String const elements = elementsText(from, to, part);
                    String const length = lengthText(from, to);
                    text = !elements.empty() ? ' ' + elements
                           : !length.empty() ? " length " + length
                                             : String();
                }
            }
        });
    });
    if (text.empty()) {
        text = ' ' + withoutQuotes(partText(before, part)) + " -> " +
               withoutQuotes(partText(after, part));
    }
    return partName(part) + text;
}

void appendFlips(String & out, FlipReport const & report, Watch::NodePlaces const & places) {
    if (!report.isAsked) {
        out += "  flips: none asked for, the verdict is that already\n";
        return;
    }
    if (report.flips.empty()) {
        out += "  flips: none" + searchText(report);
    }
    for (Flip const & flip : report.flips) {
        bool const isFirst = &flip == &report.flips.front();
        out += isFirst ? "  flips: " : "         ";
        for (FlipChange const & change : flip.changes) {
            out += (&change == &flip.changes.front() ? "" : " and ") + change.text;
        }
        out += String(" (") + verdictText(flip.result) + ", " + whereText(flip, places);
        out += flip.reason.empty() ? ")" : ", reason: " + flip.reason + ')';
        out += isFirst ? searchText(report) : "\n";
    }
}

void renderFlips(FlipReport const & report, Route const & before, Watch::NodePlaces const & places,
                 RendererV2 & renderer) {
    renderer.key("flips");
    renderer.beginArray();
    for (Flip const & flip : report.flips) {
        renderFlip(flip, before, places, renderer);
    }
    renderer.endArray();
    renderer.key("flipSearch");
    renderer.beginObject();
    renderer.key("asked");
    renderer.value(report.isAsked);
    renderer.key("found");
    renderer.value(report.found);
    renderer.key("tried");
    renderer.value(report.tried);
    renderer.key("cut");
    renderer.value(report.isCut);
    renderer.key("complete");
    renderer.beginArray();
    for (String const & name : report.complete) {
        renderer.value(name);
    }
    renderer.endArray();
    renderer.endObject();
}

} // namespace Qcf::Questions
