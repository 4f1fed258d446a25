// The options by which columns are chosen.
#include "host/output/columns.h"

namespace host {

std::vector<Option> ColumnChoice::options(const std::vector<std::string>& columns) {
  return {
      {.name = "--columns",
       .valueName = "COLUMN[,COLUMN...]",
       .help = "Show these columns in this order; with + before the first, beside the usual ones",
       .value = WordList{"column", &names, columns},
       .letter = "-o"},
      {kListColumns, "", "List the columns and exit", Question{}},
      {"--no-legend", "", "Leave out the heading line", Flag{&hidesLegend}},
  };
}

}  // namespace host
