// What an operation was seen to ask of the platform. Made once more with nothing between them, these calls are the
// operation's floor: what it would take if the plugin's own work took no time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "simulator/wire.h"

namespace bench {

enum class CallKind : uint8_t {
  existenceTest,
  clock,
  timeOfDay,
  lock,
  openChannel,
  closeChannel,
  listInstances,
  command,
  openPipe,
  readLine,
  closePipe,
  openNode,
  inquiry,
  closeNode,
};

class Observation {
 public:
  /// Makes the calls once more: the same ones in the same order, with buffers of the same sizes.
  void replay() const;

  [[nodiscard]] size_t count(CallKind kind) const;

  void add(CallKind kind);
  void addCommand(uint32_t instance, const simulator::wire::PassthruRecord& record);
  void addNode(const char* path);
  void addAllocation(size_t bytes);

  [[nodiscard]] size_t allocations() const { return allocations_; }
  [[nodiscard]] size_t allocatedBytes() const { return allocatedBytes_; }

 private:
  /// Calls of one kind that follow each other.
  struct Run {
    CallKind kind;
    size_t length;
  };
  struct Command {
    uint32_t instance;
    simulator::wire::PassthruRecord record;
  };

  std::vector<Run> runs_;
  std::vector<Command> commands_;
  std::string node_;
  size_t allocations_ = 0;
  size_t allocatedBytes_ = 0;
};

}  // namespace bench
