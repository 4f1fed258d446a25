// A rule of the boundary's contract: what a plugin promises its host, and the function that finds out whether it keeps
// it. rule_table.cpp lists the tables of all rules.
//
// A rule's function calls the plugin, returns when the promise is kept, and else throws (expect.h). It runs in a
// process of its own, with the plugin loaded anew and the simulated hardware as its topology says; what it changes is
// gone afterwards.
#pragma once

#include <vector>

namespace host::check {

class Trial;

/// What a rule asks of the host.
enum class Needs {
  anyHost,        ///< only reads
  simulatedHost,  ///< only reads, but makes calls fail or wait, or compares with the model
  switching       ///< the simulated host, whose LEDs and caches it switches
};

struct Rule {
  const char* name = nullptr;     ///< "GROUP.WORDS"
  const char* promise = nullptr;  ///< in half a line
  void (*run)(Trial& trial) = nullptr;
  Needs needs = Needs::anyHost;
  bool isSlow = false;  ///< mostly waits, so that other rules can run meanwhile
};

/// All rules, in the order in which they are reported.
[[nodiscard]] std::vector<Rule> allRules();

// The tables of rules, by file; most hold several groups.
[[nodiscard]] std::vector<Rule> libraryAndDescriptorRules();
[[nodiscard]] std::vector<Rule> openAndCloseRules();
[[nodiscard]] std::vector<Rule> operationAndErrorRules();
[[nodiscard]] std::vector<Rule> informationRules();
[[nodiscard]] std::vector<Rule> locationAndTemperatureRules();
[[nodiscard]] std::vector<Rule> locatorRules();
[[nodiscard]] std::vector<Rule> cacheRules();
[[nodiscard]] std::vector<Rule> resourceRules();
[[nodiscard]] std::vector<Rule> lockRules();

}  // namespace host::check
