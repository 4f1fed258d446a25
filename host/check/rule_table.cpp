// The groups of rules in the order in which they are reported, and the words of a broken promise.
#include "host/check/rule.h"
#include "host/output/text.h"

namespace host::check {

std::vector<Rule> allRules() {
  std::vector<Rule> rules;
  for (const auto group : {libraryRules(), descriptorRules(), openRules(), closeRules(), operationRules(), errorRules(),
                           informationRules(), locationRules(), temperatureRules(), locatorRules(), cacheRules(),
                           resourceRules(), lockRules()}) {
    rules.insert(rules.end(), group.begin(), group.end());
  }
  return rules;
}

void fail(const std::string& text) {
  throw Failure{text};
}

void expect(bool holds, const std::string& otherwise) {
  if (!holds) fail(otherwise);
}

void expectResult(const std::string& what, int32_t expected, int32_t seen) {
  if (expected == seen) return;
  fail(what + ": expected result " + std::to_string(expected) + ", got " + std::to_string(seen));
}

void expectText(const std::string& what, const std::string& expected, const std::string& seen) {
  if (expected == seen) return;
  fail(what + ": expected \"" + printable(expected) + "\", got \"" + printable(seen) + "\"");
}

std::string listed(const std::vector<std::string>& names) {
  constexpr size_t kMostShown = 16;
  std::string text;
  for (size_t i = 0; i < names.size() && i < kMostShown; ++i) text += (i == 0 ? "" : ", ") + names[i];
  if (names.size() > kMostShown) text += ", ... (" + std::to_string(names.size()) + " in all)";
  return text.empty() ? "none" : text;
}

void expectList(const std::string& what, const std::vector<std::string>& expected,
                const std::vector<std::string>& seen) {
  expect(expected == seen, what + ": expected " + listed(expected) + ", got " + listed(seen));
}

void expectWritten(const std::string& what, int32_t expected, size_t written) {
  expect(expected >= 0 && written == static_cast<size_t>(expected),
         what + ": expected " + std::to_string(expected) + " to be written, got " + std::to_string(written));
}

}  // namespace host::check
