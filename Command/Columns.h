#pragma once

#include "Platform/Framework/Types.h"

#include <vector>

/// Rows of cells as lines of text, each column as wide as its widest cell, two blanks between. What
/// could act on a terminal is escaped. Blanks at the ends of lines are left out.
String columnsText(std::vector<std::vector<String>> const & rows);
