// Looks at what is in a recording's place, and writes.
#include "host/recording/recording_file.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/json_file.h"
#include "host/recording/format.h"
#include "host/refusal.h"

namespace host::recording {
namespace {

std::optional<struct stat> statusOf(const std::string& file) {
  struct stat status = {};
  return stat(file.c_str(), &status) == 0 ? std::optional(status) : std::nullopt;
}

/// Without links and dots; the last name alone may be missing.
std::string absolutePath(const std::string& file) {
  const auto resolve = [](const std::string& path) {
    const std::unique_ptr<char, decltype(&std::free)> resolved(realpath(path.c_str(), nullptr), std::free);
    return std::string(resolved != nullptr ? resolved.get() : "");
  };
  if (std::string path = resolve(file); !path.empty()) return path;
  const size_t slash = file.rfind('/');
  const std::string folder = slash == std::string::npos ? "." : file.substr(0, slash + 1);
  return resolve(folder) + "/" + file.substr(slash + 1);
}

bool areSame(const std::string& one, const std::string& other) {
  const auto first = statusOf(one);
  const auto second = statusOf(other);
  if (first && second) return first->st_dev == second->st_dev && first->st_ino == second->st_ino;
  return !first && !second && absolutePath(one) == absolutePath(other);
}

/// Whether a file begins as a recording of any version does.
bool isRecording(const std::string& file) {
  const std::unique_ptr<FILE, int (*)(FILE*)> stream(std::fopen(file.c_str(), "re"), std::fclose);
  std::array<char, 4096> line{};
  if (stream == nullptr || std::fgets(line.data(), line.size(), stream.get()) == nullptr) return false;
  try {
    const Json first = readJsonLine(line.data(), file);
    return first.is_object() && first.value("format", Json()) == kFormat;
  } catch (const Refusal&) {
    return false;
  }
}

[[noreturn]] void refuse(const std::string& file, const std::string& reason) {
  throw Refusal(file + ": cannot be written: " + reason);
}

}  // namespace

RecordingFile::RecordingFile(const std::string& file, const std::vector<RunFile>& others)
    : name_(file), target_(absolutePath(file)) {
  for (const RunFile& other : others) {
    if (!other.file.empty() && areSame(file, other.file)) refuse(file, "it is this run's " + other.option);
  }
  const auto older = statusOf(file);
  if (older && !S_ISREG(older->st_mode)) refuse(file, "it is no regular file");
  if (older && older->st_size != 0) {
    if (access(file.c_str(), W_OK) != 0) refuse(file, std::strerror(errno));
    if (!isRecording(file)) refuse(file, "it exists and is no recording");
    beside_ = target_ + ".XXXXXX";
    const int descriptor = mkostemp(beside_.data(), O_CLOEXEC);
    if (descriptor < 0) refuse(file, std::strerror(errno));
    (void)fchmod(descriptor, older->st_mode & 0777);
    file_.reset(fdopen(descriptor, "w"));
  } else {
    file_.reset(std::fopen(file.c_str(), "we"));
  }
  if (file_ == nullptr) refuse(file, std::strerror(errno));
  writeLine({{"format", kFormat}, {"version", kVersion}});
  if (error_ == 0) return;
  const std::string reason = std::strerror(error_);
  if (!beside_.empty()) unlink(beside_.c_str());
  refuse(file, reason);
}

RecordingFile::~RecordingFile() {
  if (!beside_.empty()) unlink(beside_.c_str());
}

void RecordingFile::writeCall(const Json& call) {
  writeLine(call);
  if (beside_.empty() || error_ != 0) return;
  if (rename(beside_.c_str(), target_.c_str()) != 0) {
    error_ = errno;
  } else {
    beside_.clear();
  }
}

std::optional<std::string> RecordingFile::finish() {
  writeLine({{"end", true}});
  if (error_ == 0) return std::nullopt;
  return name_ + ": the recording is not whole: " + std::strerror(error_);
}

void RecordingFile::writeLine(const Json& line) {
  const std::string text = line.dump(-1, ' ', true) + "\n";
  const bool written = std::fputs(text.c_str(), file_.get()) >= 0 && std::fflush(file_.get()) == 0;
  if (!written && error_ == 0) error_ = errno;
}

}  // namespace host::recording
