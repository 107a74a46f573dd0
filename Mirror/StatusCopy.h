#pragma once

#include "Mirror/ProgramPublication.h"

namespace Qcf::Mirror {

/// Makes `target` equal to `source` field by field, changing only what differs: functions under
/// their names, nodes under their keys, the store being there or not, markers and flags. The nodes
/// are copies. The changes are bracketed by the source's markers.
///
/// Throws MirrorError before anything is changed when the source holds something that cannot be
/// published, or when a batch is under way in it.
PublishCounts copyStatus(AllFunctionStatus const & source, AllFunctionStatus & target);

} // namespace Qcf::Mirror
