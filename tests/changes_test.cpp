// What a watched table marks: what changed, and nothing else.
#include "host/waiting/changes.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>

namespace {

using host::Terminal;
using host::withChangesMarked;
using Lines = std::vector<std::string>;

Terminal coloured() {
  Terminal terminal;
  terminal.colour = true;
  return terminal;
}

/// Marks as a reader sees them: [what changed].
Lines marks(const Lines& before, const Lines& now) {
  Lines lines = withChangesMarked(before, now, coloured());
  for (std::string& line : lines) {
    for (const auto& [from, to] : {std::pair("\033[7m", "["), std::pair("\033[27m", "]")}) {
      for (size_t place = line.find(from); place != std::string::npos; place = line.find(from)) {
        line.replace(place, std::string(from).size(), to);
      }
    }
  }
  return lines;
}

TEST(Changes, AreMarkedCellByCell) {
  const Lines before = {"DEVICE  PLACE   C   MARGIN", "one     1I:1:1  30  30", "two     1I:1:2  57  3 !"};
  EXPECT_EQ(marks(before, before), before);
  EXPECT_EQ(marks(before, {before[0], "one     1I:1:1  31  29", before[2]}),
            (Lines{before[0], "one     1I:1:1  [31]  [29]", before[2]}));
  // A row that comes, and one that goes.
  EXPECT_EQ(marks(before, {before[0], before[1], "new     1I:1:9  20  40", before[2]}),
            (Lines{before[0], before[1], "[new]     [1I:1:9]  [20]  [40]", before[2]}));
  EXPECT_EQ(marks(before, {before[0], before[2]}), (Lines{before[0], before[2]}));
  // Columns that became wider say the same.
  EXPECT_EQ(marks(before, {"DEVICE     PLACE   C   MARGIN", "one        1I:1:1  30  30", "two        1I:1:2  57  3 !"}),
            (Lines{"DEVICE     PLACE   C   MARGIN", "one        1I:1:1  30  30", "two        1I:1:2  57  3 !"}));
  // A row with other cells than the one before has all of them marked.
  EXPECT_EQ(marks(before, {before[0], "one     1I:1:1 (missing)  -", before[2]})[1],
            "[one]     [1I:1:1 (missing)]  [-]");
  // Two rows that changed at once are compared with those that stood in their places.
  EXPECT_EQ(marks(before, {before[0], "one     1I:1:1  31  30", "two     1I:1:2  58  3 !"}),
            (Lines{before[0], "one     1I:1:1  [31]  30", "two     1I:1:2  [58]  3 !"}));
  // A row between two that changed stays.
  EXPECT_EQ(marks({"a  1", "b  2", "c  3"}, {"a  9", "b  2", "c  8"}), (Lines{"a  [9]", "b  2", "c  [8]"}));
  EXPECT_EQ(marks({}, {"first"}), (Lines{"[first]"}));
}

TEST(Changes, HaveAnAsteriskWhereNothingMayBeColoured) {
  EXPECT_EQ(withChangesMarked({"a  1", "b  2"}, {"a  1", "b  3"}, Terminal{}), (Lines{"a  1", "b  3  *"}));
}

/// Random tables: without its marks every line is as it was, lines that stayed have none, and one that is new has one.
TEST(Changes, OfRandomTablesLeaveTheTextAsItIs) {
  std::mt19937 random(7);
  const auto below = [&](size_t end) { return std::uniform_int_distribution<size_t>(0, end - 1)(random); };
  const auto row = [&] {
    std::string text = "disk" + std::to_string(below(6));
    for (size_t cell = 0; cell < 1 + below(4); ++cell)
      text += "  " + std::to_string(below(5)) + (below(4) == 0 ? " !" : "");
    return text;
  };
  for (int round = 0; round < 2000; ++round) {
    Lines before(below(8));
    for (std::string& line : before) line = row();
    Lines now = before;
    for (size_t edit = 0; edit < below(4); ++edit) {
      const size_t place = below(now.size() + 1);
      const auto at = now.begin() + static_cast<std::ptrdiff_t>(place);
      if (place == now.size() || below(3) == 0) {
        now.insert(at, row());
      } else if (below(2) == 0) {
        now.erase(at);
      } else {
        *at = row();
      }
    }
    const Lines marked = withChangesMarked(before, now, coloured());
    const Lines readable = marks(before, now);
    ASSERT_EQ(marked.size(), now.size());
    for (size_t line = 0; line < now.size(); ++line) {
      std::string bare = readable[line];
      std::erase_if(bare, [](char character) { return character == '[' || character == ']'; });
      EXPECT_EQ(bare, now[line]);
      const bool isOld = std::find(before.begin(), before.end(), now[line]) != before.end();
      EXPECT_TRUE(isOld || marked[line] != now[line]) << now[line];
    }
    EXPECT_TRUE(now != before || marked == now);
  }
}

}  // namespace
