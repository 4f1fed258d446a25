// Words the command line as a manual page.
#include "host/command_line/manual_page.h"

#include "host/command_line/help.h"

namespace host {
namespace {

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

std::string bold(const std::string& text) {
  return "\\fB" + plain(text) + "\\fR";
}

std::string italic(const std::string& text) {
  return text.empty() ? "" : " \\fI" + plain(text) + "\\fR";
}

std::string paragraphOf(const Option& option) {
  const std::string words = wordsOf(option);
  const size_t nameLength = words.size() - (option.valueName.empty() ? 0 : option.valueName.size() + 1);
  return ".TP\n" + bold(words.substr(0, nameLength)) + italic(option.valueName) + "\n" + plain(helpOf(option)) + "\n";
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
  std::string text = ".TH DMU\\-HOST 1\n.SH NAME\ndmu\\-host \\- load a storage plugin and show what it answers\n";
  text += ".SH SYNOPSIS\n" + bold("dmu-host") + " [" + "\\fIOPTION\\fR...] \\fICOMMAND\\fR [\\fIARGUMENT\\fR...]\n";
  text += ".SH DESCRIPTION\n" + plain(kPurpose) + "\n";
  text += ".SH OPTIONS\nThese may stand before or after the command.\n" + paragraphsOf(options);
  text += ".SH COMMANDS\n";
  for (const auto& command : commands) {
    text += ".SS " + plain(command->name()) + "\n" + plain(command->summary()) + ".\n" + examplesOf(*command) +
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
