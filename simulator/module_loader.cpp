// Shared page and environment of the module loader command.
#include "simulator/module_loader.h"

#include <cstdlib>
#include <dlfcn.h>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace simulator {
namespace {

ModuleLoaderPage* createPage() {
  static ModuleLoaderPage withoutSharedMemory{};
  const int file = memfd_create("module-loader", MFD_CLOEXEC);
  if (file < 0 || ftruncate(file, sizeof(ModuleLoaderPage)) != 0) return &withoutSharedMemory;
  void* page = mmap(nullptr, sizeof(ModuleLoaderPage), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  if (page == MAP_FAILED) return &withoutSharedMemory;
  const std::string name = "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(file);
  setenv(kModuleLoaderVariable, name.c_str(), 1);
  return static_cast<ModuleLoaderPage*>(page);
}

void putOwnDirectoryOnPath() {
  Dl_info library{};
  if (dladdr(reinterpret_cast<void*>(&putOwnDirectoryOnPath), &library) == 0) return;
  char* file = realpath(library.dli_fname, nullptr);
  if (file == nullptr) return;
  std::string path = file;
  std::free(file);
  path.resize(path.rfind('/'));

  const char* before = std::getenv("PATH");
  const std::string rest = before != nullptr ? before : "/usr/bin:/bin";
  if ((rest + ":").starts_with(path + ":")) return;
  setenv("PATH", (path + ":" + rest).c_str(), 1);
}

}  // namespace

ModuleLoader& ModuleLoader::instance() {
  static ModuleLoader& loader = *new ModuleLoader;
  return loader;
}

ModuleLoader::ModuleLoader() : page_(createPage()) {
  putOwnDirectoryOnPath();
}

void ModuleLoader::setOemDriver(bool oem) {
  shared(page_->oemDriver) = oem ? 1 : 0;
}

void ModuleLoader::addRule(const FaultRule& rule) {
  const uint32_t position = shared(page_->ruleCount);
  if (position >= kMaxModuleLoaderRules) return;
  page_->rules[position] = {static_cast<uint32_t>(rule.action), rule.value, rule.from, rule.count, 0, 0};
  shared(page_->ruleCount) = position + 1;
}

void ModuleLoader::clearRules() {
  shared(page_->ruleCount) = 0;
}

uint32_t ModuleLoader::hits(uint32_t rule) const {
  return rule < kMaxModuleLoaderRules ? shared(page_->rules[rule].hits).load() : 0;
}

uint32_t ModuleLoader::runs() const {
  return shared(page_->runs);
}

void ModuleLoader::resetRuns() {
  shared(page_->runs) = 0;
}

}  // namespace simulator
