// Declares and resolves the device arguments.
#include "host/device_arguments.h"

#include <CLI/CLI.hpp>

#include "host/device_names.h"

namespace host {

void DeviceArguments::declare(CLI::App& app, const std::string& lastWords) {
  app.add_option("DEVICE", names_, "A disk: its name, HBA:CHANNEL:TARGET:LUN, serial:TEXT or bay:PORT:BOX:BAY")
      ->type_name(lastWords)
      ->option_text("...");
  app.add_flag("--all", all_, "All disks that the plugin serves, instead of devices");
}

void DeviceArguments::takeSwitch() {
  const std::string word = names_.empty() ? "" : names_.back();
  if (word != "on" && word != "off") throw CLI::ValidationError("the last argument must be on or off");
  on_ = word == "on";
  names_.pop_back();
}

void DeviceArguments::check() const {
  if (all_ && !names_.empty()) throw CLI::ValidationError("give devices or --all, not both");
  if (!all_ && names_.empty()) throw CLI::ValidationError("give a device, or --all");
}

void DeviceArguments::addTo(CLI::App& app) {
  declare(app, "");
  app.parse_complete_callback([this] { check(); });
}

void DeviceArguments::addWithSwitchTo(CLI::App& app) {
  declare(app, "on|off");
  app.parse_complete_callback([this] {
    takeSwitch();
    check();
  });
}

std::vector<OpenedDisk> DeviceArguments::open(Session& session) const {
  std::vector<OpenedDisk> opened;
  for (const HostDisk& disk : all_ ? session.disks() : disksNamed(session, names_)) {
    OpenedDisk one = openDisk(session, disk, all_ ? Named::no : Named::yes);
    const bool isNamedOrServed = !all_ || one.handle.get() != nullptr || !one.record.errors.empty();
    if (isNamedOrServed) opened.push_back(std::move(one));
  }
  if (opened.empty()) throw Refusal("no disks: the plugin serves none of this host's");
  return opened;
}

}  // namespace host
