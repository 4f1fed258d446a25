// Reads a file whole.
#include "host/file_content.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

#include "json/input.h"

namespace host {

std::optional<std::string> readFile(const std::string& file, std::string& error) {
  const int descriptor = open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0) {
    error = std::strerror(errno);
    return std::nullopt;
  }
  auto content = input::readWhole(descriptor, error);
  close(descriptor);
  return content;
}

}  // namespace host
