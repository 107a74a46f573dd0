#include "Command/Columns.h"

#include "Platform/Render/Utf8.h"

#include <algorithm>

String columnsText(std::vector<std::vector<String>> const & rows) {
    std::vector<std::size_t> widths;
    for (auto const & row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], visibleText(row[i]).size());
        }
    }
    String text;
    for (auto const & row : rows) {
        String line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            String cell = visibleText(row[i]);
            cell.resize(widths[i] + 2, ' ');
            line += cell;
        }
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + '\n';
    }
    return text;
}
