// The calls with which a program reaches a disk node. Names below "/dev/disks/" belong to the simulated host; every
// other path, and every descriptor that is not one of its nodes, goes to the C library.
#include <cerrno>
#include <cstdarg>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <new>
#include <string>
#include <string_view>
#include <sys/ioctl.h>
#include <unistd.h>

#include "simulator/c_library.h"
#include "simulator/exported.h"
#include "simulator/host_model.h"

namespace {

using simulator::cLibrary;
using simulator::HostModel;

constexpr std::string_view kNodes = "/dev/disks/";

/// The open nodes by descriptor. It has a lock of its own, which is never held while anything else is called: close and
/// ioctl of any descriptor come through here, whatever their caller holds.
class OpenNodes {
 public:
  static OpenNodes& instance() {
    static OpenNodes& nodes = *new OpenNodes;
    return nodes;
  }
  void add(int descriptor, std::string_view name) {
    const std::lock_guard lock(mutex_);
    names_[descriptor] = name;
  }
  bool remove(int descriptor) {
    const std::lock_guard lock(mutex_);
    return names_.erase(descriptor) != 0;
  }
  /// @return empty: not a node
  std::string find(int descriptor) {
    const std::lock_guard lock(mutex_);
    const auto found = names_.find(descriptor);
    return found != names_.end() ? found->second : "";
  }

 private:
  std::mutex mutex_;
  std::map<int, std::string> names_;
};

int fail(int error) {
  errno = error;
  return -1;
}

/// A descriptor of its own for every open node, so that it collides with no other.
int openNode(std::string_view name, int flags) {
  if (const int error = HostModel::instance().openNode(name); error != 0) return fail(error);
  const int descriptor = cLibrary().open("/dev/null", O_RDONLY | (flags & O_CLOEXEC));
  if (descriptor < 0) {
    HostModel::instance().closeNode();
    return -1;
  }
  OpenNodes::instance().add(descriptor, name);
  return descriptor;
}

template <typename Open>
int openAny(const char* path, int flags, mode_t mode, Open inCLibrary) {
  const std::string_view name = path != nullptr ? path : "";
  if (!name.starts_with(kNodes) || name.size() == kNodes.size()) return inCLibrary(path, flags, mode);
  try {
    return openNode(name.substr(kNodes.size()), flags);
  } catch (const std::bad_alloc&) {
    return fail(ENOMEM);
  }
}

bool takesMode(int flags) {
  return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
}

}  // namespace

extern "C" {

DMU_EXPORTED int open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = takesMode(flags) ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  return openAny(path, flags, mode, cLibrary().open);
}

DMU_EXPORTED int open64(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = takesMode(flags) ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  return openAny(path, flags, mode, cLibrary().open64);
}

DMU_EXPORTED int ioctl(int descriptor, unsigned long request, ...) noexcept {
  va_list arguments;
  va_start(arguments, request);
  void* argument = va_arg(arguments, void*);
  va_end(arguments);
  try {
    const std::string name = OpenNodes::instance().find(descriptor);
    if (name.empty()) return cLibrary().ioctl(descriptor, request, argument);
    const int error = HostModel::instance().nodeRequest(name, request, argument);
    return error == 0 ? 0 : fail(error);
  } catch (const std::bad_alloc&) {
    return fail(ENOMEM);
  }
}

DMU_EXPORTED int close(int descriptor) {
  if (OpenNodes::instance().remove(descriptor)) HostModel::instance().closeNode();
  return cLibrary().close(descriptor);
}
}
