// The groups of rules in the order in which they are reported.
#include "host/check/rule.h"

namespace host::check {

std::vector<Rule> allRules() {
  std::vector<Rule> rules;
  for (const std::vector<Rule>& table :
       {libraryAndDescriptorRules(), openAndCloseRules(), operationAndErrorRules(), informationRules(),
        locationAndTemperatureRules(), locatorRules(), cacheRules(), resourceRules(), lockRules()}) {
    rules.insert(rules.end(), table.begin(), table.end());
  }
  return rules;
}

}  // namespace host::check
