#include "Watch/DecidedBy.h"

#include "Platform/Render/Utf8.h"

#include <algorithm>
#include <cstdio>

namespace Qcf::Watch {

String percentText(U64 part, U64 all) {
    char text[16];
    F64 const share = all == 0 ? 0 : 100.0 * static_cast<F64>(part) / static_cast<F64>(all);
    std::snprintf(text, sizeof text, "%.1f %%", share);
    return text;
}

String rightAligned(String text, std::size_t width) {
    text.insert(0, width - std::min(width, text.size()), ' ');
    return text;
}

String decidedByText(std::vector<DecidedVerdicts> statements, U64 atEnd, U64 routes) {
    constexpr std::size_t mostStatements = 10;
    // Longer lines would not stand in a terminal.
    constexpr std::size_t longestLine = 100;
    constexpr std::size_t shareWidth = 10;
    std::ranges::stable_sort(statements, std::greater(), &DecidedVerdicts::verdicts);
    String text = "decided by\n";
    for (std::size_t i = 0; i < std::min(mostStatements, statements.size()); ++i) {
        DecidedVerdicts const & statement = statements[i];
        text += rightAligned(percentText(statement.verdicts, routes), shareWidth) + "  " +
                visibleText(statement.place) + "  " + oneLine(statement.line, longestLine) + '\n';
    }
    if (statements.size() > mostStatements) {
        text += String(shareWidth + 2, ' ') + "and " +
                std::to_string(statements.size() - mostStatements) + " more\n";
    }
    if (atEnd > 0) {
        text += rightAligned(percentText(atEnd, routes), shareWidth) + "  the function's end\n";
    }
    return text;
}

} // namespace Qcf::Watch
