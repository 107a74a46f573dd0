#include "QcfLib/ExternalMatchers.h"

/// The tables' start: no lists.
namespace Qcf {

ExternalMatchersBase::ExternalMatchersBase() {
    // Beyond the table an agent is handed an empty tag set, and need not test for null.
    tagSets.defaultIs(makePtr<Routing::RouteMap::TagSetStatus>());
}
ExternalMatchersBase::~ExternalMatchersBase() = default;

} // namespace Qcf
