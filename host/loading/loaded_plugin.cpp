// Loads a plugin as the daemon does, after a look at the file that tells the reason when it cannot be used.
#include "host/loading/loaded_plugin.h"

#include <dlfcn.h>

#include "host/loading/elf_file.h"
#include "host/loading/loadable_file.h"
#include "host/loading/string_layout.h"
#include "host/refusal.h"

namespace host {

/// Refuses what must not be loaded, or not be called, before either happens.
static void refuseByContent(const std::string& file) {
  const auto layout = stringLayoutOf(undefinedSymbols(readLoadable("plugin", file)));
  if (!layout || *layout == ownStringLayout()) return;
  throw Refusal("plugin " + file + ": it is built for the " + nameOf(*layout) + " string layout, this host for the " +
                nameOf(ownStringLayout()) + " one (see README.md, \"Old hosts\")");
}

PluginLibrary::PluginLibrary(const std::string& file) : file_(file) {
  const std::string path = loadablePath(file);
  refuseByContent(path);
  library_.reset(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL));
  if (library_ == nullptr) throw Refusal("plugin " + path + " cannot be loaded: " + dlerror());
  entry_ = reinterpret_cast<DmuPluginInitFunction>(dlsym(library_.get(), kDmuEntryPoint));
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
  return programFolder() + "dmu-veltrane-plugin.so";
}

}  // namespace host
