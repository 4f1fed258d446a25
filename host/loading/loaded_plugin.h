// The plugin as a loaded library: checked before its first call, reached through its descriptor, unloaded at the end.
#pragma once

#include <memory>
#include <string>

#include <dmu/plugin.h>

namespace host {

/// A plugin's library with its entry point, which was not called yet.
class PluginLibrary {
 public:
  /// Loads a plugin. A file that is no shared object of this program's class, that is cut, or that is built for the
  /// other string layout is refused before it is loaded.
  ///
  /// @param file  path of the library
  /// @throws Refusal  with the file and the reason
  explicit PluginLibrary(const std::string& file);

  /// DmuPluginInit; valid as long as this object.
  [[nodiscard]] DmuPluginInitFunction entry() const { return entry_; }
  [[nodiscard]] const std::string& file() const { return file_; }

 private:
  struct Unload {
    void operator()(void* library) const;
  };

  std::string file_;
  std::unique_ptr<void, Unload> library_;
  DmuPluginInitFunction entry_ = nullptr;
};

class LoadedPlugin {
 public:
  /// Loads a plugin and asks for its descriptor.
  ///
  /// @param file  path of the library
  /// @throws Refusal  as for PluginLibrary, or the descriptor cannot be used
  explicit LoadedPlugin(const std::string& file);

  /// Valid as long as this object.
  [[nodiscard]] const DmuPluginDescriptor& descriptor() const { return *descriptor_; }
  [[nodiscard]] const std::string& file() const { return library_.file(); }

 private:
  PluginLibrary library_;
  const DmuPluginDescriptor* descriptor_ = nullptr;
};

/// Why a host cannot use a descriptor; empty when it can.
[[nodiscard]] std::string whyUnusable(const DmuPluginDescriptor* descriptor);

/// The plugin that lies beside this program.
[[nodiscard]] std::string defaultPluginFile();

}  // namespace host
