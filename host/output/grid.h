// A picture of cells side by side in rows, with lines around them.
#pragma once

#include <string>
#include <vector>

#include "host/output/terminal.h"

namespace host {

/// One cell: lines of printable ASCII.
struct GridCell {
  std::vector<std::string> lines;
  bool isHighlighted = false;
};

/// Draws the cells in rows that fit the terminal's width, with box drawing characters where the terminal knows them.
/// @return whole lines; nothing when there are no cells
[[nodiscard]] std::string drawGrid(const std::vector<GridCell>& cells, const Terminal& terminal);

}  // namespace host
