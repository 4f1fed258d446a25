// The question to the module loader.
#include "channel/oem_driver.h"

#include <cstdio>
#include <cstring>
#include <memory>

namespace {

constexpr char kModuleInformation[] = "vmkload_mod -s veltrane";

/// Waits for the command to end.
struct ClosePipe {
  void operator()(FILE* pipe) const { pclose(pipe); }
};

}  // namespace

int IsOEMDriver() {
  const std::unique_ptr<FILE, ClosePipe> output(popen(kModuleInformation, "r"));
  if (output == nullptr) return 0;
  char line[1024];
  while (std::fgets(line, sizeof(line), output.get()) != nullptr) {
    if (std::strstr(line, "oem") != nullptr || std::strstr(line, "OEM") != nullptr) return 1;
  }
  return 0;
}
