#pragma once

#include "Questions/Report.h"

namespace Qcf::Questions {

/// The report as one file of HTML that loads nothing: style and script stand in it, and its policy
/// allows these two by their hashes and nothing else, whatever a policy's texts hold. All counts
/// can be read without script; the script adds search, tabs, and examples a click away.
///
///     replaceFile("report.html", reportPage(report));
///
/// A policy of 5,000 lines makes less than 2 MB.
String reportPage(Report const & report);

/// What the script reads, as JSON:
///
///     {"files": [NAME], "texts": [TEXT],
///      "lines": [{LINE: {"parts": [[text, asked, [entered, true, false, unknown, exits],
///      missing]],
///                        "examples": [number]}}],
///      "examples": [{"route", "prefix", "peer", "verdict", "by", "reason", "cut",
///                    "rows": [[depth, label, text, result, values]]}]}
///
/// Texts that recur are numbers of `texts`. `<` never stands in it, so that no text ends the
/// element around it.
String reportData(Report const & report);

} // namespace Qcf::Questions
