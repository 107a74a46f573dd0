#pragma once

#include "Questions/Report.h"
#include "Questions/ReportInput.h"

namespace Qcf::Questions {

/// Puts everything in order and explains the examples:
///
///     auto const counts = countTable(*reader, run, numbers);
///     Report const report = makeReport({function, matchers, numbers, counts, places, ...});
///     std::cout << reportPage(report);
///
/// What names the subject, the table and the note is left to the caller. The texts of the input
/// are copied. One thread at a time, because places may be.
Report makeReport(ReportInput const & input);

} // namespace Qcf::Questions
