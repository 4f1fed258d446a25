// Judges operations that switch something.
#include "host/commands/switching.h"

#include "host/output/text.h"
#include "host/waiting/interruption.h"
#include "host/waiting/progress.h"

namespace host {

/// What of an external volume cannot be switched: it says that no command was sent for it, and why.
static constexpr const char* kExternal = "an external volume: its drives and its cache are not this controller's";

static bool isExternal(Session& session, const HostDisk& disk) {
  const model::Volume* volume = session.controllers().volumeOf(disk);
  return volume != nullptr && volume->isExternal;
}

static std::string whyItFailed(const CallResult& action, MustCount mustCount,
                               std::span<const InterceptedCommand> sent) {
  if (!action.error.empty()) return action.error;
  const std::string result = action.result == 0 ? "" : " (result " + std::to_string(action.result) + ")";
  if (const std::string reason = whyNothingChanged(sent); !reason.empty()) return reason + result;
  if (mustCount == MustCount::yes && action.result <= 0) return "the plugin switched nothing" + result;
  return "";
}

void switchEach(Session& session, std::vector<OpenedDisk>& disks, const std::function<void(OpenedDisk&)>& doSwitch) {
  const Interruption interruption;
  Activity activity(disks.size(), "disks");
  std::vector<Candidate> left;
  for (OpenedDisk& disk : disks) {
    if (interruption.isWanted()) {
      left.push_back({disk.record.disk.device});
    } else {
      doSwitch(disk);
      activity.advance();
    }
  }
  if (left.empty()) return;
  const std::string text =
      "interrupted; not switched: " + grouped(left.size()) + " of " + counted(disks.size(), "disk");
  session.report().refused(Refusal(text, std::move(left)));
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
  if (action.error.empty() && sent.empty() && isExternal(session, opened.record.disk)) {
    if (opened.named == Named::yes) {
      session.report().failed(opened.record, operation, kExternal);
    } else {
      opened.record.note = kExternal;
      session.report().note(printable(opened.record.disk.device) + ": " + kExternal);
    }
  } else if (const std::string failure = whyItFailed(action, mustCount, sent); !failure.empty()) {
    session.report().failed(opened.record, operation, failure);
  } else if (log.holdsBackWrites()) {
    switched.heldBack = lastChange(sent);
  } else {
    switched.done = true;
  }
  return switched;
}

}  // namespace host
