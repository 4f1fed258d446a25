// What the simulated host tells its module loader command, which runs in a process of its own: whether the driver is an
// OEM build, and the fault rules of its runs with their counters. It is a page of shared memory without a file: the
// environment variable names it in the host's process.
#pragma once

#include <atomic>
#include <cstdint>

namespace simulator {

inline constexpr const char* kModuleLoaderVariable = "DMU_MODULE_LOADER";
inline constexpr uint32_t kMaxModuleLoaderRules = 64;

struct ModuleLoaderRule {
  uint32_t action;  ///< a FaultAction
  uint32_t value;
  uint32_t from;
  uint32_t count;
  uint32_t matches;
  uint32_t hits;
};

/// Both sides use the numbers as atomics.
struct ModuleLoaderPage {
  uint32_t oemDriver;
  uint32_t runs;
  uint32_t ruleCount;
  ModuleLoaderRule rules[kMaxModuleLoaderRules];
};

[[nodiscard]] inline std::atomic_ref<uint32_t> shared(uint32_t& number) {
  return std::atomic_ref<uint32_t>(number);
}

}  // namespace simulator
