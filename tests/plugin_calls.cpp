// The record of the plugin's calls, which of them fail, and the trace.
#include "tests/plugin_calls.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <link.h>
#include <memory>
#include <mutex>
#include <utility>

#include "simulator/command_decoder.h"
#include "tests/interception.h"

SteeredCalls hostCalls;

namespace {

uintptr_t pluginBegin = 0;
uintptr_t pluginEnd = 0;

int notePluginRange(dl_phdr_info* object, size_t /*size*/, void* /*unused*/) {
  if (std::strstr(object->dlpi_name, "dmu-veltrane-plugin") == nullptr) return 0;
  pluginBegin = object->dlpi_addr;
  for (int i = 0; i < object->dlpi_phnum; ++i) {
    const auto& segment = object->dlpi_phdr[i];
    pluginEnd = std::max<uintptr_t>(pluginEnd, object->dlpi_addr + segment.p_vaddr + segment.p_memsz);
  }
  return 1;
}

bool areAlike(const PluginCall& a, const PluginCall& b) {
  return a.is(b.name) || (a.isAllocation() && b.isAllocation());
}

std::mutex traceMutex;
std::vector<std::string> traceWrites;

ssize_t writeTrace(void* write, const char* text, size_t size) {
  if (hostCalls.whileTracing) hostCalls.whileTracing();
  static_cast<std::string*>(write)->append(text, size);
  return static_cast<ssize_t>(size);
}

int closeTrace(void* write) {
  const std::unique_ptr<std::string> text(static_cast<std::string*>(write));
  const std::lock_guard lock(traceMutex);
  traceWrites.push_back(std::move(*text));
  return 0;
}

}  // namespace

bool interception::fromPlugin(const void* caller) {
  const auto address = reinterpret_cast<uintptr_t>(caller);
  return address >= pluginBegin && address < pluginEnd;
}

void interception::noteStack(const void* caller, const void* frame) {
  constexpr uintptr_t kSaved = 2 * sizeof(void*);  // return address and frame pointer
  if (fromPlugin(caller) && (reinterpret_cast<uintptr_t>(frame) + kSaved) % 16 != 0) ++hostCalls.misaligned;
}

bool interception::fails(const char* name, size_t size) {
  if (hostCalls.fails) return hostCalls.fails(name);
  if (!hostCalls.recording) return false;
  auto& made = hostCalls.made;
  made.push_back({name, size, hostCalls.step});
  if (hostCalls.noMemory && made.back().isAllocation()) return true;
  const size_t number = made.size() - 1;
  return number == hostCalls.failAt ||
         (hostCalls.failLater && number > hostCalls.failAt && areAlike(made.back(), made[hostCalls.failAt]));
}

FILE* interception::openTrace(const char* mode) {
  if (std::strcmp(mode, "aw") != 0) return nullptr;
  if (!hostCalls.traceFile.empty())
    return next<FILE*(const char*, const char*)>("fopen")(hostCalls.traceFile.c_str(), mode);
  FILE* file = fopencookie(new std::string, "w", {nullptr, writeTrace, nullptr, closeTrace});
  setvbuf(file, nullptr, _IONBF, 0);
  return file;
}

bool PluginCall::is(const char* other) const {
  return std::strcmp(name, other) == 0;
}

bool PluginCall::isAllocation() const {
  return is("new") || is("malloc") || is("memalign");
}

bool PluginCall::isOfDriver() const {
  const auto& commands = simulator::kCommands;
  return is("init") || is("destroy") || is("query") ||
         std::any_of(std::begin(commands), std::end(commands), [&](const auto& command) { return is(command.name); });
}

Held heldByPlugin() {
  return {interception::blocksOfPlugin(), interception::openFiles, interception::openChannels};
}

void watchPlugin() {
  dl_iterate_phdr(notePluginRange, nullptr);
  interception::forgetBlocks();
  interception::openFiles = interception::openChannels = 0;
}

void forgetPlugin() {
  pluginBegin = pluginEnd = 0;
}

std::vector<std::string> takeTraceWrites() {
  const std::lock_guard lock(traceMutex);
  return std::exchange(traceWrites, {});
}

std::string takeTrace() {
  std::string all;
  for (const std::string& write : takeTraceWrites()) {
    const size_t colon = write.find(':');
    all.append(write, 0, colon + 1).append(write, std::min(write.find(' ', colon), write.size()));
  }
  return all;
}
