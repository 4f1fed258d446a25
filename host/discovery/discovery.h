// Finds the disks of a host by asking the controllers of the plugin's driver, where nobody wrote them down.
#pragma once

#include <string>
#include <vector>

#include "host/disks/host_disk.h"
#include "host/session.h"

namespace host {

/// A volume, drive or node that did not become a disk of its own, and why.
struct NotJoined {
  std::string what;  ///< "naa.5d00d00000000001", "vmhba2: drive serial:S7P3X1R4"
  std::string why;
};

struct Discovery {
  /// Controller by controller in the driver's order, volumes first. A volume without a node has its address for a name.
  /// PCI identities are not known.
  std::vector<HostDisk> disks;
  std::vector<NotJoined> left;
  std::vector<NotJoined> silent;  ///< controllers that did not answer: their disks are not known
};

/// The nodes of a host.
struct Nodes {
  std::vector<std::string> names;  ///< below /dev/disks/
  std::string error;               ///< why they could not be listed: "/dev/disks/: No such file or directory"
};

/// The names in a folder.
[[nodiscard]] Nodes nodesIn(const std::string& folder);

/// A name that no controller has: who asks it for anything gets the driver's list of controllers.
inline constexpr const char* kNoController = "(no such controller)";

/// Has the plugin read a controller, by operation 0 for a device that none has.
/// @return what the plugin says of it: at best that the device is not there
std::string askController(Session& session, const std::string& hba);

/// Reports each controller that did not answer.
void reportSilent(Report& report, const Discovery& found);

/// Asks with the plugin's operation 0 alone, and changes nothing: a handle of a controller that is not there brings the
/// driver's list of controllers, one on each of these its reports. A volume is listed once the plugin answers at the
/// address that follows from its number; its node is told by the name. A physical disk is known by the serial number
/// that its node answers, as the plugin looks it up.
///
/// @param nodes  those that are no volume's are asked for their serial number, once each; without any, the volumes are
///               found all the same
/// @throws Refusal  the driver's controllers could not be listed, or there are none
[[nodiscard]] Discovery discoverDisks(Session& session, const Nodes& nodes);

}  // namespace host
