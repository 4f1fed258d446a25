// Words the command line as a manual page.
#include "host/command_line/manual_page.h"

#include "host/command_line/help.h"
#include "host/interception/trace_flag.h"
#include "host/output/text.h"

namespace host {
namespace {

constexpr size_t kLineLength = 80;  // what mandoc wants of a source

/// A word and what is to be said of it.
struct Entry {
  const char* word;
  const char* text;
};

constexpr const char* kAboutDevices =
    "A DEVICE names a disk of the host in one of four ways, whole and in any case. A name that fits no disk, or "
    "several, "
    "is refused, and what could have been meant is listed.";
constexpr Entry kDevices[] = {
    {"NAME", "Its name below /dev/disks, with or without that path, as in naa.6a1b2c0000000201."},
    {"HBA:CHANNEL:TARGET:LUN", "The address under which the host sees it, as in vmhba2:1:1:0."},
    {"serial:TEXT", "The serial number that it answers, as in serial:S7P3X0Q8. The word before it can be left out."},
    {"bay:[HBA:]PORT:BOX:BAY",
     "Where it sits: the controller's connector, the box behind that, and the bay, as in bay:1I:1:8. A drive that "
     "belongs to a volume is no disk of the host; it is refused with the volume's name."},
};

constexpr const char* kAboutFiles =
    "Files are read up to 32 MiB. A mistake in one is refused with the file, the place in it and the reason.";
constexpr Entry kFiles[] = {
    {"the inventory (--inventory)",
     "The disks of a host, in JSON, as dmu-host inventory writes it. docs/json.md describes it."},
    {"the topology (--topology)",
     "The simulated host, in JSON: its controllers, drives, volumes, and what is to go wrong. dmu-topology(5) "
     "describes it."},
    {"the recording (--record, --replay)",
     "What a run asked its host, and what that answered, in lines of JSON. It holds names and serial numbers. "
     "docs/recording.md describes it."},
    {"the state (--state)",
     "What the simulated hardware keeps from one run to the next: what blinks and which write caches are on. It is "
     "made when it is not there, belongs to one topology, and is locked by FILE.lock beside it."},
    {kTraceFile, "The plugin's trace, which is on while this file exists (dmu-host trace)."},
};

constexpr Entry kEnvironment[] = {
    {"DMU_TOPOLOGY", "The topology of the simulated host, unless --topology names one."},
    {"LD_LIBRARY_PATH", "Where the loader looks for the system's management library, libvmkmgmt.so."},
    {"LC_ALL, LC_CTYPE, LANG", "Whether text in UTF-8 is shown as it is, and pictures are drawn with it."},
    {"NO_COLOR", "When it is set and not empty, nothing is coloured or bold."},
    {"TERM", "Where it is not set or dumb, nothing is coloured or shown in the place of something else."},
    {"TZ", "The time zone of the times that are shown."},
};

constexpr Entry kExitStatus[] = {
    {"0", "Done."},
    {"1", "Refused, or an operation failed, if only on one of the disks; of check: not every rule passes."},
    {"2", "Wrong usage. Nothing was done."},
};

/// Text that means nothing to the formatter, except at the beginning of a line.
std::string escaped(const std::string& text) {
  std::string safe;
  for (const char character : text) {
    if (character == '\\') {
      safe += "\\e";
    } else if (character == '-') {
      safe += "\\-";
    } else {
      safe += character;
    }
  }
  return safe;
}

std::string filled(const std::string& text) {
  std::string lines;
  for (const std::string& line : wrapped(escaped(text), kLineLength)) {
    const bool looksLikeRequest = line.starts_with('.') || line.starts_with('\'');
    lines += (looksLikeRequest ? "\\&" : "") + line + "\n";
  }
  return lines;
}

std::string bold(const std::string& text) {
  return "\\fB" + escaped(text) + "\\fR";
}

std::string paragraph(const std::string& boldWords, const std::string& text) {
  return ".TP\n" + bold(boldWords) + "\n" + filled(text);
}

template <size_t count>
std::string paragraphs(const Entry (&entries)[count]) {
  std::string text;
  for (const Entry& entry : entries) text += paragraph(entry.word, entry.text);
  return text;
}

std::string paragraphs(const std::vector<Option>& options) {
  std::string text;
  for (const Option& option : options) text += paragraph(wordsOf(option), helpOf(option) + ".");
  return text;
}

std::string paragraphs(const std::vector<Example>& examples) {
  std::string text;
  for (const Example& example : examples) text += ".TP\n" + filled(example.purpose) + bold(example.line) + "\n";
  return text;
}

std::string optionsOf(const std::vector<Option>& options) {
  std::string text;
  std::string group;
  for (const Option& option : options) {
    if (option.group != group) text += ".SS " + escaped(option.group) + "\n";
    group = option.group;
    text += paragraphs(std::vector<Option>{option});
  }
  return text;
}

std::string commandsOf(const std::vector<std::unique_ptr<Command>>& commands) {
  std::string text;
  std::string group;
  for (const auto& command : commands) {
    const Description& description = command->description();
    if (description.group != group) text += ".SS " + escaped(description.group) + "\n";
    group = description.group;
    text += paragraph(usageOf(*command), description.summary + ". " + description.onRealHost) + ".RS\n" +
            paragraphs(command->options()) + paragraphs(description.examples) + ".RE\n";
  }
  return text;
}

}  // namespace

std::string manualPage(const std::vector<Option>& options, const std::vector<std::unique_ptr<Command>>& commands) {
  // No name is divided at the end of a line, and none stretches its line: what stands before .TH is how later
  // formatters want to be told, what stands behind it is for older ones.
  std::string text =
      ".nr HY 0\n.ds AD l\n.TH DMU\\-HOST 1 " DMU_VERSION_DATE " \"dmu\\-host " DMU_VERSION "\"\n.ad l\n";
  text += ".SH NAME\ndmu\\-host \\- " + filled(kPurpose);
  text += ".SH SYNOPSIS\n" + bold("dmu-host") + " [\\fIOPTION\\fR...] \\fICOMMAND\\fR [\\fIARGUMENT\\fR...]\n.br\n" +
          bold("dmu-host help") + " [\\fICOMMAND\\fR]\n";
  text += ".SH DESCRIPTION\n" + filled(kExplanation);
  text += ".SH COMMANDS\n" + commandsOf(commands);
  text += ".SH OPTIONS\nThese may stand before or behind the command.\n" + optionsOf(options);
  text += ".SH DEVICES\n" + filled(kAboutDevices) + paragraphs(kDevices);
  text += ".SH FILES\n" + filled(kAboutFiles) + paragraphs(kFiles);
  text += ".SH ENVIRONMENT\n" + paragraphs(kEnvironment);
  text += ".SH EXIT STATUS\n" + paragraphs(kExitStatus);
  text += ".SH EXAMPLES\n" + paragraphs(kFirstExamples);
  return text +
         ".SH SEE ALSO\n.BR dmu\\-topology (5);\n"
         "docs/json.md, docs/recording.md and docs/on\\-a\\-real\\-host.md,\n"
         "installed in /usr/share/doc/dmu\\-veltrane\\-plugin\n";
}

}  // namespace host
