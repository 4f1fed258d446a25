// Opening handles, by either function, and closing them.
#include <cstring>

#include "host/check/trial.h"
#include "host/disks/open_record.h"
#include "host/loading/isolated_call.h"
#include "host/output/text.h"

namespace host::check {
namespace {

/// What the host's variable holds before a call that must not write to it.
CtrlDevInfo* mark() {
  static char place;
  return reinterpret_cast<CtrlDevInfo*>(&place);
}

int32_t openFirst(Trial& trial, const DmuDeviceOpenInfo& record, CtrlDevInfo** out) {
  return trial.plugin().openDevice(record.hba, record.channel, record.target, record.lun, record.driver,
                                   record.isPciDevice, record.segment, record.busId, record.slotId, record.functionId,
                                   record.vendorId, record.subVendorId, record.deviceId, record.subDeviceId,
                                   record.reserved, record.physicalSlot, out);
}

int32_t openSecond(Trial& trial, const DmuDeviceOpenInfo& record, CtrlDevInfo** out) {
  return trial.plugin().openDeviceV2(&record, out);
}

struct OpenFunction {
  const char* name;
  int32_t (*call)(Trial& trial, const DmuDeviceOpenInfo& record, CtrlDevInfo** out);
};
constexpr OpenFunction kOpenFunctions[] = {{"openDevice", openFirst}, {"openDeviceV2", openSecond}};

void expectOpens(Trial& trial, const OpenFunction& open, const DmuDeviceOpenInfo& record, const std::string& with) {
  const std::string what = std::string(open.name) + " with " + with;
  noteStep(what);
  CtrlDevInfo* handle = mark();
  expectResult(what, 0, open.call(trial, record, &handle));
  expect(handle != nullptr && handle != mark(), what + ": expected a handle, got none");
  trial.plugin().closeDevice(handle);
}

void expectRefuses(Trial& trial, const OpenFunction& open, const DmuDeviceOpenInfo& record, const std::string& with) {
  const std::string what = std::string(open.name) + " with " + with;
  noteStep(what);
  CtrlDevInfo* handle = mark();
  expectResult(what, -1, open.call(trial, record, &handle));
  expect(handle == mark(), what + ": it failed, but wrote a handle");
}

void serves(Trial& trial) {
  for (const HostDisk& disk : trial.servedDisks()) {
    for (const OpenFunction& open : kOpenFunctions) expectOpens(trial, open, openRecordOf(disk), disk.device);
  }
}

void foreignDriver(Trial& trial) {
  const HostDisk disk = trial.servedDisks().front();
  for (const char* driver : {"sata", "VELTRANE", "veltrane ", " veltrane", "veltran", "veltrane2", ""}) {
    DmuDeviceOpenInfo record = openRecordOf(disk);
    record.driver = driver;
    for (const OpenFunction& open : kOpenFunctions) {
      expectRefuses(trial, open, record, std::string("driver \"") + driver + '"');
    }
  }
}

void nullArguments(Trial& trial) {
  const HostDisk disk = trial.servedDisks().front();
  DmuDeviceOpenInfo record = openRecordOf(disk);
  for (const OpenFunction& open : kOpenFunctions) {
    expectResult(std::string(open.name) + " with a null out", -1, open.call(trial, record, nullptr));
  }
  noteStep("openDeviceV2 with a null record");
  CtrlDevInfo* handle = mark();
  expectResult("openDeviceV2 with a null record", -1, trial.plugin().openDeviceV2(nullptr, &handle));
  expect(handle == mark(), "openDeviceV2 with a null record: it failed, but wrote a handle");
  record.driver = nullptr;
  for (const OpenFunction& open : kOpenFunctions) expectRefuses(trial, open, record, "a null driver");
}

void nullNames(Trial& trial) {
  const HostDisk disk = trial.servedDisks().front();
  DmuDeviceOpenInfo record = openRecordOf(disk);
  record.devName = nullptr;
  record.hba = nullptr;
  for (const OpenFunction& open : kOpenFunctions) expectOpens(trial, open, record, "null names");
}

void longNames(Trial& trial) {
  for (const size_t length : {0U, 1U, 49U, 50U, 51U, 255U, 4096U, 100000U}) {
    const std::string names = "names of " + counted(length, "character");
    HostDisk disk = trial.servedDisks().front();
    disk.hba = disk.device = std::string(length, 'n');
    for (const OpenFunction& open : kOpenFunctions) expectOpens(trial, open, openRecordOf(disk), names);
    expectRefusals(readingOperations(), trial.open(disk), names, "Failed to open controller.");
  }
}

/// The record's texts lie in memory that is overwritten after the open.
void borrowsTheRecord(Trial& trial) {
  for (const Subject& subject : trial.subjects()) {
    HostDisk disk = subject.disk;
    DmuDeviceOpenInfo record = openRecordOf(disk);
    const auto bytes = [&record] { return std::string(reinterpret_cast<const char*>(&record), sizeof(record)); };
    const std::string before = bytes();
    CtrlDevInfo* opened = nullptr;
    expectResult("openDeviceV2 of " + disk.device, 0, openSecond(trial, record, &opened));
    const DeviceHandle handle(trial.plugin(), opened);
    expect(bytes() == before, "openDeviceV2: the host's record was written to");
    expectText("openDeviceV2: the host's names", subject.disk.hba + " " + subject.disk.device,
               disk.hba + " " + disk.device);
    std::memset(&record, 0xA5, sizeof(record));
    for (std::string* text : {&disk.device, &disk.hba, &disk.driver}) text->assign(text->size(), 'x');
    const InformationCall call(handle);
    expectResult("device information after the open record was overwritten", 0, call.result);
  }
}

void unreadableSerial(Trial& trial) {
  HostDisk disk = trial.servedDisks().front();
  disk.device = "no-such-node";
  expectOpens(trial, kOpenFunctions[1], openRecordOf(disk), "a disk whose node does not exist");
  if (!trial.isSimulated()) return;
  trial.addFault("ioctl", simulator::FaultAction::error, 5);
  expectOpens(trial, kOpenFunctions[1], openRecordOf(trial.servedDisks().front()), "a disk that does not answer");
}

void byAddress(Trial& trial) {
  for (const Subject& subject : trial.subjects()) {
    CtrlDevInfo* opened = nullptr;
    expectResult("openDevice", 0, openFirst(trial, openRecordOf(subject.disk), &opened));
    const InformationCall call(DeviceHandle(trial.plugin(), opened));
    const CallResult notFound{-1, "Device is not found."};
    expectAnswer(subject.of("device information") + " by its address alone",
                 subject.kind == Kind::disk ? notFound : CallResult{0, kErrorBefore}, call);
  }
}

/// Information and locations as one line, to compare.
std::string answersOf(const DeviceHandle& handle) {
  const InformationCall information(handle);
  const LocationCall location(handle, kCount);
  std::string line = std::to_string(information.result) + " " + std::to_string(information.information().deviceType) +
                     " " + std::to_string(location.result);
  for (const std::string& text : location.texts()) line += " " + text;
  return line;
}

/// What a handle answers while it is the only one, and then while all are open.
void independentHandles(Trial& trial) {
  std::vector<std::string> alone;
  for (const OpenSubject& subject : trial.openEach()) alone.push_back(answersOf(subject.handle));
  std::vector<OpenSubject> together;
  for (const Subject& subject : trial.subjects()) together.push_back({subject, trial.open(subject.disk)});
  for (size_t i = together.size(); i-- > 0;) {
    expectText("answers for " + together[i].disk.device + " while other handles are open", alone[i],
               answersOf(together[i].handle));
  }
}

void closesNull(Trial& trial) {
  const DmuPluginDescriptor& plugin = trial.plugin();
  noteStep("closing a null handle");
  plugin.closeDevice(nullptr);
}

void freesTheHandle(Trial& trial) {
  const HostDisk disk = trial.servedDisks().front();
  expectNoGrowth("opens and closes of " + disk.device, [&] { static_cast<void>(trial.open(disk)); });
}

void leavesOtherHandles(Trial& trial) {
  for (const OpenSubject& subject : trial.openEach()) {
    for (int i = 0; i < 4; ++i) static_cast<void>(trial.open(subject.disk));
    informationOf(subject, " after another handle of it was closed");
  }
}

}  // namespace

std::vector<Rule> openAndCloseRules() {
  return {
      {"open.serves", "both functions open every disk of the plugin's driver", serves},
      {"open.foreign-driver", "disks of every other driver are refused and nothing is written", foreignDriver},
      {"open.null-arguments", "a null driver, record or out is refused", nullArguments},
      {"open.null-names", "a null device or controller name counts as empty", nullNames},
      {"open.long-names", "names of any length open, and name no controller", longNames},
      {"open.borrows-the-record", "the open record is not written, and not needed after the open", borrowsTheRecord},
      {"open.unreadable-serial", "a serial number that cannot be read does not fail the open", unreadableSerial},
      {"open.by-address", "a handle of openDevice finds volumes, not physical disks", byAddress},
      {"open.independent-handles", "handles that are open at the same time answer for their own disks",
       independentHandles},
      {"close.null", "a null handle is ignored", closesNull},
      {"close.frees-the-handle", "opening and closing again and again takes no memory", freesTheHandle},
      {"close.leaves-other-handles", "other handles of the same disk stay good", leavesOtherHandles},
  };
}

}  // namespace host::check
