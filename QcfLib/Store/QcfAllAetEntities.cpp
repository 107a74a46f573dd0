#include "QcfLib/QcfAllAetEntities.h"

/// Making stores. Their typed operations are generated.
namespace Qcf {

Ptr<AllAetEntities> AllAetEntities::AllAetEntitiesIs() { return makePtr<AllAetEntities>(); }
Ptr<AllAetEntities> allAetEntitiesFactory() { return makePtr<AllAetEntities>(); }

} // namespace Qcf
