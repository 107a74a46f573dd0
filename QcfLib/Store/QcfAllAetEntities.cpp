#include "QcfLib/QcfAllAetEntities.h"

namespace Qcf {

Ptr<AllAetEntities> AllAetEntities::AllAetEntitiesIs() { return makePtr<AllAetEntities>(); }
Ptr<AllAetEntities> allAetEntitiesFactory() { return makePtr<AllAetEntities>(); }

} // namespace Qcf
