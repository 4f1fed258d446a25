// Tables whose columns can be chosen: a command has a table of its columns, from which its output, its help and what a
// shell completes are made. A new column is one line there.
#pragma once

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "host/command_line/option.h"
#include "host/output/text.h"
#include "host/output/text_table.h"

namespace host {

/// When a column is shown that nobody asked for.
enum class Shown { always, whenKnown, whenAsked };

template <typename Row>
struct Column {
  std::string name;     ///< its word on the command line
  std::string heading;  ///< of the table
  std::string help;     ///< in a few words
  Shown shown = Shown::always;
  int rank = 0;  ///< of the columns that a terminal has no room for, those with the highest go first; 0 stays
  std::string (*cell)(const Row& row) = nullptr;  ///< printable ASCII; kUnknown for nothing
};

/// Answered with the columns of the command.
inline constexpr const char* kListColumns = "--list-columns";

/// What the user wants to see of a table.
struct ColumnChoice {
  std::vector<std::string> names;  ///< "+" first: beside the usual ones. Empty: the usual ones
  bool hidesLegend = false;

  [[nodiscard]] bool isGiven() const { return !names.empty() || hidesLegend; }

  /// --columns, --list-columns and --no-legend.
  [[nodiscard]] std::vector<Option> options(const std::vector<std::string>& columns);
};

template <typename Row>
[[nodiscard]] std::vector<std::string> namesOf(const std::vector<Column<Row>>& columns) {
  std::vector<std::string> names;
  for (const Column<Row>& column : columns) names.push_back(column.name);
  return names;
}

/// The columns by name, with what each shows.
template <typename Row>
[[nodiscard]] std::vector<std::pair<std::string, std::string>> helpOf(const std::vector<Column<Row>>& columns) {
  std::vector<std::pair<std::string, std::string>> help;
  for (const Column<Row>& column : columns) help.emplace_back(column.name, column.help);
  return help;
}

/// The whole table. Where nobody chose the columns and the terminal is too narrow, the least telling ones are left out,
/// which the last line says.
template <typename Row>
[[nodiscard]] std::string tableOf(const std::vector<Row>& rows, const std::vector<Column<Row>>& columns,
                                  const ColumnChoice& choice, const Terminal& terminal) {
  std::vector<ShownColumn> cells;
  const bool addsToUsual = !choice.names.empty() && choice.names.front() == "+";
  const auto shownOf = [&](const Column<Row>& column) {
    ShownColumn shown{column.heading, {}, column.rank};
    for (const Row& row : rows) shown.cells.push_back(column.cell(row));
    return shown;
  };
  if (choice.names.empty() || addsToUsual) {
    for (const Column<Row>& column : columns) {
      if (column.shown == Shown::whenAsked) continue;
      ShownColumn shown = shownOf(column);
      const bool isKnown =
          std::any_of(shown.cells.begin(), shown.cells.end(), [](const std::string& cell) { return cell != kUnknown; });
      if (column.shown == Shown::always || isKnown) cells.push_back(std::move(shown));
    }
  }
  for (const std::string& name : choice.names) {
    for (const Column<Row>& column : columns) {
      const bool isThere = std::any_of(cells.begin(), cells.end(),
                                       [&](const ShownColumn& shown) { return shown.name == column.heading; });
      if (column.name == name && !isThere) cells.push_back(shownOf(column));
    }
  }
  const bool mayLeaveOut = choice.names.empty();
  return tableOf(std::move(cells), mayLeaveOut, choice.hidesLegend, terminal);
}

}  // namespace host
