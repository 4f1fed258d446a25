// The plugin as a loaded library: checked before its first call, reached through its descriptor, unloaded at the end.
#pragma once

#include <memory>
#include <string>

#include <dmu/plugin.h>

namespace host {

class LoadedPlugin {
 public:
  /// Loads a plugin and asks for its descriptor. A file of the other string layout is refused before it is loaded.
  ///
  /// @param file  path of the library
  /// @throws Refusal  with the file and the reason
  explicit LoadedPlugin(const std::string& file);

  /// Valid as long as this object.
  [[nodiscard]] const DmuPluginDescriptor& descriptor() const { return *descriptor_; }
  [[nodiscard]] const std::string& file() const { return file_; }

 private:
  struct Unload {
    void operator()(void* library) const;
  };

  std::string file_;
  std::unique_ptr<void, Unload> library_;
  const DmuPluginDescriptor* descriptor_ = nullptr;
};

/// The plugin that lies beside this program.
[[nodiscard]] std::string defaultPluginFile();

}  // namespace host
