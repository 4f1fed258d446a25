// The simulated host and its state file: reading it, the right to change it, and writing it at every change.
#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

#include "json/input.h"
#include "simulator/complaint.h"
#include "simulator/file_replacement.h"
#include "simulator/host_model.h"
#include "simulator/link_target.h"
#include "simulator/state_file.h"

namespace simulator {
namespace {

std::string unwritable(const std::string& file, const std::string& reason) {
  return file + ": cannot be written: " + reason;
}

/// What can be seen without touching the file.
std::optional<std::string> whyUnwritable(const std::string& file) {
  struct stat status = {};
  if (stat(file.c_str(), &status) != 0) return std::nullopt;  // it is made, or its folder says why not
  if (!S_ISREG(status.st_mode)) return unwritable(file, "it is no regular file");
  if (access(file.c_str(), W_OK) != 0) return unwritable(file, std::strerror(errno));
  return std::nullopt;
}

}  // namespace

std::optional<std::string> HostModel::useStateFile(const std::string& file, StateUse use) {
  const std::lock_guard lock(mutex_);
  stateLock_.release();
  stateFile_ = behindLinks(file);  // all who mean it take the same lock, and links stay
  if (stateFile_.empty()) return std::nullopt;
  auto mistake = use == StateUse::change ? beginChanges() : readState();
  if (mistake) stateFile_.clear();
  return mistake;
}

std::optional<std::string> HostModel::readState() {
  if (access(stateFile_.c_str(), F_OK) != 0 && errno == ENOENT) return std::nullopt;
  std::string mistake;
  const auto text = input::readFile(stateFile_, mistake);
  if (!text) return stateFile_ + ": cannot be read: " + mistake;
  return restoreState(*text, stateFile_, controllers_);
}

std::optional<std::string> HostModel::beginChanges() {
  if (auto reason = whyUnwritable(stateFile_)) return reason;
  if (!stateLock_.take(stateFile_)) {
    return unwritable(stateFile_, StateLock::fileOf(stateFile_) + ": " + std::strerror(errno));
  }
  auto mistake = readState();
  if (!mistake && !replaceFile(stateFile_, stateText(controllers_)))
    mistake = unwritable(stateFile_, std::strerror(errno));
  if (mistake) stateLock_.release();
  return mistake;
}

CommandResult HostModel::carryOutAndKeep(uint32_t instance, const DecodedCommand& command, BytesView data) {
  if (stateFile_.empty() || !command.layout->toController) {
    return carryOut(controllers_[instance], command, data, now());
  }
  if (!stateLock_.isHeld()) {
    if (const auto mistake = beginChanges()) {
      complain(*mistake);
      return {DriverStatus::stateNotKept, {}};
    }
  }
  ControllerModel& controller = controllers_[instance];
  const Blink blinkBefore = controller.blink;
  const StoredSettings settingsBefore = controller.settings;
  CommandResult result = carryOut(controller, command, data, now());
  if (result.status != DriverStatus::success || replaceFile(stateFile_, stateText(controllers_))) return result;

  complain(unwritable(stateFile_, std::strerror(errno)));
  controller.blink = blinkBefore;
  controller.settings = settingsBefore;
  return {DriverStatus::stateNotKept, {}};
}

}  // namespace simulator
