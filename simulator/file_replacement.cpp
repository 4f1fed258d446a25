// Replaces whole files.
#include "simulator/file_replacement.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

#include "simulator/c_library.h"

namespace simulator {
namespace {

/// Closes a descriptor and keeps errno.
class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() {
    const int error = errno;
    if (number_ >= 0) cLibrary().close(number_);
    errno = error;
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  [[nodiscard]] int number() const { return number_; }

 private:
  int number_;
};

bool writeAll(int descriptor, const std::string& text) {
  for (size_t done = 0; done < text.size();) {
    const ssize_t written = write(descriptor, text.data() + done, text.size() - done);
    if (written < 0 && errno != EINTR) return false;
    if (written > 0) done += static_cast<size_t>(written);
  }
  return fsync(descriptor) == 0;
}

}  // namespace

bool replaceFile(const std::string& file, const std::string& text) {
  std::string temporary = file + ".XXXXXX";
  const Descriptor descriptor(mkostemp(temporary.data(), O_CLOEXEC));
  if (descriptor.number() < 0) return false;
  if (writeAll(descriptor.number(), text) && rename(temporary.c_str(), file.c_str()) == 0) return true;
  const int error = errno;
  unlink(temporary.c_str());
  errno = error;
  return false;
}

}  // namespace simulator
