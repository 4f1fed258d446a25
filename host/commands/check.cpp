// dmu-host check: whether a plugin keeps the boundary's contract, rule by rule.
#include "host/check/check.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "host/commands/commands.h"
#include "host/output/output.h"
#include "host/output/text.h"
#include "host/waiting/progress.h"

namespace host {
namespace {

using check::Result;
using check::Verdict;

const char* wordOf(Verdict verdict) {
  if (verdict == Verdict::pass) return "pass";
  return verdict == Verdict::fail ? "fail" : "skip";
}

size_t count(const std::vector<Result>& results, Verdict verdict) {
  return static_cast<size_t>(std::count_if(results.begin(), results.end(),
                                           [verdict](const Result& result) { return result.verdict == verdict; }));
}

std::string summaryOf(const std::vector<Result>& results) {
  return counted(results.size(), "rule") + ": " + std::to_string(count(results, Verdict::pass)) + " pass, " +
         std::to_string(count(results, Verdict::fail)) + " fail, " + std::to_string(count(results, Verdict::skip)) +
         " skipped";
}

/// @param width  of the column of names
std::string lineOf(const Result& result, size_t width) {
  const std::string name = result.rule.name;
  const std::string what = result.verdict == Verdict::pass ? result.rule.promise : printable(result.text);
  return std::string(wordOf(result.verdict)) + "  " + name + std::string(width - name.size() + 2, ' ') + what + "\n";
}

size_t widthOf(const std::vector<check::Rule>& rules) {
  size_t width = 0;
  for (const check::Rule& rule : rules) width = std::max(width, std::string(rule.name).size());
  return width;
}

Json toJson(const std::vector<Result>& results) {
  Json rules = Json::array();
  for (const Result& result : results) {
    const bool passes = result.verdict == Verdict::pass;
    rules.push_back({{"name", result.rule.name},
                     {"promise", result.rule.promise},
                     {"verdict", wordOf(result.verdict)},
                     {"reason", passes ? Json(nullptr) : Json(result.text)}});
  }
  return rules;
}

/// All rules and groups.
std::vector<std::string> namesOfRules(const GlobalOptions&) {
  std::vector<std::string> names;
  for (const check::Rule& rule : check::allRules()) {
    const std::string name = rule.name;
    const std::string group = name.substr(0, name.find('.'));
    if (std::find(names.begin(), names.end(), group) == names.end()) names.push_back(group);
    names.push_back(name);
  }
  return names;
}

class CheckCommand final : public Command {
 public:
  CheckCommand()
      : Command(
            {.name = "check",
             .group = kForPluginAuthors,
             .summary = "Check whether a plugin keeps the boundary's contract, rule by rule",
             .onRealHost = "Works on a real host with --read-only.",
             .examples = {{"All rules", "dmu-host check"},
                          {"Some rules, of another plugin", "dmu-host check --plugin ./my-plugin.so lock led.seconds"},
                          {"On a real host", "dmu-host check --read-only"}}}) {}

  std::vector<Option> options() override {
    return {{"RULE", "", "Rules, or groups of rules by the word before the point (default: all)",
             Texts{&names_, namesOfRules}},
            {"--read-only", "",
             "Switch nothing; needed on a real host, where rules that need the simulated one are skipped",
             Flag{&readOnly_}}};
  }

  [[nodiscard]] Json emptyResult() const override { return {{"readOnly", readOnly_}, {"rules", Json::array()}}; }

  Outcome run(Session& session) override {
    if (session.isReplay()) {
      throw Refusal("check tries each rule in a process of its own, and a replay cannot follow it there");
    }
    if (session.commands().shows()) {
      throw Refusal("check tries each rule in a process of its own, and --show-commands does not see what those send");
    }
    if (session.hasStateFile())
      throw Refusal("check tries rules on copies of the model, and no --state is kept of those");
    const std::vector<check::Rule> rules = check::rulesNamed(names_);
    check::Setup setup;
    setup.pluginFile = session.pluginFile();
    setup.simulatedHost =
        readOnly_ ? session.simulatedHostIfAny() : &session.simulatedHost("check without --read-only");
    setup.disks = session.disks();
    session.unloadPlugin();  // it may have been asked for the disks, and each rule loads it anew
    setup.readOnly = readOnly_;

    session.commands().stepAside();  // the rules watch for themselves, and one counts the memory that is kept
    Activity activity(rules.size(), "rules");
    const size_t width = widthOf(rules);
    const std::vector<Result> results = check::run(setup, rules, [&](const Result& result) {
      activity.advance();
      if (session.writesDocument()) return;
      print(lineOf(result, width));
      flushOutput();
    });
    if (count(results, Verdict::pass) != results.size()) {
      session.report().refused(
          Refusal("plugin " + setup.pluginFile + ": not every rule passes: " + summaryOf(results)));
    }
    return {summaryOf(results) + "\n", {{"readOnly", readOnly_}, {"rules", toJson(results)}}};
  }

 private:
  std::vector<std::string> names_;
  bool readOnly_ = false;
};

}  // namespace

std::unique_ptr<Command> makeCheckCommand() {
  return std::make_unique<CheckCommand>();
}

}  // namespace host
