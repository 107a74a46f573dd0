#pragma once

#include "Questions/Report.h"
#include "Questions/ReportInput.h"

namespace Qcf::Questions {

/// The lists that the function reaches, in the order of their records, each with how often its
/// entries answered. Of a list with many entries those with most hits and the first without any
/// are told.
std::vector<ReportList> listsOf(ReportInput const & input);

} // namespace Qcf::Questions
