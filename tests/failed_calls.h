// What the host must get of a scenario in which calls of the plugin failed, told from what each call is for.
#pragma once

#include "tests/expected_outcomes.h"

class FailedCalls : public ExpectedOutcomes {
 public:
  /// @param good   of an undisturbed run
  /// @param calls  which the plugin made in it; borrowed
  FailedCalls(const Outcomes& good, const std::vector<PluginCall>& calls) : ExpectedOutcomes(good), calls_(calls) {}

  /// Call `i` fails.
  /// @param result  the platform's code or the driver's status; of no meaning to an allocation
  void fail(size_t i, int32_t result);

  /// Call `i` fails, and so does every later one of its name.
  void failFrom(size_t i, int32_t result);

  /// What the failure of call `i` must leave in the trace.
  [[nodiscard]] std::string trace(size_t i) const;

 private:
  [[nodiscard]] bool isFirstInStep(size_t i) const;
  [[nodiscard]] size_t commandAfter(size_t i) const;

  /// Whether this command of a report is the one for its header, before the one for the whole of it.
  [[nodiscard]] bool asksForHeader(size_t command) const;
  void failDriver(size_t i, int32_t result);
  void failAllocation(size_t i);
  void failBuffer(size_t i);
  void loseDrive(size_t i);

  const std::vector<PluginCall>& calls_;
  bool notOpened_ = false;
};
