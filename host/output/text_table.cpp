// Lays out a table: each column is as wide as its widest cell.
#include "host/output/text_table.h"

#include <algorithm>

namespace host {

static std::string line(const std::vector<std::string>& cells, const std::vector<size_t>& widths) {
  std::string text;
  for (size_t column = 0; column < cells.size(); ++column) {
    text += cells[column];
    if (column + 1 < cells.size()) text += std::string(widths[column] - cells[column].size() + 2, ' ');
  }
  return text.substr(0, text.find_last_not_of(' ') + 1);
}

std::string TextTable::text(const Terminal& terminal) const {
  std::vector<size_t> widths;
  for (size_t column = 0; column < header_.size(); ++column) {
    size_t width = header_[column].size();
    for (const auto& row : rows_) width = std::max(width, row[column].size());
    widths.push_back(width);
  }
  std::string text = terminal.bold(line(header_, widths)) + "\n";
  for (const auto& row : rows_) text += line(row, widths) + "\n";
  return text;
}

}  // namespace host
