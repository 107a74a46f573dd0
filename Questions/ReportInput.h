#pragma once

#include "Lists/ListRecord.h"
#include "Questions/ReportCounts.h"

namespace Qcf::Questions {

/// A text that nodes have places in.
struct ReportText {
    String name; ///< as places name the file
    String text;
};

/// What a report is made of. All must outlive the call.
struct ReportInput {
    PtrConst<Eval::Function> const & function;
    PtrConst<ExternalMatchersBase> const & matchers;
    Watch::NodeNumbers const & numbers;
    ReportCounts const & counts;
    Watch::NodePlaces const & places;
    std::vector<ReportText> const & texts;
    /// The lists that were bound, may be null, and what was written of them.
    Lists::NamedLists const * lists;
    std::vector<Lists::ListRecord> const & records;
    /// Where the statements of the policy before stand; null where none is compared with.
    Watch::NodePlaces const * before = nullptr;
};

} // namespace Qcf::Questions
