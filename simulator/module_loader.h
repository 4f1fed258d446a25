// The host's side of the module loader command: the shared page, and the environment through which it is found.
#pragma once

#include <cstdint>

#include "simulator/module_loader_page.h"
#include "simulator/simulated_host.h"

namespace simulator {

class ModuleLoader {
 public:
  /// Of the process. On first use, which is when the library is loaded, creates the page, publishes it in the
  /// environment, and puts the library's own directory first on PATH so that a shell finds the command there. Without
  /// shared memory the command knows of no OEM build and no rule.
  static ModuleLoader& instance();

  void setOemDriver(bool oem);

  /// The rules beyond kMaxModuleLoaderRules are never hit.
  void addRule(const FaultRule& rule);
  void clearRules();

  /// @param rule  position of the rule, from 0
  /// @return how often it was hit, in all processes
  [[nodiscard]] uint32_t hits(uint32_t rule) const;

  [[nodiscard]] uint32_t runs() const;
  void resetRuns();

 private:
  ModuleLoader();

  ModuleLoaderPage* page_;
};

}  // namespace simulator
