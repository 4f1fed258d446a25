// Judges operations that switch something.
#include "host/commands/switching.h"

namespace host {

/// A volume without a RAID level that anybody knows is most likely external.
static bool mayBeExternal(const DiskRecord& record) {
  return record.kind == DiskKind::volume && !record.raidLevel;
}

static std::string whyItFailed(const DiskRecord& record, const CallResult& action, MustCount mustCount,
                               std::span<const InterceptedCommand> sent) {
  if (!action.error.empty()) return action.error;
  const std::string result = " (result " + std::to_string(action.result) + ")";
  if (sent.empty() && mayBeExternal(record)) {
    return "the plugin sent no command; the drives and the cache of an external volume are not this controller's" +
           result;
  }
  if (const std::string reason = whyNothingChanged(sent); !reason.empty()) return reason + result;
  if (mustCount == MustCount::yes && action.result <= 0) return "the plugin switched nothing" + result;
  return "";
}

Switched switchDisk(Session& session, OpenedDisk& opened, const std::string& operation, MustCount mustCount,
                    const std::function<CallResult(const DeviceHandle&)>& call) {
  Switched switched;
  if (!opened.isKnown()) return switched;
  const CommandLog& log = session.commands();
  const size_t before = log.size();
  const CallResult action = call(opened.handle);
  const auto sent = log.since(before);

  switched.result = action.result;
  if (const std::string failure = whyItFailed(opened.record, action, mustCount, sent); !failure.empty()) {
    session.report().failed(opened.record, operation, failure);
  } else if (log.holdsBackWrites()) {
    switched.heldBack = lastChange(sent);
  } else {
    switched.done = true;
  }
  return switched;
}

}  // namespace host
