#include "bench/ReportText.h"

#include <array>
#include <cstdarg>
#include <cstdio>

namespace Qcf::Bench {

String formatted(char const * format, ...) {
    std::array<char, 1024> text;
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    return text.data();
}

String text(Spread const & spread) {
    int const digits = spread.median < 100 ? 2 : 0;
    return formatted("%.*f (%.*f..%.*f)", digits, spread.median, digits, spread.low, digits,
                     spread.high);
}

String text(std::optional<double> const & number, int digits) {
    return number ? formatted("%.*f", digits, *number) : "-";
}

String bytesText(double bytes) {
    return bytes < 1e4   ? formatted("%.0f B", bytes)
           : bytes < 1e7 ? formatted("%.1f kB", bytes / 1e3)
                         : formatted("%.1f MB", bytes / 1e6);
}

String timeText(Spread const & ns) {
    double const unit = ns.median < 1e6 ? 1e3 : 1e6;
    return formatted("%.1f %s (%.1f..%.1f)", ns.median / unit, unit < 1e6 ? "us" : "ms",
                     ns.low / unit, ns.high / unit);
}

} // namespace Qcf::Bench
