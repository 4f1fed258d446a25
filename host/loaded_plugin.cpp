// Loads a plugin as the daemon does, after a look at the file that tells the reason when it cannot be used.
#include "host/loaded_plugin.h"

#include <climits>
#include <dlfcn.h>
#include <unistd.h>

#include "host/elf_file.h"
#include "host/file_content.h"
#include "host/refusal.h"
#include "host/string_layout.h"

namespace host {

static std::string classText(int bits, const std::string& machine) {
  return std::to_string(bits) + "-bit " + machine;
}

static std::string ownClass() {
#ifdef __i386__
  return classText(32, "x86");
#else
  return classText(64, "x86-64");
#endif
}

/// Refuses what must not be loaded, or not be called, before either happens.
static void refuseByContent(const std::string& file) {
  std::string error;
  const auto content = readFile(file, error);
  if (!content) throw Refusal("plugin " + file + ": " + error);
  const auto identity = identifyElf(*content);
  if (!identity) throw Refusal("plugin " + file + ": it is no ELF file");
  if (const std::string built = classText(identity->bits, identity->machine); built != ownClass()) {
    throw Refusal("plugin " + file + ": it is built for " + built + ", this host is a " + ownClass() + " program");
  }
  if (isCut(*content)) throw Refusal("plugin " + file + ": the file is cut");
  const auto layout = stringLayoutOf(undefinedSymbols(*content));
  if (!layout || *layout == ownStringLayout()) return;
  throw Refusal("plugin " + file + ": it is built for the " + nameOf(*layout) + " string layout, this host for the " +
                nameOf(ownStringLayout()) + " one (see README.md, \"Old hosts\")");
}

PluginLibrary::PluginLibrary(const std::string& file) : file_(file) {
  // A name without a slash would be searched for in the system's library directories.
  const std::string path = file.find('/') == std::string::npos ? "./" + file : file;
  refuseByContent(path);
  library_.reset(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL));
  if (library_ == nullptr) throw Refusal("plugin " + path + " cannot be loaded: " + dlerror());
  entry_ = reinterpret_cast<DmuPluginInitFunction>(dlsym(library_.get(), "DmuPluginInit"));
  if (entry_ == nullptr) throw Refusal("plugin " + file + ": it does not export DmuPluginInit");
}

std::string whyUnusable(const DmuPluginDescriptor* descriptor) {
  if (descriptor == nullptr) return "DmuPluginInit returned no descriptor";
  const bool complete = descriptor->operationCount >= 6 && descriptor->getDeviceInfo && descriptor->setDriveLEDState &&
                        descriptor->cacheOn && descriptor->cacheOff && descriptor->getDeviceTemperature &&
                        descriptor->getDeviceLocation && descriptor->openDeviceV2 && descriptor->closeDevice;
  return complete ? "" : "its descriptor lacks an operation or an open or close function";
}

LoadedPlugin::LoadedPlugin(const std::string& file) : library_(file), descriptor_(library_.entry()()) {
  if (const std::string reason = whyUnusable(descriptor_); !reason.empty()) {
    throw Refusal("plugin " + file + ": " + reason);
  }
}

void PluginLibrary::Unload::operator()(void* library) const {
  dlclose(library);
}

std::string defaultPluginFile() {
  char program[PATH_MAX];
  const ssize_t length = readlink("/proc/self/exe", program, sizeof(program));
  const std::string path(program, length > 0 ? static_cast<size_t>(length) : 0);
  return path.substr(0, path.rfind('/') + 1) + "dmu-veltrane-plugin.so";
}

}  // namespace host
