#pragma once

#include "Platform/Render/RendererV2.h"
#include "Watch/Coverage.h"

/// Coverage as people and other tools read it.
namespace Qcf::Watch {

/// "statements 19 of 22 (86.4 %), conditions both ways 9 of 14".
String totalsText(Coverage const & coverage);

/// A line a file of which something is missing, which begins with `indent` blanks:
/// "not reached: 59 local_preference -= 50 | never true: 38 as_path matches LEAKS". Of statements
/// in each other that were not reached the outer ones are told. `withNames` puts the file's name
/// before each line.
String missingText(Coverage const & coverage, std::size_t indent, bool withNames);

/// The tracefile of the lcov tools: functions, of each line the entries of its first statement, of
/// each condition as branches how often it was true, false, and unknown where it can be.
String lcovText(Coverage const & coverage);

/// One object: `{"files": {FILE: {"covered": [...], "not_covered": [...], "nodes": [...]}}}`. Rows
/// are those of statements, and not covered where one of theirs was not entered; each node has its
/// key, its place and its counts.
void renderCoverage(Coverage const & coverage, RendererV2 & renderer);

} // namespace Qcf::Watch
