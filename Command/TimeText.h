#pragma once

#include "Platform/Framework/Types.h"

/// A time as people and programs read it, of seconds since 1970: "2026-01-02T03:04:05Z".
String timeText(U64 seconds);
