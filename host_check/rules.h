// The rules that a host keeps: the one table of them.
#pragma once

namespace hostcheck {

enum class Rule {
  handleUnknown,
  handleUsedAfterClose,
  handleClosedTwice,
  handleClosedInUse,
  handleNeverClosed,
  argumentNull,
  argumentBadAddress,
  arrayTooSmall,
  errorNoString,
  errorOtherLayout,
  locationNeverReleased,
  unloadInUse,
  forkInUse,
};

struct RuleText {
  Rule rule;
  const char* name;  ///< as reports and docs/boundary.md have it
  const char* duty;  ///< what the host owes
};

[[nodiscard]] const RuleText& textOf(Rule rule);

}  // namespace hostcheck
