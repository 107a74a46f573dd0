#include "Platform/Framework/RefCount.h"

void PtrInterface::lastUserGone() const { delete this; }
