// Starts the rules' processes and turns how they end into verdicts. Slow rules are started first: they mostly wait.
#include "host/check/check.h"

#include <algorithm>
#include <memory>

#include "host/loading/isolated_call.h"
#include "host/refusal.h"

namespace host::check {
namespace {

constexpr std::chrono::seconds kLimit{60};
constexpr std::chrono::seconds kLimitOnceOneHung{10};  // a plugin that hangs once hangs often

/// The first character of what a rule's process answers; the text follows.
constexpr char kPass = 'p';
constexpr char kFail = 'f';
constexpr char kSkip = 's';

/// Runs in the rule's own process.
std::string runRule(const Setup& setup, const Rule& rule) {
  // Never destroyed: threads that the rule does not wait for may use it until the process ends.
  auto* const trial = new Trial(setup);
  try {
    rule.run(*trial);
    return {kPass};
  } catch (const Failure& failure) {
    return kFail + failure.text;
  } catch (const Skipped& skipped) {
    return kSkip + skipped.reason;
  }
}

/// Why a rule is not run at all; empty when it is.
std::string whySkipped(const Setup& setup, const Rule& rule) {
  if (rule.needs != Needs::anyHost && setup.simulatedHost == nullptr) return "it needs the simulated host";
  if (rule.needs == Needs::switching && setup.readOnly) return "it switches LEDs or caches, and --read-only was given";
  return "";
}

Result resultOf(const Rule& rule, const IsolatedOutcome& outcome) {
  if (!outcome.answer) {
    const std::string where = outcome.step.empty() ? "" : " (last step: " + outcome.step + ")";
    return {rule, Verdict::fail, "expected every call to return, but " + outcome.ending + where};
  }
  const std::string text = outcome.answer->substr(1);
  if (outcome.answer->front() == kPass) return {rule, Verdict::pass, ""};
  return {rule, outcome.answer->front() == kSkip ? Verdict::skip : Verdict::fail, text};
}

bool isNamed(const Rule& rule, const std::string& name) {
  const std::string ruleName = rule.name;
  return ruleName == name || ruleName.starts_with(name + ".");
}

}  // namespace

std::vector<Rule> rulesNamed(const std::vector<std::string>& names) {
  std::vector<Rule> all = allRules();
  if (names.empty()) return all;
  for (const std::string& name : names) {
    const bool fits = std::any_of(all.begin(), all.end(), [&](const Rule& rule) { return isNamed(rule, name); });
    if (fits) continue;
    std::vector<Candidate> candidates;
    for (const Rule& rule : all) candidates.push_back({rule.name});
    throw Refusal(name + ": no such rule or group of rules; there are", candidates);
  }
  std::vector<Rule> chosen;
  std::copy_if(all.begin(), all.end(), std::back_inserter(chosen), [&](const Rule& rule) {
    return std::any_of(names.begin(), names.end(), [&](const std::string& name) { return isNamed(rule, name); });
  });
  return chosen;
}

std::vector<Result> run(const Setup& setup, const std::vector<Rule>& rules,
                        const std::function<void(const Result&)>& decided) {
  std::vector<std::unique_ptr<IsolatedCall>> calls(rules.size());
  std::chrono::seconds limit = kLimit;
  const auto start = [&](size_t index) {
    if (calls[index] != nullptr || !whySkipped(setup, rules[index]).empty()) return;
    calls[index] = std::make_unique<IsolatedCall>([&] { return runRule(setup, rules[index]); }, limit);
  };
  for (size_t index = 0; index < rules.size(); ++index) {
    if (rules[index].isSlow) start(index);
  }
  std::vector<Result> results;
  for (size_t index = 0; index < rules.size(); ++index) {
    start(index);
    if (calls[index] == nullptr) {
      results.push_back({rules[index], Verdict::skip, whySkipped(setup, rules[index])});
    } else {
      const IsolatedOutcome outcome = calls[index]->wait();
      if (outcome.hung) limit = kLimitOnceOneHung;
      results.push_back(resultOf(rules[index], outcome));
    }
    decided(results.back());
  }
  return results;
}

}  // namespace host::check
