// Lays out tables: each column is as wide as its widest cell.
#include "host/output/text_table.h"

#include <algorithm>

#include "host/output/text.h"

namespace host {
namespace {

constexpr size_t kGap = 2;  // blanks between columns

size_t widthOf(const ShownColumn& column, bool hidesLegend) {
  size_t width = hidesLegend ? 0 : textWidth(column.name);
  for (const std::string& cell : column.cells) width = std::max(width, textWidth(cell));
  return width;
}

size_t widthOf(const std::vector<ShownColumn>& columns, bool hidesLegend) {
  size_t width = 0;
  for (const ShownColumn& column : columns) width += (width == 0 ? 0 : kGap) + widthOf(column, hidesLegend);
  return width;
}

/// Takes columns out until the rest fits, or no more may go.
/// @return their names
std::vector<std::string> leaveOut(std::vector<ShownColumn>& columns, bool hidesLegend, size_t room) {
  std::vector<std::string> names;
  while (widthOf(columns, hidesLegend) > room) {
    const auto least = std::max_element(columns.begin(), columns.end(),
                                        [](const auto& one, const auto& other) { return one.rank < other.rank; });
    if (least == columns.end() || least->rank == 0) break;
    names.push_back(least->name);
    columns.erase(least);
  }
  return names;
}

std::string line(const std::vector<std::string>& cells, const std::vector<size_t>& widths) {
  std::string text;
  for (size_t column = 0; column < cells.size(); ++column) {
    text += cells[column];
    if (column + 1 < cells.size()) text += std::string(widths[column] - textWidth(cells[column]) + kGap, ' ');
  }
  return text.substr(0, text.find_last_not_of(' ') + 1);
}

}  // namespace

std::string tableOf(std::vector<ShownColumn> columns, bool mayLeaveOut, bool hidesLegend, const Terminal& terminal) {
  std::vector<std::string> leftOut;
  if (mayLeaveOut && terminal.isTerminal) leftOut = leaveOut(columns, hidesLegend, terminal.columns);
  std::vector<size_t> widths;
  std::vector<std::string> names;
  for (const ShownColumn& column : columns) {
    widths.push_back(widthOf(column, hidesLegend));
    names.push_back(column.name);
  }
  std::string text = hidesLegend ? "" : terminal.bold(line(names, widths)) + "\n";
  for (size_t row = 0; !columns.empty() && row < columns.front().cells.size(); ++row) {
    std::vector<std::string> cells;
    for (const ShownColumn& column : columns) cells.push_back(column.cells[row]);
    text += line(cells, widths) + "\n";
  }
  if (!leftOut.empty()) text += "(no room for " + joined(leftOut) + "; see --columns)\n";
  return text;
}

std::string TextTable::text(const Terminal& terminal) const {
  std::vector<ShownColumn> columns;
  for (const std::string& name : lines_.front()) columns.push_back({name, {}, 0});
  for (size_t row = 1; row < lines_.size(); ++row) {
    for (size_t column = 0; column < columns.size(); ++column) columns[column].cells.push_back(lines_[row][column]);
  }
  return tableOf(std::move(columns), false, false, terminal);
}

}  // namespace host
