// Lays out the help.
#include "host/command_line/help.h"

#include <algorithm>

#include "host/output/terminal.h"
#include "host/output/text.h"

namespace host {
namespace {

constexpr size_t kNarrowest = 40;
constexpr size_t kWidest = 80;

/// A line of a table: the words in the first column and what they mean in the second one.
struct HelpRow {
  std::string heading;
  std::string words;
  std::string meaning;
};

class Page {
 public:
  explicit Page(size_t columns) : columns_(std::clamp(columns, kNarrowest, kWidest)) {}

  void paragraph(const std::string& text) {
    beginBlock();
    for (const std::string& line : wrapped(text, columns_)) text_ += line + "\n";
  }

  void usage(const std::vector<std::string>& lines) {
    beginBlock();
    for (const std::string& line : lines) text_ += (&line == &lines.front() ? "Usage: " : "       ") + line + "\n";
  }

  void table(const std::vector<HelpRow>& rows) {
    size_t width = 0;
    for (const HelpRow& row : rows) width = std::max(width, kIndent + row.words.size() + kIndent);
    std::string heading;
    for (const HelpRow& row : rows) {
      if (row.heading != heading) {
        beginBlock();
        text_ += row.heading + ":\n";
        heading = row.heading;
      }
      std::string words = std::string(kIndent, ' ') + row.words;
      for (const std::string& line : wrapped(row.meaning, columns_ - width)) {
        text_.append(words).append(width - words.size(), ' ').append(line) += '\n';
        words.clear();
      }
    }
  }

  void examples(const std::vector<Example>& examples) {
    beginBlock();
    text_ += "Examples:\n";
    for (const Example& example : examples) text_ += "  " + example.purpose + "\n    " + example.line + "\n";
  }

  [[nodiscard]] const std::string& text() const { return text_; }

 private:
  static constexpr size_t kIndent = 2;

  void beginBlock() { text_ += text_.empty() ? "" : "\n"; }

  size_t columns_;
  std::string text_;
};

void addRows(std::vector<HelpRow>& rows, const std::vector<Option>& options, bool areArguments) {
  for (const Option& option : options) {
    if (option.isArgument() != areArguments) continue;
    const std::string heading = areArguments ? "Arguments" : option.group.empty() ? "Options" : option.group;
    rows.push_back({heading, wordsOf(option), helpOf(option)});
  }
}

Page emptyPage() {
  return Page(Terminal::ofThisProcess().columns);
}

}  // namespace

std::string usageOf(Command& command) {
  const std::vector<Option> options = command.options();
  std::string text = "dmu-host " + command.name() + " [OPTION...]";
  for (const Option& option : options) {
    if (!option.isArgument()) continue;
    const auto other = std::find_if(options.begin(), options.end(),
                                    [&](const Option& candidate) { return candidate.insteadOf == option.name; });
    const bool isNeeded = option.isNeeded || std::holds_alternative<Word>(option.value);
    if (other != options.end()) {
      text += " " + wordsOf(option) + "|" + other->name;
    } else {
      text += isNeeded ? " " + wordsOf(option) : " [" + wordsOf(option) + "]";
    }
  }
  return text;
}

std::string programHelp(const std::vector<Option>& options, const std::vector<std::unique_ptr<Command>>& commands) {
  Page page = emptyPage();
  page.paragraph(std::string("dmu-host - ") + kPurpose);
  page.paragraph(kExplanation);
  page.usage({"dmu-host [OPTION...] COMMAND [ARGUMENT...]", "dmu-host help COMMAND"});
  std::vector<HelpRow> rows;
  for (const auto& command : commands) {
    rows.push_back({command->description().group, command->name(), command->description().summary});
  }
  addRows(rows, options, false);
  page.table(rows);
  page.examples(kFirstExamples);
  page.paragraph("Exit status: 0 done, 1 refused or failed, 2 wrong usage.");
  return page.text();
}

std::string columnHelp(const Command& command) {
  Page page = emptyPage();
  std::vector<HelpRow> rows;
  for (const auto& [name, help] : command.columns()) rows.push_back({"Columns", name, help});
  page.table(rows);
  return page.text();
}

std::string commandHelp(const std::vector<Option>& options, Command& command) {
  const Description& description = command.description();
  Page page = emptyPage();
  page.paragraph(description.summary + ".");
  page.usage({usageOf(command)});
  std::vector<HelpRow> rows;
  addRows(rows, command.options(), true);
  addRows(rows, command.options(), false);
  for (const auto& [name, help] : command.columns()) rows.push_back({"Columns", name, help});
  page.table(rows);
  page.examples(description.examples);
  page.paragraph(description.onRealHost);
  std::vector<std::string> names;
  for (const Option& option : options) names.push_back(option.name);
  page.paragraph("Every command also takes " + joined(names, ", ") + ": see \"dmu-host --help\".");
  return page.text();
}

}  // namespace host
