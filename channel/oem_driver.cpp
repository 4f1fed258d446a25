// The question to the module loader.
#include "channel/oem_driver.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace {

constexpr char kModuleInformation[] = "vmkload_mod -s veltrane";

/// Waits for the command to end.
struct ClosePipe {
  void operator()(FILE* pipe) const { pclose(pipe); }
};

using Piece = char[1024];

/// Reads a line, or as much of it as fits. A signal that the host handles ends nothing: the C library leaves what it
/// read before the signal in the piece, and the reading goes on behind it.
/// @return whether there was more
[[nodiscard]] bool readPiece(FILE* output, Piece& piece) {
  std::memset(piece, 0, sizeof(piece));
  size_t length = 0;
  while (std::fgets(piece + length, static_cast<int>(sizeof(piece) - length), output) == nullptr) {
    if (std::ferror(output) == 0 || errno != EINTR) return length != 0;
    std::clearerr(output);
    length = std::strlen(piece);
  }
  return true;
}

}  // namespace

int IsOEMDriver() {
  const std::unique_ptr<FILE, ClosePipe> output(popen(kModuleInformation, "r"));
  if (output == nullptr) return 0;
  int isOem = 0;
  Piece piece;
  while (readPiece(output.get(), piece)) {
    if (std::strstr(piece, "oem") != nullptr || std::strstr(piece, "OEM") != nullptr) isOem = 1;
  }
  return isOem;
}
