// The host's management library, libvmkmgmt.so: the simulated host's or a real one's. The program loads it at run time,
// ahead of every plugin, so that one program serves on either host, and starts where there is none.
#pragma once

#include <string>

#include "simulator/simulated_host.h"

namespace host {

/// What a run says about the library that it wants.
struct LibraryWish {
  std::string file;          ///< the library itself; empty: not named
  std::string simulatedFor;  ///< what needs the simulated host ("--topology"); empty: nothing does
  bool isReplay = false;     ///< it is not called
};

class ManagementLibrary {
 public:
  /// Loads the library that was named; else the one of this program's own build or installation; else the system's,
  /// that is what the loader finds by the bare name. Where both of these are there and differ, the run has to say which
  /// it means: an LED of the other host would stay dark, or blink. It stays loaded until the process ends; plugins find
  /// it by its name, and calls that the program passes on go there.
  ///
  /// @throws Refusal  there is none, two, or it cannot be used
  explicit ManagementLibrary(const LibraryWish& wish);

  [[nodiscard]] const std::string& file() const { return file_; }

  /// The simulated host in it; null: it is a real host's.
  [[nodiscard]] simulator::SimulatedHost* simulatedHost() const { return simulatedHost_; }

  /// "FILE (simulated host)" or "FILE (real host)".
  [[nodiscard]] std::string text() const;

 private:
  std::string file_;
  simulator::SimulatedHost* simulatedHost_ = nullptr;
};

}  // namespace host
