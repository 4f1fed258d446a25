// Counts calls.
#include "host/topology/seen_calls.h"

#include <algorithm>

namespace host::topology {

bool SeenCalls::hasFailed(const CallKind& kind) const {
  const auto found = calls_.find(kind);
  return found != calls_.end() && std::any_of(found->second.begin(), found->second.end(),
                                              [](const auto& failure) { return failure.has_value(); });
}

bool SeenCalls::wereSentTo(const std::string& hba) const {
  return std::any_of(calls_.begin(), calls_.end(), [&](const auto& seen) { return seen.first.hba == hba; });
}

std::vector<SeenCalls::Run> SeenCalls::failures() const {
  std::vector<Run> runs;
  for (const auto& [kind, outcomes] : calls_) {
    for (auto begin = outcomes.begin(); begin != outcomes.end();) {
      const auto end = std::find_if(begin, outcomes.end(), [&](const auto& outcome) { return outcome != *begin; });
      if (*begin) {
        Run run{kind, **begin};
        run.from = static_cast<uint32_t>(begin - outcomes.begin()) + 1;
        if (end != outcomes.end()) run.count = static_cast<uint32_t>(end - begin);
        runs.push_back(std::move(run));
      }
      begin = end;
    }
  }
  return runs;
}

}  // namespace host::topology
