// A driver in the same process that answers at once: its controllers' replies are laid out when the driver is made, and
// answering a command copies one of them. Settings that are written are accepted and not kept.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "simulator/wire.h"

namespace bench {

using simulator::wire::PassthruRecord;

/// What a controller lists: local volumes, then drives. The drives are dealt out to the volumes, as many to each, as
/// masked members; what is left over (all of them where there are no volumes) is exposed.
struct Shape {
  uint32_t entries;
  uint32_t volumes;

  bool operator==(const Shape&) const = default;

  [[nodiscard]] uint32_t drives() const { return entries - volumes; }
  [[nodiscard]] uint32_t membersPerVolume() const { return volumes == 0 ? 0 : drives() / volumes; }
  [[nodiscard]] uint32_t maskedDrives() const { return volumes * membersPerVolume(); }
};

/// One controller and its replies.
class InstantController {
 public:
  explicit InstantController(Shape shape);

  /// Fills the command's buffer, of whose size as much as the reply has.
  void answer(const PassthruRecord& record) const;

 private:
  using Reply = std::vector<uint8_t>;

  /// What identify physical device tells of one drive and of no other.
  struct Drive {
    char serial[40];
    char connector[64];
    uint8_t box;
    uint8_t bay;
  };

  void answerIdentifyDrive(const PassthruRecord& record, uint32_t index) const;

  Reply identity_;
  Reply logicalLuns_;
  Reply physicalLuns_;
  Reply anyDrive_;
  std::vector<Drive> drives_;
  std::vector<Reply> volumes_;         // identify logical device
  std::vector<Reply> configurations_;  // sense logical drive configuration
  Reply blinkBuffer_;
  Reply parameters_;
  Reply cacheConfiguration_;
};

/// The driver that the process's management calls reach. At most ten controllers, named as hbaName says.
class InstantDriver {
 public:
  explicit InstantDriver(const std::vector<Shape>& shapes);

  void listInstances(simulator::wire::InstanceList& list) const { list = instances_; }
  void command(uint32_t instance, const PassthruRecord& record) const { controllers_[instance].answer(record); }

 private:
  std::vector<InstantController> controllers_;
  simulator::wire::InstanceList instances_{};
};

std::string hbaName(uint32_t instance);

/// Serial number of a drive, by its index on its controller.
std::string serialNumber(uint32_t drive);

}  // namespace bench
