// What the host must get of a scenario when something is lost on the way: an undisturbed run, and what each loss makes
// of it. Every loss is worked out from what the operations promise, not from how the plugin works.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tests/scenario.h"

inline constexpr char kOpenFails[] = "Failed to open controller.";
inline constexpr char kNotFound[] = "Device is not found.";
inline constexpr int32_t kInvalidData = 0x22;  // the driver's: settings that do not fit the controller

class ExpectedOutcomes {
 public:
  /// @param good  of an undisturbed run
  explicit ExpectedOutcomes(Outcomes good) : outcomes(std::move(good)) {}

  /// The operation fails and nothing is written or switched.
  void failOperation(size_t step, int32_t result, const std::string& text = "before");
  /// All operations on the volume or the disk fail.
  void failAll(size_t first, const std::string& text);
  /// The open fails, so there is no handle to call operations with.
  void loseHandle(size_t step);
  /// The disk cannot be found without its serial number.
  void loseSerialNumber();
  /// Nobody knows which drives are the volume's.
  void loseMap();
  /// The volume counts this many drives and has this RAID level. What is known of its drives stays.
  void setDriveCount(int32_t count, int32_t level = 1);
  /// The settings of the volume, or of the disk, are not changed.
  void refuseCache(size_t first, int32_t result);
  void refuseLed(size_t first) { failOperation(first + kLed, 0); }

  /// A member drive: 0 is drive 2, 1 is drive 10.
  void setMember(size_t member, const std::string& place, const std::string& temperatures);
  /// The drive is not among those that the controller lists: it is identified when its place is asked for.
  void loseMember(size_t member);
  /// No drive is listed.
  void loseDrives();
  /// The drive does not belong to the volume.
  void dropMember(size_t member);

  Outcomes outcomes;

 private:
  struct Member {
    std::string place;
    std::string temperatures;
    bool isListed = true;
  };
  void showMembers();

  std::vector<Member> members_ = {{"1I:1:2", "30/60"}, {"1I:1:10", "41/60"}};
};
