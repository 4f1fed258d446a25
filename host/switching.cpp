// Judges operations that switch something.
#include "host/switching.h"

namespace host {

static std::string whyItFailed(const ActionResult& action, MustCount mustCount,
                               std::span<const InterceptedCommand> sent) {
  if (!action.error.empty()) return action.error;
  if (std::string reason = whyNothingChanged(sent); !reason.empty()) {
    return reason + " (result " + std::to_string(action.result) + ")";
  }
  if (mustCount == MustCount::yes && action.result <= 0) {
    return "the plugin switched nothing (result " + std::to_string(action.result) + ")";
  }
  return "";
}

Switched switchDisk(Session& session, OpenedDisk& opened, const std::string& operation, MustCount mustCount,
                    const std::function<ActionResult(const DeviceHandle&)>& call) {
  Switched switched;
  if (!opened.isKnown()) return switched;
  const CommandLog& log = session.commands();
  const size_t before = log.size();
  const ActionResult action = call(opened.handle);
  const auto sent = log.since(before);

  switched.result = action.result;
  if (const std::string failure = whyItFailed(action, mustCount, sent); !failure.empty()) {
    session.report().failed(opened.record, operation, failure);
  } else if (log.holdsBackWrites()) {
    switched.heldBack = lastChange(sent);
  } else {
    switched.done = true;
  }
  return switched;
}

}  // namespace host
