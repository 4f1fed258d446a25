// Finds the lines that stayed, and compares the cells of those between them.
#include "host/waiting/changes.h"

#include <algorithm>

namespace host {
namespace {

/// A cell is what stands between gaps of two blanks; here with where it stands.
struct Cell {
  size_t begin = 0;
  std::string text;
};

std::vector<Cell> cellsOf(const std::string& line) {
  std::vector<Cell> cells;
  for (size_t begin = line.find_first_not_of(' '); begin != std::string::npos;) {
    const size_t end = std::min(line.find("  ", begin), line.size());
    cells.push_back({begin, line.substr(begin, end - begin)});
    begin = line.find_first_not_of(' ', end);
  }
  return cells;
}

/// Whether two lines say the same, in columns that may have become wider.
bool saySame(const std::vector<Cell>& one, const std::vector<Cell>& other) {
  return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                    [](const Cell& left, const Cell& right) { return left.text == right.text; });
}

using Cells = std::vector<Cell>;

/// The lengths of the longest common subsequences of the lines from each place on.
std::vector<std::vector<unsigned>> commonLengths(const std::vector<Cells>& before, const std::vector<Cells>& now) {
  std::vector<std::vector<unsigned>> length(before.size() + 1, std::vector<unsigned>(now.size() + 1));
  for (size_t old = before.size(); old-- > 0;) {
    for (size_t line = now.size(); line-- > 0;) {
      length[old][line] = saySame(before[old], now[line]) ? length[old + 1][line + 1] + 1
                                                          : std::max(length[old + 1][line], length[old][line + 1]);
    }
  }
  return length;
}

std::string marked(const std::string& line, const Cells& cells, const Cells* old, const Terminal& terminal) {
  if (!terminal.colour) return line + "  *";
  const bool isComparable = old != nullptr && old->size() == cells.size();
  std::string text;
  size_t place = 0;
  for (size_t index = 0; index < cells.size(); ++index) {
    const Cell& cell = cells[index];
    const bool differs = !isComparable || (*old)[index].text != cell.text;
    text += line.substr(place, cell.begin - place) + (differs ? "\033[7m" + cell.text + "\033[27m" : cell.text);
    place = cell.begin + cell.text.size();
  }
  return text + line.substr(place);
}

}  // namespace

std::vector<std::string> withChangesMarked(const std::vector<std::string>& before,
                                           const std::vector<std::string>& lines, const Terminal& terminal) {
  std::vector<Cells> old(before.size());
  std::vector<Cells> now(lines.size());
  std::transform(before.begin(), before.end(), old.begin(), cellsOf);
  std::transform(lines.begin(), lines.end(), now.begin(), cellsOf);
  const auto common = commonLengths(old, now);

  std::vector<std::string> text;
  std::vector<const Cells*> gone;  // old lines that stood where the next line stands
  size_t place = 0;
  size_t compared = 0;
  for (size_t line = 0; line < now.size(); ++line) {
    while (place < old.size() && common[place + 1][line] == common[place][line]) gone.push_back(&old[place++]);
    if (place < old.size() && saySame(old[place], now[line])) {
      text.push_back(lines[line]);
      gone.clear();
      compared = 0;
      ++place;
    } else {
      text.push_back(marked(lines[line], now[line], compared < gone.size() ? gone[compared] : nullptr, terminal));
      ++compared;
    }
  }
  return text;
}

}  // namespace host
