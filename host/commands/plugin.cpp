// dmu-host plugin: what a plugin is, by its file and by what it says once loaded, and why it does not load here.

#include "host/commands/commands.h"
#include "host/loading/elf_file.h"
#include "host/loading/isolated_call.h"
#include "host/loading/library_versions.h"
#include "host/loading/string_layout.h"
#include "host/output/json_values.h"
#include "host/output/text.h"
#include "json/input.h"

namespace host {
namespace {

constexpr std::chrono::seconds kLoadingLimit{20};

/// What the file tells without being loaded.
struct FileFacts {
  std::optional<ElfIdentity> identity;  ///< nothing: no ELF file
  std::vector<std::string> needed;
  std::optional<StringLayout> layout;
  std::vector<NewestVersion> versions;
};

/// What the loaded plugin tells.
struct LoadedFacts {
  std::string refusal;  ///< why it does not load; empty when it does
  Json name, version;
  uintptr_t operationCount = 0;
  std::vector<std::string> operations;
};

FileFacts factsOf(const std::string& file) {
  std::string error;
  const auto content = input::readFile(file, error);
  if (!content) throw Refusal("plugin " + file + ": " + error);
  return {identifyElf(*content), neededLibraries(*content), stringLayoutOf(undefinedSymbols(*content)),
          newestVersions(*content)};
}

/// Runs in a process of its own: what a plugin does when it is loaded and first called is not known yet.
std::string describeLoaded(const std::string& file) {
  Json facts = {{"refusal", ""}};
  try {
    const LoadedPlugin plugin(file);
    const DmuPluginDescriptor& descriptor = plugin.descriptor();
    facts["name"] = orNull(descriptor.name);
    facts["version"] = orNull(descriptor.version);
    facts["operationCount"] = descriptor.operationCount;
  } catch (const Refusal& refusal) {
    facts["refusal"] = refusal.what();
  }
  return facts.dump(-1, ' ', false, Json::error_handler_t::replace);
}

/// @param whyNoLibrary  why it cannot be loaded here whatever it is; empty: it can
LoadedFacts load(const std::string& file, const std::string& whyNoLibrary) {
  LoadedFacts facts;
  if (!whyNoLibrary.empty()) {
    facts.refusal = "plugin " + file + ": " + whyNoLibrary;
    return facts;
  }
  IsolatedCall call([&] { return describeLoaded(file); }, kLoadingLimit);
  const IsolatedOutcome outcome = call.wait();
  if (!outcome.answer) {
    facts.refusal = "plugin " + file + ": while it was loaded and asked for its descriptor, " + outcome.ending;
    return facts;
  }
  const Json told = Json::parse(*outcome.answer);
  facts.refusal = told["refusal"];
  if (!facts.refusal.empty()) return facts;
  facts.name = told["name"];
  facts.version = told["version"];
  facts.operationCount = told["operationCount"];
  // A plugin that lacks one of these is refused when it is loaded.
  facts.operations = {"device information", "locator LED", "write cache on",
                      "write cache off",    "temperature", "location"};
  return facts;
}

std::string whyNoLibrary(Session& session) {
  try {
    (void)session.library();
    return "";
  } catch (const Refusal& refusal) {
    return refusal.what();
  }
}

std::string listOrUnknown(const std::vector<std::string>& words) {
  return words.empty() ? kUnknown : printable(joined(words));
}

std::string textOrUnknown(const Json& text) {
  return text.is_string() ? printable(text.get<std::string>()) : kUnknown;
}

std::string formatText(const std::optional<ElfIdentity>& identity) {
  if (!identity) return "no ELF file";
  return std::to_string(identity->bits) + "-bit " + identity->machine + (identity->isShared ? " library" : " program");
}

std::string layoutText(const std::optional<StringLayout>& layout) {
  return std::string(layout ? nameOf(*layout) : "not known") + " (this host: " + nameOf(ownStringLayout()) + ")";
}

std::string versionsText(const std::vector<NewestVersion>& versions) {
  std::vector<std::string> texts;
  for (const NewestVersion& version : versions) {
    texts.push_back(printable(version.name) + (version.isHere.value_or(true) ? "" : " (not on this host)"));
  }
  return texts.empty() ? kUnknown : joined(texts);
}

std::string paragraphOf(const std::string& file, const FileFacts& facts, const LoadedFacts& loaded, Session& session) {
  std::string text = session.terminal().bold(printable(file)) + "\n";
  const auto add = [&](const std::string& name, const std::string& value) {
    text += "  " + name + std::string(16 - name.size(), ' ') + value + "\n";
  };
  add("name", textOrUnknown(loaded.name));
  add("version", textOrUnknown(loaded.version));
  add("operations", listOrUnknown(loaded.operations));
  add("format", formatText(facts.identity));
  add("string layout", layoutText(facts.layout));
  add("needs", listOrUnknown(facts.needed));
  add("needs at least", versionsText(facts.versions));
  add("library", printable(session.libraryText().value_or(kUnknown)));
  add("loads here", loaded.refusal.empty() ? "yes" : "no");
  return text;
}

Json toJson(const std::vector<NewestVersion>& versions) {
  Json list = Json::array();
  for (const NewestVersion& version : versions) {
    list.push_back({{"name", version.name}, {"library", version.library}, {"here", orNull(version.isHere)}});
  }
  return list;
}

Json toJson(const std::string& file, const FileFacts& facts, const LoadedFacts& loaded) {
  const bool loads = loaded.refusal.empty();
  return {{"file", file},
          {"name", loaded.name},
          {"version", loaded.version},
          {"operationCount", loads ? Json(loaded.operationCount) : Json(nullptr)},
          {"operations", loaded.operations},
          {"bits", facts.identity ? Json(facts.identity->bits) : Json(nullptr)},
          {"machine", facts.identity ? Json(facts.identity->machine) : Json(nullptr)},
          {"stringLayout", facts.layout ? Json(nameOf(*facts.layout)) : Json(nullptr)},
          {"hostStringLayout", nameOf(ownStringLayout())},
          {"needed", facts.needed},
          {"newestVersions", toJson(facts.versions)},
          {"loads", loads},
          {"reason", loads ? Json(nullptr) : Json(loaded.refusal)}};
}

class PluginCommand final : public Command {
 public:
  PluginCommand()
      : Command({.name = "plugin",
                 .group = kForPluginAuthors,
                 .summary = "Show what a plugin is, and whether it loads here",
                 .onRealHost = kWorksThere,
                 .examples = {{"The plugin beside this program", "dmu-host plugin"},
                              {"Another one", "dmu-host plugin ./my-plugin.so"}}}) {}

  std::vector<Option> options() override {
    return {{"FILE", "", "The plugin (default: that of --plugin)", File{&file_}}};
  }

  [[nodiscard]] Json emptyResult() const override { return {{"pluginFile", nullptr}}; }

  Outcome run(Session& session) override {
    const std::string file = file_.empty() ? session.pluginFile() : file_;
    const FileFacts facts = factsOf(file);
    const LoadedFacts loaded = load(file, whyNoLibrary(session));
    if (!loaded.refusal.empty()) session.report().refused(Refusal(loaded.refusal));
    return {paragraphOf(file, facts, loaded, session), {{"pluginFile", toJson(file, facts, loaded)}}};
  }

 private:
  std::string file_;
};

}  // namespace

std::unique_ptr<Command> makePluginCommand() {
  return std::make_unique<PluginCommand>();
}

}  // namespace host
