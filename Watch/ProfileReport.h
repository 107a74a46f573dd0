#pragma once

#include "Platform/Render/RendererV2.h"
#include "Watch/NodePlaces.h"
#include "Watch/Profile.h"

/// A profile as people and other tools read it. Every function that was reached is shown, the
/// profiled one first.
namespace Qcf::Watch {

/// What a report is made of; all must outlive the call.
struct ProfileView {
    NodeNumbers const & numbers;
    Profile const & profile;
    NodePlaces const & places;
};

/// For people: the verdicts and the statements that decided most of them, then the source of each
/// function, a line a statement or operand of a condition, with how often it was entered, true,
/// false and unknown, and the share of all verdicts that it decided. Counts of an `if` are those of
/// its condition.
String profileText(ProfileView const & view);

/// For programs, one object a line: each line of the text as
/// `{"function", "file", "line", "column", "key", "text", "entered", "true", "false", "unknown",
/// "exits", "decided": {"true", "false", "unknown"}, "share"}`, with a clock `"selfNanoseconds"`;
/// last `{"routes", "true", "false", "unknown", "atEnd": {...}}`. A document has `pointer` in place
/// of line and column.
void renderProfile(ProfileView const & view, RendererV2 & renderer);

/// For tools that draw flame graphs: a line a way to a node, `f;line 12 if ...;g;line 3 ... 1234`.
/// Where a function has one such frame twice the place is added, ` @LINE:COLUMN`; in a document
/// each frame has its pointer, `if ... @/nodes/7`. The number is the time of the node alone in
/// nanoseconds, or without a clock how often it was entered.
String foldedText(ProfileView const & view);

} // namespace Qcf::Watch
