// Answers the calls of a run from a recording. Nothing of the management library, the driver or the hardware is called.
#pragma once

#include <functional>
#include <mutex>
#include <set>
#include <string>

#include "host/disks/host_disk.h"
#include "host/recording/command_outputs.h"
#include "host/recording/recording.h"

namespace host::recording {

/// Takes the process's calls as long as it lives. May be called by several threads.
class Replay final : public HostCalls {
 public:
  /// @param lacksAnswer  called once, with the first request that the recording has no answer to: whatever is made of
  ///                     it from there on is not to be believed
  explicit Replay(Recording recording, std::function<void(const std::string&)> lacksAnswer = {});
  ~Replay() override;

  /// The host's disks.
  /// @throws Refusal  the recorded run did not ask for them
  [[nodiscard]] std::vector<HostDisk> disks();

  uint32_t openChannel(const void* signature, uint64_t reserved, vmk_MgmtUserHandle** channel) override;
  int32_t closeChannel(vmk_MgmtUserHandle* channel) override;
  int32_t invoke(const CallbackCall& call) override;
  int openNode(const NodeOpening& opening) override;
  int requestOfNode(const std::string& device, int descriptor, unsigned long request, void* argument) override;
  int closeNode(const std::string& device, int descriptor) override;
  FILE* startCommand(const char* command, const char* mode) override;
  int endCommand(FILE* output) override;
  time_t now() override;

 private:
  /// The answer to a request; null, and noted, when there is none.
  template <typename Call>
  const typename Call::Answer* answerTo(const typename Call::Request& request);
  void miss(const std::string& what);
  [[nodiscard]] bool isOpen(vmk_MgmtUserHandle* channel);

  std::mutex mutex_;
  Recording recording_;
  std::function<void(const std::string&)> lacksAnswer_;  // empty once it was called
  std::multiset<uintptr_t> channels_;                    // numbers of the open ones, which are their handles
  std::optional<time_t> clock_;                          // as it was asked for last
  CommandOutputs outputs_;
};

}  // namespace host::recording
