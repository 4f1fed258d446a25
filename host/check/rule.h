// A rule of the boundary's contract: what a plugin promises its host, and the function that finds out whether it keeps
// it. rule_table.cpp lists the tables of all rules.
//
// A rule's function calls the plugin, returns when the promise is kept, and else throws. It runs in a process of its
// own, with the plugin loaded anew and the simulated hardware as its topology says; what it changes is gone afterwards.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace host::check {

class Trial;

/// Thrown by a rule: the promise is broken.
struct Failure {
  std::string text;  ///< what was expected and what was seen
};

/// Thrown by a rule: nobody can say.
struct Skipped {
  std::string reason;
};

/// What a rule asks of the host.
enum class Needs {
  anyHost,        ///< only reads
  simulatedHost,  ///< only reads, but makes calls fail or wait, or compares with the model
  switching       ///< the simulated host, whose LEDs and caches it switches
};

struct Rule {
  const char* name = nullptr;     ///< "GROUP.WORDS"
  const char* promise = nullptr;  ///< in half a line
  Needs needs = Needs::anyHost;
  void (*run)(Trial& trial) = nullptr;
  bool isSlow = false;  ///< mostly waits, so that other rules can run meanwhile
};

/// All rules, in the order in which they are reported.
[[nodiscard]] std::vector<Rule> allRules();

[[noreturn]] void fail(const std::string& text);

/// Each fails with "WHAT: expected EXPECTED, got SEEN" when the two differ.
void expectResult(const std::string& what, int32_t expected, int32_t seen);
void expectText(const std::string& what, const std::string& expected, const std::string& seen);

/// The same for lists, of which the first few are shown.
void expectList(const std::string& what, const std::vector<std::string>& expected,
                const std::vector<std::string>& seen);

/// Fails unless a list operation wrote as many slots or records as its result, or the rule, says.
void expectWritten(const std::string& what, int32_t expected, size_t written);

/// "a, b, c", or "none".
[[nodiscard]] std::string listed(const std::vector<std::string>& names);

/// Fails with the text unless the condition holds.
void expect(bool holds, const std::string& otherwise);

// The tables of rules, by file; a table may hold several groups.
[[nodiscard]] std::span<const Rule> libraryRules();
[[nodiscard]] std::span<const Rule> descriptorRules();
[[nodiscard]] std::span<const Rule> openRules();
[[nodiscard]] std::span<const Rule> closeRules();
[[nodiscard]] std::span<const Rule> operationRules();
[[nodiscard]] std::span<const Rule> errorRules();
[[nodiscard]] std::span<const Rule> informationRules();
[[nodiscard]] std::span<const Rule> locationRules();
[[nodiscard]] std::span<const Rule> temperatureRules();
[[nodiscard]] std::span<const Rule> locatorRules();
[[nodiscard]] std::span<const Rule> cacheRules();
[[nodiscard]] std::span<const Rule> resourceRules();
[[nodiscard]] std::span<const Rule> lockRules();

}  // namespace host::check
