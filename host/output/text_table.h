// A table of texts in aligned columns with a heading line.
#pragma once

#include <string>
#include <vector>

#include "host/output/terminal.h"

namespace host {

/// One column as it is to be shown.
struct ShownColumn {
  std::string name;
  std::vector<std::string> cells;  ///< one a row, printable ASCII
  int rank = 0;                    ///< where there is no room, those with the highest go first; 0 stays
};

/// The whole table, each line ended by a line feed and without trailing blanks.
///
/// @param mayLeaveOut  whether columns that the terminal has no room for are left out; the last line names them then
[[nodiscard]] std::string tableOf(std::vector<ShownColumn> columns, bool mayLeaveOut, bool hidesLegend,
                                  const Terminal& terminal);

/// A table that is always shown whole.
class TextTable {
 public:
  explicit TextTable(std::vector<std::string> heading) : lines_{std::move(heading)} {}

  /// Adds a row; one cell a column, each printable ASCII.
  void addRow(std::vector<std::string> cells) { lines_.push_back(std::move(cells)); }

  [[nodiscard]] std::string text(const Terminal& terminal) const;

 private:
  std::vector<std::vector<std::string>> lines_;  // the heading first
};

}  // namespace host
