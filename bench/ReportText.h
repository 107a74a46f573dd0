#pragma once

#include "bench/Measure.h"

/// Figures as the report's tables have them.
namespace Qcf::Bench {

[[gnu::format(printf, 1, 2)]] String formatted(char const * format, ...);

/// "12.3 (12.1..12.9)"
String text(Spread const & spread);
/// "-" for what is not known.
String text(std::optional<double> const & number, int digits);

/// Bytes in the unit that reads best.
String bytesText(double bytes);
String timeText(Spread const & ns);

} // namespace Qcf::Bench
