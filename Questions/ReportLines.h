#pragma once

#include "Questions/Report.h"
#include "Questions/ReportInput.h"
#include "Watch/Coverage.h"
#include "Watch/ProfileRows.h"

namespace Qcf::Questions {

/// The texts line by line, with what was counted at each. Which rows stand in a line is told to
/// whoever looks for examples.
struct ReportLines {
    std::vector<ReportFile> files;

    struct Row {
        std::size_t file;
        U32 line; ///< 0 where no text is known
        Watch::ProfileRow row;
    };
    std::vector<Row> rows; ///< in the order of the functions
};

ReportLines linesOf(ReportInput const & input);

} // namespace Qcf::Questions
