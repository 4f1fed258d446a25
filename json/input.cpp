// Reads within the limits.
#include "json/input.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <poll.h>
#include <unistd.h>
#include <vector>

namespace input {
namespace {

using Clock = std::chrono::steady_clock;

/// Waits for more bytes or the end; a file on a disk has them at once.
bool awaitMore(int descriptor, Clock::time_point end) {
  while (true) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
    pollfd waiting{descriptor, POLLIN, 0};
    const int ready = poll(&waiting, 1, static_cast<int>(std::max<int64_t>(left, 0)));
    if (ready > 0) return true;
    if (ready == 0 || errno != EINTR) return false;
  }
}

/// @param descriptor  borrowed; with O_NONBLOCK, so that a pipe without a writer is waited for no longer either
std::optional<std::string> readWhole(int descriptor, std::string& mistake) {
  constexpr size_t kPart = 65536;
  const auto end = Clock::now() + kLimits.wait;
  std::string text;
  std::vector<char> part(kPart);
  while (awaitMore(descriptor, end)) {
    const ssize_t got = read(descriptor, part.data(), part.size());
    if (got == 0) return text;
    if (got < 0) {
      if (errno == EINTR || errno == EAGAIN) continue;
      mistake = std::strerror(errno);
      return std::nullopt;
    }
    text.append(part.data(), static_cast<size_t>(got));
    if (text.size() > kLimits.mebibytes << 20) {
      mistake = "it is larger than " + std::to_string(kLimits.mebibytes) + " MiB";
      return std::nullopt;
    }
  }
  mistake = "its end did not come within " + std::to_string(kLimits.wait.count()) + " seconds";
  return std::nullopt;
}

}  // namespace

std::optional<std::string> readFile(const std::string& file, std::string& mistake) {
  const int descriptor = openat(AT_FDCWD, file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  const std::unique_ptr<FILE, int (*)(FILE*)> stream(descriptor < 0 ? nullptr : fdopen(descriptor, "r"), std::fclose);
  if (stream != nullptr) return readWhole(descriptor, mistake);
  mistake = std::strerror(errno);
  return std::nullopt;
}

std::string cut(std::string_view text) {
  constexpr size_t kMost = 60;
  if (text.size() <= kMost) return std::string(text);
  size_t end = kMost;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80) --end;  // within a UTF-8 character
  return std::string(text.substr(0, end)) + "...";
}

}  // namespace input
