// Declares and resolves the device arguments.
#include "host/naming/device_arguments.h"

#include "host/naming/device_names.h"
#include "host/naming/known_names.h"
#include "host/waiting/progress.h"

namespace host {

std::vector<Option> DeviceArguments::options() {
  return {
      {"DEVICE", "", "A disk: its name, HBA:CHANNEL:TARGET:LUN, serial:TEXT or bay:[HBA:]PORT:BOX:BAY",
       Texts{&names_, knownNames}},
      {.name = "--all",
       .valueName = "",
       .help = "All disks that the plugin serves, instead of devices",
       .value = Flag{&all_},
       .insteadOf = "DEVICE"},
  };
}

std::vector<Option> DeviceArguments::optionsWithSwitch() {
  std::vector<Option> all = options();
  all.push_back({"STATE", "", "What to switch the devices to", Word{&state_, {"on", "off"}}});
  return all;
}

std::vector<OpenedDisk> DeviceArguments::open(Session& session) const {
  std::vector<OpenedDisk> opened;
  const std::vector<HostDisk> disks = all_ ? session.disks() : disksNamed(session, names_);
  Activity activity(disks.size(), "disks");
  for (const HostDisk& disk : disks) {
    activity.advance();
    OpenedDisk one = openDisk(session, disk, all_ ? Named::no : Named::yes);
    const bool isNamedOrServed = !all_ || one.handle.get() != nullptr || !one.record.errors.empty();
    if (isNamedOrServed) opened.push_back(std::move(one));
  }
  if (opened.empty()) throw Refusal("no disks: the plugin serves none of this host's");
  return opened;
}

}  // namespace host
