// The simulated host: everything that the plugin needs of a hypervisor host, modelled so that the whole system runs on
// any Linux machine. This header is its own interface, for tests and for the reference host; the plugin knows nothing
// of it. It lives in libvmkmgmt.so beside the stand-ins of the management calls and the disk nodes.
//
// A model is loaded from a topology file (docs/topology.md) or handed over as a Topology. Without either, the built-in
// topology is used. All members may be called from any thread.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace simulator {

/// The controller's PCI identity, as the host hands it to the plugin.
struct PciIdentity {
  bool isPciDevice = true;
  uint16_t segment = 0;
  uint8_t bus = 0;
  uint8_t slot = 0;
  uint8_t function = 0;
  uint16_t vendorId = 0;
  uint16_t subVendorId = 0;
  uint16_t deviceId = 0;
  uint16_t subDeviceId = 0;
  uint32_t physicalSlot = 0;
};

/// A physical drive. Its BMIC drive index is (bus - 1) * 256 + target.
struct Drive {
  uint8_t bus = 1;       ///< 1 to 63
  uint8_t target = 0;    ///< 0 to 255
  bool exposed = false;  ///< the host sees the drive as a disk; otherwise it is masked
  bool listed = true;    ///< the controller reports it; otherwise it answers only those who ask for it by its index
  std::string device;    ///< name of an exposed drive's node below "/dev/disks/"; empty: it has none
  std::string serial;    ///< up to 40 characters
  std::optional<std::string> nodeSerial;  ///< what its node answers instead, up to 60 characters
  std::string port;                       ///< connector name, up to 64 characters
  uint8_t box = 0;
  uint8_t bay = 0;
  uint8_t currentTemperature = 0;  ///< degrees Celsius
  uint8_t maximumTemperature = 0;  ///< degrees Celsius
  std::array<uint8_t, 8> wwid{};
  uint8_t deviceType = 0;  ///< peripheral device type in the extended report
};

/// How a volume is laid out, in the words of people; RAID 10 is told from RAID 1 by the number of members.
enum class RaidLevel { raid0, raid1, raid10, raid4, raid5, raid6 };

/// A logical volume.
struct Volume {
  uint32_t number = 0;  ///< logical drive number, 30 bits
  std::string device;   ///< name of its node below "/dev/disks/"; empty: it has none
  std::string serial;   ///< what its node answers as unit serial number
  std::string label;    ///< up to 64 characters
  RaidLevel raidLevel = RaidLevel::raid0;
  std::vector<uint32_t> members;  ///< BMIC drive indexes
  bool external = false;
  uint8_t externalBoxId = 0;
  uint32_t logicalDriveId = 0;
  std::array<uint8_t, 16> uniqueId{};
  bool cacheOn = true;
};

struct Controller {
  std::string hba;  ///< instance name, up to 155 characters
  PciIdentity pci;
  uint16_t maxPhysDevicesSupported = 0;
  uint16_t maxPhysDrivesPerLogicalUnit = 0;
  uint16_t maxLogicalDrivesSupported = 0;
  bool extendedBlinkArray = false;
  bool driveCacheOn = false;  ///< bit 0 of the controller parameter driveConfigFlags
  std::vector<Drive> drives;
  std::vector<Volume> volumes;  ///< local ones first
};

/// What a fault does to the calls that it matches.
enum class FaultAction {
  error,         ///< the management call itself (or open, ioctl) fails; value: its code or errno
  driverStatus,  ///< the driver reports a status; value: the status
  length,        ///< the reply is cut; value: bytes that arrive, the rest of the caller's buffer stays as it was
  set,           ///< bytes are put into the reply at `offset`
  delay,         ///< the call takes longer; value: milliseconds
  vanish,        ///< the drive or volume of the rule is gone from the first match on
  missing        ///< load only: the module loader command is not there
};

/// One fault rule. Counting begins at 1 with the first call that matches `call` and the names given.
struct FaultRule {
  std::string call;                ///< one of kFaultCalls
  std::string controller;          ///< HBA name; empty: every controller
  std::optional<uint32_t> drive;   ///< BMIC drive index; only calls about this drive (for vanish: what vanishes)
  std::optional<uint32_t> volume;  ///< logical drive number; only calls about this volume (for vanish: what vanishes)
  std::string device;              ///< open and ioctl: node name; empty: every node
  uint32_t from = 1;               ///< first matching call that is hit
  uint32_t count = UINT32_MAX;     ///< how many calls are hit from there
  FaultAction action = FaultAction::error;
  uint32_t value = 0;          ///< error: the bits of an int32_t
  uint32_t offset = 0;         ///< set: where in the reply
  std::vector<uint8_t> bytes;  ///< set: what is put there
  std::string where;           ///< where the rule was written ("FILE: /faults/0"), for reports
};

/// The names that FaultRule::call takes: the twelve commands, every command, and the host's other calls.
inline constexpr const char* kFaultCalls[] = {"identifyController",
                                              "identifyLogicalDevice",
                                              "senseConfiguration",
                                              "identifyPhysicalDevice",
                                              "reportLogicalLuns",
                                              "reportPhysicalLuns",
                                              "senseBlinkDriveLed",
                                              "blinkDriveTrayLed",
                                              "senseControllerParameters",
                                              "setControllerParameters",
                                              "senseCacheConfiguration",
                                              "setCacheConfiguration",
                                              "any",
                                              "open",
                                              "ioctl",
                                              "init",
                                              "query",
                                              "load"};

struct FaultReport {
  FaultRule rule;
  uint32_t hits = 0;
};

/// A disk of another driver on the same host, or one that none of the simulated controllers presents.
struct ForeignDisk {
  std::string device;
  std::string serial;
  std::string hba;
  uint32_t channel = 0;
  uint32_t target = 0;
  uint32_t lun = 0;
  std::string driver;
  PciIdentity pci{.isPciDevice = false};
};

struct Topology {
  bool oemDriver = false;
  std::vector<Controller> controllers;  ///< at most 10; the position is the instance number
  std::vector<ForeignDisk> foreignDisks;
  std::vector<std::string> diskOrder;  ///< nodes in the order in which the host lists its disks; others come behind
  std::vector<FaultRule> faults;
};

/// A disk as the simulated host's kernel presents it: what the daemon would pass when it opens a handle.
struct HostDisk {
  std::string device;
  std::string hba;
  uint32_t channel = 0;
  uint32_t target = 0;
  uint32_t lun = 0;
  std::string driver;
  PciIdentity pci;
};

/// One drive or volume as the simulated hardware has it now.
struct DriveState {
  Drive drive;
  bool blinking = false;
  uint32_t blinkTenthsLeft = 0;  ///< tenths of a second
  bool present = true;           ///< false once it has vanished
};
struct VolumeState {
  Volume volume;  ///< cacheOn as it is now
  bool present = true;
};
struct ControllerState {
  std::string hba;
  bool driveCacheOn = false;
  std::vector<DriveState> drives;
  std::vector<VolumeState> volumes;
};

/// One pass-through command as it reached the driver.
struct SentCommand {
  uint32_t instance = 0;
  std::array<uint8_t, 86> record{};  ///< as the caller passed it
  std::vector<uint8_t> data;         ///< data to the controller; empty for a command that reads
  int32_t result = 0;                ///< of the management call
  uint32_t driverStatus = 0;
};

/// What the driver and the kernel were asked to do since the last reset.
struct CallCounts {
  uint32_t init = 0;
  uint32_t destroy = 0;
  uint32_t query = 0;
  uint32_t passthru = 0;
  uint32_t load = 0;   ///< runs of the module loader command
  uint32_t opens = 0;  ///< disk nodes opened
  uint32_t ioctls = 0;
  uint32_t closes = 0;
  uint32_t openChannels = 0;  ///< channels open now
  uint32_t openNodes = 0;     ///< disk nodes open now
};

/// What a program is about to do with a state file.
enum class StateUse { look, change };

class SimulatedHost {
 public:
  /// Replaces the model by the one in a topology file. On failure the model stays as it was.
  /// @return nothing, or what is wrong: "FILE: JSON PATH: REASON"
  virtual std::optional<std::string> loadFile(const std::string& file) = 0;

  /// The same for the text of a topology; `name` stands for the file in messages.
  virtual std::optional<std::string> loadText(const std::string& json, const std::string& name) = 0;

  /// Replaces the model by one that need not be consistent: for tests of what a bad controller reports.
  virtual void load(const Topology& topology) = 0;

  /// @return why the topology of DMU_TOPOLOGY cannot be used, as for a file; nothing once another one was loaded
  [[nodiscard]] virtual std::optional<std::string> whyUnusable() const = 0;

  /// The topology as loaded, and the JSON text of the built-in one.
  [[nodiscard]] virtual Topology topology() const = 0;
  [[nodiscard]] virtual std::string builtInTopology() const = 0;

  /// Keeps the state of the hardware (blinking, caches, parameters) in a file from now on: reads it when it exists,
  /// replaces it as a whole at every change. An empty name ends that.
  ///
  /// Who is about to change it holds FILE.lock from before it is read until another file is used or the process ends,
  /// waits for others who do, and writes it once at the beginning, so that what cannot be written is said before
  /// anything is switched. Who only looks waits for nobody; a change all the same takes the lock and reads again first.
  ///
  /// @return nothing, or what is wrong with the file
  virtual std::optional<std::string> useStateFile(const std::string& file, StateUse use) = 0;

  [[nodiscard]] virtual std::vector<HostDisk> disks() const = 0;
  [[nodiscard]] virtual std::vector<ControllerState> state() const = 0;

  virtual void addFault(const FaultRule& rule) = 0;
  virtual void clearFaults() = 0;
  [[nodiscard]] virtual std::vector<FaultReport> faults() const = 0;

  /// Commands are kept from `recordCommands(true)` on; taking them empties the list.
  virtual void recordCommands(bool on) = 0;
  virtual std::vector<SentCommand> takeCommands() = 0;
  [[nodiscard]] virtual CallCounts counts() const = 0;
  virtual void resetCounts() = 0;

  /// The hardware's clock in tenths of a second since the epoch; null restores the machine's own.
  virtual void setClock(std::function<uint64_t()> tenths) = 0;

 protected:
  ~SimulatedHost() = default;
};

}  // namespace simulator

/// The process's simulated host. Exported by libvmkmgmt.so under this name: a program that also runs on a real host
/// looks it up at run time.
extern "C" simulator::SimulatedHost* dmuSimulatedHost();
