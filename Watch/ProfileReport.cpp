#include "Watch/ProfileReport.h"

#include "Platform/Render/Utf8.h"
#include "Watch/ProfileRows.h"

#include <algorithm>
#include <cstdio>

namespace Qcf::Watch {

namespace {

// Longer lines would not stand in a terminal.
constexpr std::size_t longestLine = 100;
constexpr std::size_t topClauses = 10;

constexpr char const * verdictNames[] = {"unknown", "false", "true"};

String percent(U64 part, U64 all) {
    char text[16];
    F64 const share = all == 0 ? 0 : 100.0 * static_cast<F64>(part) / static_cast<F64>(all);
    std::snprintf(text, sizeof text, "%.1f %%", share);
    return text;
}

String right(String text, std::size_t width) {
    text.insert(0, width - std::min(width, text.size()), ' ');
    return text;
}

String lineOf(ProfileView const & view, ProfileRow const & row) {
    if (row.kind == ProfileRow::Kind::function) {
        return "function " + oneLine(row.within->funcName(), longestLine);
    }
    return oneLine(view.places.line(*row.node, *row.within), longestLine);
}

String placeOf(ProfileView const & view, ProfileRow const & row) {
    String const text = view.places.of(*row.node, *row.within).text();
    return text.empty() ? view.subject : text;
}

/// "14.0 %  policy.qcf:69  return false because length   (28000 false)".
String topText(ProfileView const & view, std::vector<ProfileRow> const & rows) {
    std::vector<ProfileRow const *> deciding;
    for (ProfileRow const & row : rows) {
        if (row.verdicts() > 0 && !row.isRepeated) {
            deciding.push_back(&row);
        }
    }
    std::ranges::stable_sort(deciding, std::greater(),
                             [](ProfileRow const * row) { return row->verdicts(); });
    U64 const routes = view.profile.routes();
    String text = "decided by\n";
    for (std::size_t i = 0; i < std::min(topClauses, deciding.size()); ++i) {
        ProfileRow const & row = *deciding[i];
        text += right(percent(row.verdicts(), routes), 10) + "  " + placeOf(view, row) + "  " +
                lineOf(view, row) + '\n';
    }
    if (deciding.size() > topClauses) {
        text += "            and " + std::to_string(deciding.size() - topClauses) + " more\n";
    }
    auto const & atEnd = view.profile.atEnd;
    if (U64 const count = atEnd[0] + atEnd[1] + atEnd[2]; count > 0) {
        text += right(percent(count, routes), 10) + "  the function's end\n";
    }
    return text;
}

/// The columns before the source.
String columns(ProfileView const & view, ProfileRow const & row) {
    auto const count = [](U64 number, bool isTold) {
        return right(isTold ? std::to_string(number) : String("-"), 11);
    };
    bool const asked = row.isAsked();
    U32 const line = view.places.of(*row.node, *row.within).line;
    String text = right(line == 0 ? String("-") : std::to_string(line), 6) +
                  count(row.entered, true) + count(row.answers.isTrue, asked) +
                  count(row.answers.isFalse, asked) + count(row.answers.isUnknown, asked) +
                  count(row.answers.exits, asked);
    if (!view.profile.selfTime.empty()) {
        char time[32];
        std::snprintf(time, sizeof time, "%.3f", static_cast<F64>(row.selfTime) / 1e6);
        text += right(time, 11);
    }
    return text +
           right(row.verdicts() == 0 ? String("-") : percent(row.verdicts(), view.profile.routes()),
                 10);
}

String heading(ProfileView const & view) {
    String text = right("line", 6);
    for (char const * const name : {"entered", "true", "false", "unknown", "exits"}) {
        text += right(name, 11);
    }
    text += view.profile.selfTime.empty() ? "" : right("self ms", 11);
    return text + right("decided", 10) + "  source\n";
}

void member(RendererV2 & renderer, char const * name, auto const & value) {
    renderer.key(name);
    renderer.value(value);
}

void renderVerdicts(VerdictCounts const & counts, RendererV2 & renderer) {
    for (std::size_t const i : {2U, 1U, 0U}) {
        member(renderer, verdictNames[i], counts[i]);
    }
}

void renderPlace(NodePlace const & place, RendererV2 & renderer) {
    member(renderer, "file", place.file);
    if (place.isInText()) {
        member(renderer, "line", place.line);
        member(renderer, "column", place.column);
    } else {
        member(renderer, "pointer", place.pointer);
    }
}

void renderRow(ProfileView const & view, ProfileRow const & row, RendererV2 & renderer) {
    renderer.beginObject();
    member(renderer, "function", row.within->funcName());
    renderPlace(view.places.of(*row.node, *row.within), renderer);
    member(renderer, "key", row.node->aetNodeKey());
    member(renderer, "text", lineOf(view, row));
    member(renderer, "entered", row.entered);
    member(renderer, "true", row.answers.isTrue);
    member(renderer, "false", row.answers.isFalse);
    member(renderer, "unknown", row.answers.isUnknown);
    member(renderer, "exits", row.answers.exits);
    renderer.key("decided");
    renderer.beginObject();
    renderVerdicts(row.decided, renderer);
    renderer.endObject();
    U64 const routes = view.profile.routes();
    member(renderer, "share",
           routes == 0 ? 0.0 : static_cast<F64>(row.verdicts()) / static_cast<F64>(routes));
    if (!view.profile.selfTime.empty()) {
        member(renderer, "selfNanoseconds", row.selfTime);
    }
    if (row.isShared) {
        member(renderer, "shared", true);
    }
    renderer.endObject();
    renderer.endDocument();
}

/// One step of a folded stack: what separates steps and lines does not stand in it.
String frameText(ProfileView const & view, NodeNumbers::Node const & at) {
    if (auto const * const function = Eval::as<Eval::Function>(*at.node)) {
        return oneLine(function->funcName(), longestLine);
    }
    U32 const line = view.places.of(*at.node, *at.within).line;
    return (line == 0 ? String() : "line " + std::to_string(line) + ' ') +
           oneLine(view.places.line(*at.node, *at.within), longestLine);
}

} // namespace

String profileText(ProfileView const & view) {
    auto const rows = profileRows(view.numbers, view.profile);
    auto const & verdicts = view.profile.verdicts;
    U64 const routes = view.profile.routes();
    String text = std::to_string(routes) + " routes:";
    for (std::size_t const i : {2U, 1U, 0U}) {
        text += ' ' + String(verdictNames[i]) + ' ' + std::to_string(verdicts[i]) + " (" +
                percent(verdicts[i], routes) + (i == 0 ? ")\n" : "),");
    }
    text += topText(view, rows) + '\n';
    if (!view.profile.selfTime.empty()) {
        text += "times are sampled by the clock at entering and leaving, of an evaluation that is "
                "watched\n";
    }
    text += heading(view);
    for (ProfileRow const & row : rows) {
        text += columns(view, row) + "  " + String(std::size_t{2} * row.depth, ' ') +
                lineOf(view, row) + (row.isShared ? "   (shared *)\n" : "\n");
    }
    if (std::ranges::any_of(rows, &ProfileRow::isShared)) {
        text += "* stands in several places of the document, which are counted together\n";
    }
    return text;
}

void renderProfile(ProfileView const & view, RendererV2 & renderer) {
    for (ProfileRow const & row : profileRows(view.numbers, view.profile)) {
        renderRow(view, row, renderer);
    }
    renderer.beginObject();
    member(renderer, "routes", view.profile.routes());
    renderVerdicts(view.profile.verdicts, renderer);
    renderer.key("atEnd");
    renderer.beginObject();
    renderVerdicts(view.profile.atEnd, renderer);
    renderer.endObject();
    renderer.endObject();
    renderer.endDocument();
}

// Blocks have nothing to say: their time is that of what they stand in.
String foldedText(ProfileView const & view) {
    std::vector<String> frames;
    for (NodeNumbers::Node const & at : view.numbers.nodes()) {
        String frame = Eval::is<Eval::Block>(*at.node) ? String() : ';' + frameText(view, at);
        std::replace(frame.begin() + (frame.empty() ? 0 : 1), frame.end(), ';', ',');
        frames.push_back(std::move(frame));
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
