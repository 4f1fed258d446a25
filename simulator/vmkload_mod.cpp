// The hypervisor host's module loader command, as far as the simulated host has one: it prints what it knows of the
// driver module. Whether that is an OEM build, and which fault it meets, it learns from the page of the process that
// simulates the host; started by hand it knows of neither.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <string>
#include <sys/mman.h>
#include <thread>
#include <unistd.h>

#include "simulator/faults.h"
#include "simulator/module_loader_page.h"

namespace {

using simulator::FaultAction;
using simulator::ModuleLoaderPage;

constexpr int kCommandNotFound = 127;  // what a shell reports

std::string moduleInformation(bool oem) {
  std::string text =
      "vmkload_mod module information\n"
      " input file: /usr/lib/modules/veltrane\n"
      " Version: 1.4.2-17\n"
      " Build Type: release\n";
  if (oem) text += " Vendor Build: OEM\n";
  text +=
      " Required name-spaces:\n"
      "  com.tarquelle.veltrane#1.4\n"
      " Parameters:\n"
      "  expose_unassigned_drives: int\n"
      "    Expose drives that belong to no volume: 0 - no, 1 - yes (default)\n"
      "  max_queue_depth: int\n"
      "    Largest number of commands outstanding on one device\n";
  return text;
}

/// @return null without a simulated host, or when its page cannot be reached
ModuleLoaderPage* openPage() {
  const char* name = std::getenv(simulator::kModuleLoaderVariable);
  if (name == nullptr) return nullptr;
  const int file = open(name, O_RDWR | O_CLOEXEC);
  if (file < 0) return nullptr;
  void* page = mmap(nullptr, sizeof(ModuleLoaderPage), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  close(file);
  return page != MAP_FAILED ? static_cast<ModuleLoaderPage*>(page) : nullptr;
}

struct Outcome {
  std::optional<int> exitStatus;
  std::optional<uint32_t> length;
  uint32_t delayMs = 0;
};

Outcome meetRules(ModuleLoaderPage& page) {
  Outcome outcome;
  ++simulator::shared(page.runs);
  const uint32_t rules = simulator::shared(page.ruleCount);
  for (uint32_t i = 0; i < rules; ++i) {
    simulator::ModuleLoaderRule& rule = page.rules[i];
    if (!simulator::isHit(++simulator::shared(rule.matches), rule.from, rule.count)) continue;
    ++simulator::shared(rule.hits);
    switch (static_cast<FaultAction>(rule.action)) {
      case FaultAction::missing:
        outcome.exitStatus = kCommandNotFound;
        break;
      case FaultAction::error:
        outcome.exitStatus = static_cast<int>(rule.value);
        break;
      case FaultAction::length:
        outcome.length = rule.value;
        break;
      case FaultAction::delay:
        outcome.delayMs += rule.value;
        break;
      default:
        break;
    }
  }
  return outcome;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3 || std::strcmp(argv[1], "-s") != 0) {
    std::fprintf(stderr, "usage: vmkload_mod -s MODULE\n");
    return 1;
  }
  if (std::strcmp(argv[2], "veltrane") != 0) {
    std::fprintf(stderr, "vmkload_mod: %s: module not found\n", argv[2]);
    return 1;
  }

  ModuleLoaderPage* page = openPage();
  const Outcome outcome = page != nullptr ? meetRules(*page) : Outcome{};
  std::this_thread::sleep_for(std::chrono::milliseconds(outcome.delayMs));
  if (outcome.exitStatus) {
    if (*outcome.exitStatus == kCommandNotFound) std::fprintf(stderr, "sh: 1: vmkload_mod: not found\n");
    return *outcome.exitStatus;
  }
  std::string text = moduleInformation(page != nullptr && simulator::shared(page->oemDriver) != 0);
  if (outcome.length) text.resize(std::min<size_t>(text.size(), *outcome.length));
  std::fputs(text.c_str(), stdout);
  return 0;
}
