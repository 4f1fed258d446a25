// How files name a disk of a host and the controller that it is on, whichever file it is: a topology or an inventory.
#pragma once

#include "json/json_object.h"
#include "simulator/simulated_host.h"

namespace simulator {

inline constexpr size_t kMostDeviceName = 255;  // a file's name is no longer
inline constexpr size_t kMostHbaName = 155;     // the driver keeps 156 bytes, one of which ends the name
inline constexpr size_t kMostDriverName = kMostHbaName;

/// The key "device": a node below /dev/disks/.
/// @param least  characters; 0: there may be no node
inline void readDevice(input::JsonObject& object, std::string& device, input::Need need, size_t least = 1) {
  if (object.text("device", device, need, least, kMostDeviceName) && device.find('/') != std::string::npos)
    object.refuse("device", "must be a name below /dev/disks, without /");
}

/// The value of the key "pci", in which every key may be left out.
[[nodiscard]] inline PciIdentity readPci(const input::JsonObject::Element& element, input::Mistakes& mistakes) {
  using input::Need;
  PciIdentity pci;
  input::JsonObject object(element.value, element.path, mistakes);
  object.flag("isPciDevice", pci.isPciDevice, Need::optional);
  object.number("segment", pci.segment, Need::optional);
  object.number("bus", pci.bus, Need::optional);
  object.number("slot", pci.slot, Need::optional, 0, 31);
  object.number("function", pci.function, Need::optional, 0, 7);
  object.number("vendorId", pci.vendorId, Need::optional);
  object.number("subVendorId", pci.subVendorId, Need::optional);
  object.number("deviceId", pci.deviceId, Need::optional);
  object.number("subDeviceId", pci.subDeviceId, Need::optional);
  object.number("physicalSlot", pci.physicalSlot, Need::optional);
  object.refuseUnknownKeys();
  return pci;
}

}  // namespace simulator
