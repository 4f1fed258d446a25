// A controller whose replies follow the input: as a well-behaved one would answer where the input is 0, with limits,
// lengths, offsets and counts at and beyond their bounds where it is not. What is written to it is held against what it
// answered before.
#pragma once

#include <vector>

#include "fuzz/input.h"
#include "simulator/command_decoder.h"

namespace fuzz {

class Controller {
 public:
  explicit Controller(Input& input);

  /// Answers one pass-through command.
  /// @param status  the driver's status, when 0 is returned
  /// @return the management call's code
  int32_t answer(const simulator::wire::PassthruRecord& record, uint32_t& status);

 private:
  using Bytes = std::vector<uint8_t>;

  [[nodiscard]] Bytes reply(const simulator::DecodedCommand& command);
  void identifyController(Bytes& reply);
  void identifyLogicalDevice(Bytes& reply);
  void senseConfiguration(Bytes& reply);
  void identifyPhysicalDevice(Bytes& reply);
  void senseBlinkDriveLed(Bytes& reply);
  void senseCacheConfiguration(Bytes& reply);
  void reportLogicalLuns(Bytes& reply);
  void reportPhysicalLuns(Bytes& reply);

  Input& input_;
  uint16_t maxPhysicalDevices_;
  uint16_t maxDrivesPerLogicalUnit_;
  uint16_t maxLogicalDrives_;
  bool hasExtendedBlinkArray_;
  uint32_t volumes_;
  uint32_t drives_;
  uint32_t driveIndex_ = 0;  ///< that the command asks about
  Bytes sensed_;             ///< what the last command that read left in the caller's buffer
};

}  // namespace fuzz
