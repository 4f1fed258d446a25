// Names of the rules, and what each asks of a host. Every rule here is broken by a host in tests/broken_hosts/.
#include "host_check/rules.h"

#include <cstddef>

namespace hostcheck {
namespace {

constexpr RuleText kRules[] = {
    {Rule::handleUnknown, "handle.unknown", "a handle comes from an open of this plugin"},
    {Rule::handleUsedAfterClose, "handle.used-after-close", "no operation on a handle after its close"},
    {Rule::handleClosedTwice, "handle.closed-twice", "a handle is closed once"},
    {Rule::handleClosedInUse, "handle.closed-in-use", "no close while an operation on the handle runs or waits"},
    {Rule::handleNeverClosed, "handle.never-closed", "every handle is closed before dlclose or exit"},
    {Rule::argumentNull, "argument.null", "no null but for the names of an open and the handle of a close"},
    {Rule::argumentBadAddress, "argument.bad-address", "what the plugin reads or writes is the host's memory"},
    {Rule::arrayTooSmall, "array.too-small", "an array has as many records or slots as are announced"},
    {Rule::errorNoString, "error.no-string", "an error text is a std::string"},
    {Rule::errorOtherLayout, "error.other-layout", "host and plugin are built for the same string layout"},
    {Rule::locationNeverReleased, "location.never-released", "each location text is released with free"},
    {Rule::unloadInUse, "unload.in-use", "no operation runs or waits when dlclose or exit begins"},
    {Rule::forkInUse, "fork.in-use", "a child of a fork during an operation calls no operation"},
};

constexpr bool isInOrder() {
  int next = 0;
  for (const RuleText& text : kRules) {
    if (static_cast<int>(text.rule) != next++) return false;
  }
  return true;
}
static_assert(isInOrder());

}  // namespace

const RuleText& textOf(Rule rule) {
  return kRules[static_cast<size_t>(rule)];
}

}  // namespace hostcheck
