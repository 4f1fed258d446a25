// What the plugin asks of the process it is loaded into: memory, the trace file, the lock, the clock, disk nodes, the
// module loader and the management library. All of it comes by here, where it is steered, recorded, made to fail and
// counted. The calls of everybody else go straight to the libraries.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <functional>
#include <optional>
#include <scsi/sg.h>
#include <string>
#include <vector>

/// One call of the plugin.
struct PluginCall {
  /// The C library's name, "new", a command's name as FaultRule::call has it, or init, destroy, query.
  const char* name = nullptr;
  size_t size = 0;  ///< bytes of an allocation
  size_t step = 0;  ///< SteeredCalls::step at that time

  [[nodiscard]] bool is(const char* other) const;
  [[nodiscard]] bool isAllocation() const;  ///< new, malloc or memalign
  [[nodiscard]] bool isOfDriver() const;    ///< of the management library
};

/// What becomes of the plugin's calls. Everything unset goes to the C library and the simulated host.
struct SteeredCalls {
  std::optional<int64_t> now;                             ///< what time and gettimeofday answer, in seconds
  bool traceOn = false;                                   ///< whether the trace file exists
  std::string traceFile;                                  ///< where the trace goes instead of into takeTrace
  bool runModuleLoader = false;                           ///< whether that command runs, or says nothing
  std::function<int(sg_io_hdr&)> diskAnswer;              ///< answers SG_IO in place of the simulated disk
  std::function<FILE*()> moduleLoader;                    ///< gives its output in place of the command
  std::function<int32_t(uint32_t, void* const*)> driver;  ///< answers a callback, by its parameters, in its place
  std::function<bool(const char*)> fails;   ///< decides by its name whether a call fails, in place of failAt
  std::function<void()> whileTracing;       ///< called while a line is being written
  std::function<void(const char*)> before;  ///< called with a command's name before it goes to the driver

  size_t filled = size_t{1} << 19;  ///< bytes of a new block that are no zeros: all of a snapshot or a report
  size_t keptSize = 0;  ///< not 0: given back, blocks of this size wait for the next who wants one (a sanitizer maps
                        ///< and unmaps each large block, which takes longer than all else that a fuzz target does)

  size_t misaligned = 0;  ///< calls of the plugin with a stack, or for the driver a buffer, not aligned to 16 bytes

  bool recording = false;        ///< what follows works while it is set, and for one thread at a time
  std::vector<PluginCall> made;  ///< the calls so far
  size_t step = 0;               ///< noted in each call
  size_t failAt = SIZE_MAX;      ///< number of the call that fails, from 0
  bool failLater = false;        ///< and those like it that follow: by name, or every allocation
  bool noMemory = false;         ///< every allocation fails
  int32_t failCode = 0;          ///< what a failing call returns, or its errno
  timespec lockDeadline{};       ///< what taking the lock was last given
  int openFlags = 0;             ///< how a node was last opened
  size_t alignment = 0;          ///< what memalign was last asked for
  uint32_t failStatus = 0;       ///< not 0: a call of the driver succeeds instead, with this status of the driver
};
extern SteeredCalls hostCalls;

/// What the plugin has taken and not given back, since it was loaded. To give something back twice ends the process:
/// the allocator sees to that.
struct Held {
  size_t blocks = 0;
  int files = 0;  ///< from fopen and popen
  int channels = 0;
};
Held heldByPlugin();

/// Blocks that texts of the plugin hold for good: the old string layout keeps even a short constant in one.
inline constexpr size_t kTextsForGood = _GLIBCXX_USE_CXX11_ABI ? 0 : 1;

/// Finds out which addresses are the plugin's, and counts anew.
void watchPlugin();
void forgetPlugin();

/// Takes what was traced, with every "NAME:LINE " made "NAME: ": the text of one write after the other.
std::string takeTrace();

/// Takes the same write by write, as it was written.
std::vector<std::string> takeTraceWrites();
