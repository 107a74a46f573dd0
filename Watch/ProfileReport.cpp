#include "Watch/ProfileReport.h"

#include "Platform/Render/Utf8.h"
#include "Watch/DecidedBy.h"
#include "Watch/ProfileRows.h"

#include <algorithm>
#include <cstdio>

namespace Qcf::Watch {

namespace {

// Longer lines would not stand in a terminal.
constexpr std::size_t longestLine = 100;
/// With the two blanks before a label.
constexpr std::size_t smallestLabel = 6;

constexpr char const * verdictNames[] = {"unknown", "false", "true"};

String lineOf(ProfileView const & view, ProfileRow const & row) {
    if (row.kind == ProfileRow::Kind::function) {
        return "function " + oneLine(row.within->funcName(), longestLine);
    }
    return oneLine(view.places.line(*row.node, *row.within), longestLine);
}

/// The statements that decided, in the order of the text.
String topText(ProfileView const & view, std::vector<ProfileRow> const & rows) {
    std::vector<DecidedVerdicts> deciding;
    for (ProfileRow const & row : rows) {
        if (row.verdicts() > 0 && !row.isRepeated) {
            deciding.push_back({row.verdicts(), view.places.of(*row.node, *row.within).text(),
                                view.places.line(*row.node, *row.within)});
        }
    }
    auto const & atEnd = view.profile.atEnd;
    return decidedByText(std::move(deciding), atEnd[0] + atEnd[1] + atEnd[2],
                         view.profile.routes());
}

/// Where each row stands, as short as it is clear: the line alone in the file of the profiled
/// function, else with the file; in a document the pointer.
std::vector<String> labelsOf(ProfileView const & view, std::vector<ProfileRow> const & rows) {
    std::vector<String> labels;
    String file;
    for (ProfileRow const & row : rows) {
        NodePlace const place = view.places.of(*row.node, *row.within);
        file = labels.empty() ? place.file : file;
        String label = place.pointer.empty() ? String("-") : place.pointer;
        if (place.isInText()) {
            label = place.file == file ? std::to_string(place.line) : visibleText(place.text());
        }
        labels.push_back(std::move(label));
    }
    return labels;
}

/// The columns between the place and the source.
String columns(ProfileView const & view, ProfileRow const & row) {
    auto const count = [](U64 number, bool isTold) {
        return rightAligned(isTold ? std::to_string(number) : String("-"), 11);
    };
    bool const asked = row.isAsked();
    String text = count(row.entered, true) + count(row.answers.isTrue, asked) +
                  count(row.answers.isFalse, asked) + count(row.answers.isUnknown, asked) +
                  count(row.answers.exits, asked);
    if (!view.profile.selfTime.empty()) {
        char time[32];
        std::snprintf(time, sizeof time, "%.3f", static_cast<F64>(row.selfTime) / 1e6);
        text += rightAligned(time, 11);
    }
    return text + rightAligned(row.verdicts() == 0
                                   ? String("-")
                                   : percentText(row.verdicts(), view.profile.routes()),
                               10);
}

String heading(ProfileView const & view) {
    String text;
    for (char const * const name : {"entered", "true", "false", "unknown", "exits"}) {
        text += rightAligned(name, 11);
    }
    text += view.profile.selfTime.empty() ? "" : rightAligned("self ms", 11);
    return text + rightAligned("decided", 10) + "  source\n";
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

} // namespace

String profileText(ProfileView const & view) {
    auto const rows = profileRows(view.numbers, view.profile);
    auto const & verdicts = view.profile.verdicts;
    U64 const routes = view.profile.routes();
    String text = std::to_string(routes) + " routes:";
    for (std::size_t const i : {2U, 1U, 0U}) {
        text += ' ' + String(verdictNames[i]) + ' ' + std::to_string(verdicts[i]) + " (" +
                percentText(verdicts[i], routes) + (i == 0 ? ")\n" : "),");
    }
    text += topText(view, rows) + '\n';
    if (!view.profile.selfTime.empty()) {
        text += "times are sampled by the clock at entering and leaving, of an evaluation that is "
                "watched\n";
    }
    auto const labels = labelsOf(view, rows);
    std::size_t width = smallestLabel;
    for (String const & label : labels) {
        width = std::max(width, label.size() + 2);
    }
    text += rightAligned("line", width) + heading(view);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        ProfileRow const & row = rows[i];
        text += rightAligned(labels[i], width) + columns(view, row) + "  " +
                String(std::size_t{2} * row.depth, ' ') + lineOf(view, row) +
                (row.isShared ? "   (shared *)\n" : "\n");
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

} // namespace Qcf::Watch
