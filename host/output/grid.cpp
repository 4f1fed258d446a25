// Draws cells with lines around them.
#include "host/output/grid.h"

#include <algorithm>

#include "host/output/text.h"

namespace host {
namespace {

/// The characters of a grid's lines.
struct Strokes {
  const char* horizontal;
  const char* vertical;
  const char* top[3];  // left, middle, right
  const char* between[3];
  const char* bottom[3];
};

constexpr Strokes kAscii = {"-", "|", {"+", "+", "+"}, {"+", "+", "+"}, {"+", "+", "+"}};
constexpr Strokes kUtf8 = {"─", "│", {"┌", "┬", "┐"}, {"├", "┼", "┤"}, {"└", "┴", "┘"}};

std::string rule(const Strokes& strokes, const char* const (&corners)[3], size_t columns, size_t width) {
  std::string text = corners[0];
  for (size_t column = 0; column < columns; ++column) {
    for (size_t place = 0; place < width + 2; ++place) text += strokes.horizontal;
    text += column + 1 < columns ? corners[1] : corners[2];
  }
  return text + "\n";
}

std::string padded(const GridCell* cell, size_t line, size_t width, const Terminal& terminal) {
  std::string text = cell != nullptr && line < cell->lines.size() ? cell->lines[line] : "";
  text += std::string(width - textWidth(text), ' ');
  return cell != nullptr && cell->isHighlighted ? terminal.highlighted(text) : text;
}

}  // namespace

std::string drawGrid(const std::vector<GridCell>& cells, const Terminal& terminal) {
  if (cells.empty()) return "";
  const Strokes& strokes = terminal.utf8 ? kUtf8 : kAscii;
  size_t width = 0;
  size_t height = 0;
  for (const GridCell& cell : cells) {
    height = std::max(height, cell.lines.size());
    for (const std::string& line : cell.lines) width = std::max(width, textWidth(line));
  }
  const size_t fitting = terminal.columns > 1 ? (terminal.columns - 1) / (width + 3) : 1;
  const size_t columns = std::clamp<size_t>(fitting, 1, cells.size());

  std::string text = rule(strokes, strokes.top, columns, width);
  for (size_t first = 0; first < cells.size(); first += columns) {
    if (first > 0) text += rule(strokes, strokes.between, columns, width);
    for (size_t line = 0; line < height; ++line) {
      text += strokes.vertical;
      for (size_t index = first; index < first + columns; ++index) {
        const GridCell* cell = index < cells.size() ? &cells[index] : nullptr;
        text += ' ' + padded(cell, line, width, terminal) + ' ' + strokes.vertical;
      }
      text += "\n";
    }
  }
  return text + rule(strokes, strokes.bottom, columns, width);
}

}  // namespace host
