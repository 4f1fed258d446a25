// Arbitrary text as a topology file: taken, or refused with the file's name and a reason.
#include <optional>
#include <string>

#include "fuzz/input.h"
#include "simulator/simulated_host.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const std::optional<std::string> refused = dmuSimulatedHost()->loadText(text, "fuzzed");
  fuzz::require(!refused || fuzz::isRefusalOf("fuzzed", *refused), "a refusal says what and why");
  if (!refused) (void)dmuSimulatedHost()->disks();
  return 0;
}
