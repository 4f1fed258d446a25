// Words the command line as a manual page.
#include "host/command_line/manual_page.h"

#include <sstream>
#include <utility>

#include "host/command_line/help.h"

namespace host {
namespace {

constexpr size_t kLineLength = 80;  // what mandoc wants of a source

/// Text that means nothing to the formatter.
std::string plain(const std::string& text) {
  std::string escaped;
  for (const char character : text) {
    if (character == '\\') {
      escaped += "\\e";
    } else if (character == '-') {
      escaped += "\\-";
    } else {
      escaped += character;
    }
  }
  const bool looksLikeRequest = escaped.starts_with('.') || escaped.starts_with('\'');
  return (looksLikeRequest ? "\\&" : "") + escaped;
}

/// The text's words on lines of that length.
std::string filled(const std::string& text) {
  std::istringstream words(text);
  std::string lines;
  std::string line;
  for (std::string word; words >> word;) {
    word = plain(word);
    if (!line.empty() && line.size() + 1 + word.size() > kLineLength) lines += std::exchange(line, "") + "\n";
    line += (line.empty() ? "" : " ") + word;
  }
  return lines + line + "\n";
}

std::string bold(const std::string& text) {
  return "\\fB" + plain(text) + "\\fR";
}

std::string italic(const std::string& text) {
  return text.empty() ? "" : " \\fI" + plain(text) + "\\fR";
}

std::string paragraphOf(const Option& option) {
  const std::string words = wordsOf(option);
  const size_t nameLength = words.size() - (option.valueName.empty() ? 0 : option.valueName.size() + 1);
  return ".TP\n" + bold(words.substr(0, nameLength)) + italic(option.valueName) + "\n" + filled(helpOf(option));
}

std::string paragraphsOf(const std::vector<Option>& options) {
  std::string text;
  for (const Option& option : options) text += paragraphOf(option);
  return text;
}

std::string examplesOf(const Command& command) {
  std::string text = ".PP\n.nf\n.RS\n";
  for (const std::string& example : command.examples()) text += plain(example) + "\n";
  return text + ".RE\n.fi\n";
}

}  // namespace

std::string manualPage(const std::vector<Option>& options, const std::vector<std::unique_ptr<Command>>& commands) {
  // No name is divided at the end of a line, and none stretches its line: what stands before .TH is how later
  // formatters want to be told, what stands behind it is for older ones.
  std::string text =
      ".nr HY 0\n.ds AD l\n.TH DMU\\-HOST 1 " DMU_VERSION_DATE " \"dmu\\-host " DMU_VERSION "\"\n.ad l\n";
  text += ".SH NAME\ndmu\\-host \\- load a storage plugin and show what it answers\n";
  text += ".SH SYNOPSIS\n" + bold("dmu-host") + " [" + "\\fIOPTION\\fR...] \\fICOMMAND\\fR [\\fIARGUMENT\\fR...]\n";
  text += ".SH DESCRIPTION\n" + filled(kPurpose);
  text += ".SH OPTIONS\nThese may stand before or after the command.\n" + paragraphsOf(options);
  text += ".SH COMMANDS\n";
  for (const auto& command : commands) {
    text += ".SS " + plain(command->name()) + "\n" + filled(command->summary() + ".") + examplesOf(*command) +
            paragraphsOf(command->options());
  }
  return text +
         ".SH EXIT STATUS\n"
         ".TP\n.B 0\ndone\n"
         ".TP\n.B 1\nrefused, or an operation failed\n"
         ".TP\n.B 2\nwrong usage\n"
         ".SH ENVIRONMENT\n"
         ".TP\n.B DMU_TOPOLOGY\nthe simulated host's topology file, unless \\fB\\-\\-topology\\fR names one\n"
         ".TP\n.B NO_COLOR\nno colours, when it is set\n"
         ".SH SEE ALSO\n.BR dmu\\-topology (5)\n";
}

}  // namespace host
