// Declares and resolves the device arguments.
#include "host/device_arguments.h"

#include <CLI/CLI.hpp>

#include "host/device_names.h"

namespace host {

void DeviceArguments::addTo(CLI::App& app) {
  app.add_option("DEVICE", names_, "A disk: its name, HBA:CHANNEL:TARGET:LUN, or serial:TEXT")->type_name("");
  app.add_flag("--all", all_, "All disks that the plugin serves, instead of devices");
  app.parse_complete_callback([this] {
    if (all_ && !names_.empty()) throw CLI::ValidationError("give devices or --all, not both");
    if (!all_ && names_.empty()) throw CLI::ValidationError("give a device, or --all");
  });
}

std::vector<OpenedDisk> DeviceArguments::open(Session& session) const {
  std::vector<OpenedDisk> opened;
  for (const HostDisk& disk : all_ ? session.disks() : disksNamed(session, names_)) {
    OpenedDisk one = openDisk(session, disk, all_ ? Named::no : Named::yes);
    const bool isNamedOrServed = !all_ || one.handle.get() != nullptr || !one.record.errors.empty();
    if (isNamedOrServed) opened.push_back(std::move(one));
  }
  return opened;
}

}  // namespace host
