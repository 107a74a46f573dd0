#include "QcfLib/ExternalMatchers.h"

namespace Qcf {

ExternalMatchersBase::ExternalMatchersBase() {
    tagSets.defaultIs(makePtr<Routing::RouteMap::TagSetStatus>());
}
ExternalMatchersBase::~ExternalMatchersBase() = default;

} // namespace Qcf
