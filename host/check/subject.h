// The disks that a plugin is tried with.
#pragma once

#include <string>

#include "host/disks/device_handle.h"

namespace host::check {

enum class Kind { volume, externalVolume, disk };

/// A disk that the plugin serves, with its part of the model on the simulated host.
struct Subject {
  HostDisk disk;
  Kind kind = Kind::volume;
  const simulator::Controller* controller = nullptr;
  const simulator::Volume* volume = nullptr;
  const simulator::Drive* drive = nullptr;

  /// A call in words: "location of DEVICE".
  [[nodiscard]] std::string of(const std::string& operation) const { return operation + " of " + disk.device; }
};

/// A subject with a handle of its own.
struct OpenSubject : Subject {
  DeviceHandle handle;
};

}  // namespace host::check
