// Runs rules against a plugin, each in a process of its own.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/check/rule.h"
#include "host/check/trial.h"

namespace host::check {

enum class Verdict { pass, fail, skip };

struct Result {
  Rule rule;
  Verdict verdict = Verdict::skip;
  std::string text;  ///< of a failure, what was expected and seen; of a skip, the reason
};

/// The rules of these names, or of these groups ("lock" for all that begin with "lock."); all for no names.
/// @throws Refusal  a name fits no rule
[[nodiscard]] std::vector<Rule> rulesNamed(const std::vector<std::string>& names);

/// Runs the rules. A plugin that crashes, ends the process, throws or hangs fails the rule.
///
/// @param decided  is told each result as soon as it and those before it stand
/// @return one result a rule, in their order
[[nodiscard]] std::vector<Result> run(const Setup& setup, const std::vector<Rule>& rules,
                                      const std::function<void(const Result&)>& decided);

}  // namespace host::check
