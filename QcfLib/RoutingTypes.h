#pragma once

/// The routing value types that nodes and contexts speak of, in one include.

///
/// Nothing of the engine is in them. Headers that need one type alone include that; whoever derives
/// from the context, or names fields of any type, needs most.
///
#include "Platform/Routing/AsPath.h"
#include "Platform/Routing/CommunityValue.h"
#include "Platform/Routing/Esi.h"
#include "Platform/Routing/EthAddr.h"
#include "Platform/Routing/IntfId.h"
#include "Platform/Routing/IpAddr.h"
#include "Platform/Routing/IpPrefix.h"
#include "Platform/Routing/Policy.h"
#include "Platform/Routing/ResolutionRibs.h"
#include "Platform/Routing/RouteMap.h"

#include <optional>
