#include "Platform/Render/Utf8.h"
#include "Watch/ProfileReport.h"

#include <algorithm>
#include <map>

/// Folded stacks: tools that draw them take equal frames for one, so that each node needs its own.
namespace Qcf::Watch {

namespace {

String frameText(ProfileView const & view, NodeNumbers::Node const & at) {
    constexpr std::size_t longestFrame = 100;
    if (auto const * const function = Eval::as<Eval::Function>(*at.node)) {
        return oneLine(function->funcName(), longestFrame);
    }
    NodePlace const place = view.places.of(*at.node, *at.within);
    String const text = oneLine(view.places.line(*at.node, *at.within), longestFrame);
    if (place.isInText()) {
        return "line " + std::to_string(place.line) + ' ' + text;
    }
    return text + (place.pointer.empty() ? String() : " @" + place.pointer);
}

/// By number; empty for blocks, which have nothing to say.
std::vector<String> framesOf(ProfileView const & view) {
    std::vector<String> frames;
    std::map<std::pair<Eval::Function const *, String>, U32> uses;
    for (NodeNumbers::Node const & at : view.numbers.nodes()) {
        frames.push_back(Eval::is<Eval::Block>(*at.node) ? String() : frameText(view, at));
        ++uses[{at.within, frames.back()}];
    }
    for (std::size_t i = 0; i < frames.size(); ++i) {
        auto const & [node, within] = view.numbers.nodes()[i];
        NodePlace const place = view.places.of(*node, *within);
        // Of a line that has the same twice.
        if (place.isInText() && !frames[i].empty() && uses[{within, frames[i]}] > 1) {
            frames[i] += " @" + std::to_string(place.line) + ':' + std::to_string(place.column);
        }
    }
    return frames;
}

} // namespace

// The time of blocks is that of what they stand in.
String foldedText(ProfileView const & view) {
    std::vector<String> frames = framesOf(view);
    for (String & frame : frames) {
        std::ranges::replace(frame, ';', ',');
        frame.insert(0, frame.empty() ? "" : ";");
    }
    String text;
    bool const hasTime = !view.profile.selfTime.empty();
    view.profile.stacks.each([&](std::span<U32 const> path, U64 entered, U64 nanoseconds) {
        if (!hasTime && frames[path.back()].empty()) {
            return;
        }
        String stack;
        for (U32 const number : path) {
            stack += frames[number];
        }
        text += stack.substr(1) + ' ' + std::to_string(hasTime ? nanoseconds : entered) + '\n';
    });
    return text;
}

} // namespace Qcf::Watch
