#pragma once

/// The agent's route. Its members follow from the table of route attributes.
#include "Agent/Routes/RouteGenerated.h"
