// A controller whose replies follow the input: as a well-behaved one would answer where the input is 0, with limits,
// lengths, offsets and counts at and beyond their bounds where it is not. What is written to it is held against what it
// answered before.
#pragma once

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
  /// The caller's buffer, which it is written to.
  struct Reply {
    uint8_t* bytes;
    uint32_t size;
  };

  void answer(const simulator::DecodedCommand& command, Reply reply);
  void identifyController(Reply reply);
  void identifyLogicalDevice(Reply reply);
  void senseConfiguration(Reply reply);
  void identifyPhysicalDevice(Reply reply);
  void senseBlinkDriveLed(Reply reply);
  void senseCacheConfiguration(Reply reply);
  /// Of a report's list, in bytes: so much has to be allocated for it.
  [[nodiscard]] uint32_t listLength(uint32_t good);
  void reportLogicalLuns(Reply reply);
  void reportPhysicalLuns(Reply reply);

  Input& input_;
  bool isLarge_;  ///< many devices, lists and limits of any length
  uint16_t maxPhysicalDevices_;
  uint16_t maxDrivesPerLogicalUnit_;
  uint16_t maxLogicalDrives_;
  bool hasExtendedBlinkArray_;
  uint32_t volumes_;
  uint32_t drives_;
  uint32_t driveIndex_ = 0;  ///< that the command asks about
  uint32_t sensedSize_ = 0;
};

}  // namespace fuzz
