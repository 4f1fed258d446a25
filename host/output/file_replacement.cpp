// Writes beside the file and renames.
#include "host/output/file_replacement.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

#include "host/output/files.h"
#include "host/refusal.h"
#include "host/report.h"
#include "json/input.h"
#include "simulator/link_target.h"

namespace host {
namespace {

[[noreturn]] void refuseToWrite(const std::string& file, int error) {
  throw Refusal(file + ": cannot be written: " + std::strerror(error));
}

class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() {
    if (number_ >= 0) close(number_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  [[nodiscard]] int number() const { return number_; }

 private:
  int number_;
};

/// Removes a file unless it was given another name.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::string& target)
      : name_(target + ".XXXXXX"), descriptor_(mkostemp(name_.data(), O_CLOEXEC)) {}
  ~TemporaryFile() {
    if (descriptor_.number() >= 0 && !name_.empty()) unlink(name_.c_str());
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  [[nodiscard]] int number() const { return descriptor_.number(); }
  [[nodiscard]] bool rename(const std::string& target) {
    if (std::rename(name_.c_str(), target.c_str()) != 0) return false;
    name_.clear();
    return true;
  }

 private:
  std::string name_;
  Descriptor descriptor_;
};

bool writeWhole(int descriptor, const std::string& text) {
  for (size_t done = 0; done < text.size();) {
    const ssize_t written = write(descriptor, text.data() + done, text.size() - done);
    if (written < 0 && errno != EINTR) return false;
    if (written > 0) done += static_cast<size_t>(written);
  }
  return true;
}

/// Owner and mode of the file before, or those of a file that is made as any other.
void setRights(int descriptor, const std::optional<struct stat64>& older) {
  if (older) (void)!fchown(descriptor, older->st_uid, older->st_gid);
  (void)fchmod(descriptor, older ? older->st_mode & 0777 : modeOfNewFiles());
}

}  // namespace

mode_t modeOfNewFiles() {
  const mode_t withheld = umask(0);
  umask(withheld);
  return 0666 & ~withheld;
}

void replaceFile(const std::string& file, const std::string& text) {
  const auto older = statusOf(file);
  if (older && !S_ISREG(older->st_mode)) {
    const Descriptor descriptor(open(file.c_str(), O_WRONLY | O_CLOEXEC));
    if (descriptor.number() < 0 || !writeWhole(descriptor.number(), text)) refuseToWrite(file, errno);
    return;
  }
  if (older && access(file.c_str(), W_OK) != 0) refuseToWrite(file, errno);
  const std::string target = simulator::behindLinks(file);
  TemporaryFile beside(target);
  if (beside.number() < 0) refuseToWrite(file, errno);
  setRights(beside.number(), older);
  const bool isWritten = writeWhole(beside.number(), text) && fsync(beside.number()) == 0 && beside.rename(target);
  if (!isWritten) refuseToWrite(file, errno);
}

std::string textToReplace(const std::string& file) {
  const auto status = statusOf(file);
  if (!status || !S_ISREG(status->st_mode)) return "";
  std::string mistake;
  const auto text = input::readFile(file, mistake);
  if (!text) complain(file + ": nothing of it is taken over: " + mistake);
  return text.value_or("");
}

}  // namespace host
