// The plugin that every call is passed on to.
#pragma once

#include <dmu/plugin.h>

namespace hostcheck {

/// Loads the real plugin: the one that was named, else the one beside this library. Says on standard error why it
/// cannot.
/// @return its entry point; null: there is none
[[nodiscard]] DmuPluginInitFunction loadRealPlugin();

/// Its descriptor, once useRealPlugin has been called.
[[nodiscard]] const DmuPluginDescriptor& realPlugin();
void useRealPlugin(const DmuPluginDescriptor* descriptor);

/// The file that is loaded, or is to be.
[[nodiscard]] const char* realPluginFile();

/// Called when this library is loaded, while the host's folder and environment are what its user gave.
void findRealPlugin();

void unloadRealPlugin();

}  // namespace hostcheck
