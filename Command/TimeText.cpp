#include "Command/TimeText.h"

#include <algorithm>
#include <ctime>

// In UTC, since writer, server and whoever looks may stand in different zones. The form is that of
// RFC 3339. A number from a server may be too large to be any time.
String timeText(U64 seconds) {
    constexpr U64 endOfYear9999 = 253402300799;
    auto const time = static_cast<std::time_t>(std::min(seconds, endOfYear9999));
    std::tm parts{};
    ::gmtime_r(&time, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
    return text;
}
