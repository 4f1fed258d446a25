// Answers the calls of a run as the machine does and writes each into a recording.
#pragma once

#include <map>
#include <mutex>
#include <optional>

#include "host/disks/host_disk.h"
#include "host/interception/host_calls.h"
#include "host/recording/anonymizer.h"
#include "host/recording/calls.h"
#include "host/recording/command_outputs.h"
#include "host/recording/recording_file.h"

namespace host::recording {

/// What a recording is to be like.
struct Manner {
  bool repeats = false;      ///< as for firstLine
  bool isAnonymous = false;  ///< nothing else is ever written to the file
};

/// Takes the process's calls as long as it lives. May be called by several threads.
class Recorder final : public HostCalls {
 public:
  /// @param file, others  as for RecordingFile
  /// @throws Refusal      it is refused, or cannot be written
  Recorder(const std::string& file, const std::vector<RunFile>& others, const Manner& manner);
  ~Recorder() override;

  /// Writes down what the host's list of disks is.
  void disks(const std::vector<HostDisk>& disks);

  /// Writes the end of the recording; nothing may be recorded after it.
  /// @return nothing, or why the file is not whole: "FILE: REASON"
  [[nodiscard]] std::optional<std::string> finish();

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
  /// The number of a channel in the recording; 0 for one that is not open.
  uint32_t numberOf(vmk_MgmtUserHandle* channel);
  /// The channel is about to be closed: its address may be another's then.
  void forget(vmk_MgmtUserHandle* channel);

  /// As it is to be in the file.
  [[nodiscard]] Json lineFor(AnyCall call, uint32_t channel) const;
  void write(AnyCall call, uint32_t channel = 0);

  HostCalls& machine_ = nextCalls();
  std::mutex mutex_;
  RecordingFile file_;
  std::optional<Anonymizer> anonymizer_;
  std::map<vmk_MgmtUserHandle*, uint32_t> channels_;
  uint32_t lastChannel_ = 0;
  CommandOutputs outputs_;
};

}  // namespace host::recording
