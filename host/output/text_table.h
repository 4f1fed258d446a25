// A table of texts in aligned columns with a header line.
#pragma once

#include <string>
#include <vector>

#include "host/output/terminal.h"

namespace host {

class TextTable {
 public:
  explicit TextTable(std::vector<std::string> header) : header_(std::move(header)) {}

  /// Adds a row; one cell a column, each printable ASCII.
  void addRow(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }

  /// The whole table, each line ended by a line feed and without trailing blanks.
  [[nodiscard]] std::string text(const Terminal& terminal) const;

 private:
  std::vector<std::string> header_;
  std::vector<std::vector<std::string>> rows_;
};

}  // namespace host
