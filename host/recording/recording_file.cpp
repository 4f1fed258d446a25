// Looks at what is in a recording's place, and writes.
#include "host/recording/recording_file.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <unistd.h>

#include "host/output/file_replacement.h"
#include "host/output/files.h"
#include "host/recording/lines.h"
#include "host/refusal.h"
#include "host/report.h"
#include "json/json_check.h"
#include "simulator/link_target.h"

namespace host::recording {
namespace {

/// Whether a file begins as a recording of any version does.
bool isRecording(const std::string& file) {
  const std::unique_ptr<FILE, int (*)(FILE*)> stream(std::fopen(file.c_str(), "re"), std::fclose);
  std::array<char, 4096> line{};
  if (stream == nullptr || std::fgets(line.data(), line.size(), stream.get()) == nullptr) return false;
  return !input::mistakeInJson(line.data()) && beginsRecording(nlohmann::json::parse(line.data()));
}

[[noreturn]] void refuse(const std::string& file, const std::string& reason) {
  throw Refusal(file + ": cannot be written: " + reason);
}

}  // namespace

RecordingFile::RecordingFile(const std::string& file, const std::vector<RunFile>& others, bool repeats)
    : name_(file), target_(absolutePath(file)), beside_(target_ + ".XXXXXX") {
  for (const RunFile& other : others) {
    if (!other.file.empty() && areSameFile(file, other.file)) refuse(file, "it is this run's " + other.option);
  }
  const auto older = statusOf(file);
  if (older && !S_ISREG(older->st_mode)) refuse(file, "it is no regular file");
  if (older && access(file.c_str(), W_OK) != 0) refuse(file, std::strerror(errno));
  if (older && older->st_size != 0 && !isRecording(file)) refuse(file, "it exists and is no recording");
  const int descriptor = mkostemp(beside_.data(), O_CLOEXEC);
  if (descriptor < 0) {
    const std::string reason = std::strerror(errno);
    refuse(file, simulator::behindLinks(file) == file ? reason : "it leads to " + target_ + ": " + reason);
  }
  (void)fchmod(descriptor, older ? older->st_mode & 0777 : modeOfNewFiles());
  file_.reset(fdopen(descriptor, "w"));
  write(firstLine(repeats));
  if (error_ == 0) return;
  unlink(beside_.c_str());
  refuse(file, std::strerror(error_));
}

RecordingFile::~RecordingFile() {
  if (!beside_.empty()) unlink(beside_.c_str());
}

bool RecordingFile::isAt(const std::string& place) const {
  struct stat64 own = {};
  const auto there = statusOf(place);
  return fstat64(fileno(file_.get()), &own) == 0 && there && there->st_dev == own.st_dev && there->st_ino == own.st_ino;
}

void RecordingFile::takePlace() {
  if (beside_.empty() || error_ != 0) return;
  // A child process of this run may have done it.
  if (isAt(beside_) && rename(beside_.c_str(), target_.c_str()) != 0) {
    error_ = errno;
  } else {
    beside_.clear();
  }
}

std::optional<std::string> RecordingFile::finish() {
  write(lastLine());
  if (error_ != 0) return name_ + ": the recording is not whole: " + std::strerror(error_);
  if (!beside_.empty() && isAt(beside_)) {
    complain(name_ + ": nothing was recorded: the run asked its host nothing");
  } else if (!isAt(target_)) {
    return name_ + ": the recording is lost: its file was replaced or removed meanwhile";
  }
  return std::nullopt;
}

void RecordingFile::write(const Json& line) {
  const std::string text = line.dump(-1, ' ', true) + "\n";
  const bool written = std::fputs(text.c_str(), file_.get()) >= 0 && std::fflush(file_.get()) == 0;
  if (!written && error_ == 0) error_ = errno;
}

}  // namespace host::recording
