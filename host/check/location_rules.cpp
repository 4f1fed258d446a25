// Operation 5: where drives sit, in buffers that the host releases.
#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <malloc.h>
#include <regex>
#include <set>

#include "host/check/calls.h"
#include "host/check/expectations.h"
#include "host/loading/isolated_call.h"
#include "host/output/text.h"

namespace host::check {
namespace {

std::string locationCallOf(const Subject& subject, int32_t count) {
  return "location of " + subject.disk.device + " with a count of " + std::to_string(count);
}

/// @return the texts of a call with room for all
std::vector<std::string> ask(Trial& trial, const Subject& subject, CtrlDevInfo* handle) {
  const LocationCall call(trial.plugin(), handle, kCount);
  expectWritten(locationCallOf(subject, kCount), call.result, call.written().size());
  return call.texts();
}

void namesThePlaces(Trial& trial) {
  trial.scatterDrives();
  for (const Subject& subject : trial.subjects()) {
    const Handle handle = trial.open(subject.disk);
    expectList("location of " + subject.disk.device, expectedLocations(subject), ask(trial, subject, handle.get()));
  }
}

void format(Trial& trial) {
  const std::regex form("port:box:bay [^:]{0,8}:[0-9]{1,3}:[0-9]{1,3}(\\(Failed\\))?");
  for (const Subject& subject : trial.subjects()) {
    const Handle handle = trial.open(subject.disk);
    const std::vector<std::string> found = ask(trial, subject, handle.get());
    for (const std::string& text : found) {
      expect(std::regex_match(text, form), "location of " + subject.disk.device +
                                               R"(: expected "port:box:bay PORT:BOX:BAY", got ")" + printable(text) +
                                               '"');
    }
    expect(std::is_sorted(found.begin(), found.end()),
           "location of " + subject.disk.device + ": expected sorted texts, got " + printable(listed(found)));
  }
}

void onePerMember(Trial& trial) {
  for (const Subject& subject : trial.subjects()) {
    const Handle handle = trial.open(subject.disk);
    const InformationCall call(trial.plugin(), handle.get());
    expectResult("device information of " + subject.disk.device, 0, call.result);
    size_t expected = subject.kind == Kind::disk ? 1 : 0;
    if (subject.kind == Kind::volume) expected = call.information().physicalDisks;
    const size_t seen = ask(trial, subject, handle.get()).size();
    expect(seen == expected, "location of " + subject.disk.device + ": expected " + counted(expected, "text") +
                                 ", one a drive, got " + std::to_string(seen));
  }
}

void countBoundsLocations(Trial& trial) {
  for (const Subject& subject : trial.subjects()) {
    const Handle handle = trial.open(subject.disk);
    const std::vector<std::string> all = ask(trial, subject, handle.get());
    const auto size = static_cast<int32_t>(all.size());
    for (const int32_t count : {INT_MIN, -1, 0, 1, size - 1, size, size + 1, INT_MAX}) {
      const LocationCall call(trial.plugin(), handle.get(), count);
      const std::string what = locationCallOf(subject, count);
      // A disk's one text is written whatever the count is.
      const int32_t expected = subject.kind == Kind::disk ? 1 : std::clamp(count, 0, size);
      expectResult(what, expected, call.result);
      expectWritten(what, expected, call.written().size());
      expectList(what, {all.begin(), all.begin() + expected}, call.texts());
      expectText(what + ": the error text", kErrorBefore, call.error);
    }
  }
}

/// Looks at buffers before they are released. Releasing what malloc did not give ends the process.
void buffersAreMalloc(Trial& trial) {
  std::set<const void*> seen;
  std::vector<char*> toFree;
  for (const Subject& subject : trial.subjects()) {
    const Handle handle = trial.open(subject.disk);
    for (int call = 0; call < 2; ++call) {
      std::vector<char*> slots(kCount, nullptr);
      std::string error;
      noteStep("a call of location");
      const int32_t stored = trial.plugin().getDeviceLocation(handle.get(), slots.data(), kCount, error);
      for (int32_t i = 0; i < std::min(stored, kCount); ++i) {
        char* buffer = slots[static_cast<size_t>(i)];
        const std::string what = "location of " + subject.disk.device + ": slot " + std::to_string(i);
        expect(buffer != nullptr, what + ": expected a buffer, got null");
        expect(seen.insert(buffer).second, what + ": expected a buffer of its own, got one that was given before");
        Dl_info library{};
        expect(dladdr(buffer, &library) == 0, what + ": expected a buffer of malloc, got one inside a library");
        const size_t room = malloc_usable_size(buffer);
        expect(room >= kDmuLocationSize, what + ": expected a buffer of 50 bytes, got " + std::to_string(room));
        std::memset(buffer, 'x', kDmuLocationSize);
        toFree.push_back(buffer);
      }
    }
  }
  noteStep("releasing the buffers with free");
  for (char* buffer : toFree) std::free(buffer);
}

/// One member of every volume is gone before the plugin sees the controller for the first time.
void failedMember(Trial& trial) {
  const std::vector<Subject> volumes = trial.subjects(Kind::volume);
  for (const Subject& subject : volumes) {
    simulator::FaultRule vanish;
    vanish.call = "any";
    vanish.controller = subject.disk.hba;
    vanish.drive = subject.volume->members.front();
    vanish.action = simulator::FaultAction::vanish;
    trial.simulatedHost().addFault(vanish);
  }
  for (const Subject& subject : volumes) {
    const Handle handle = trial.open(subject.disk);
    const std::vector<std::string> found = ask(trial, subject, handle.get());
    const auto failed =
        std::count_if(found.begin(), found.end(), [](const std::string& text) { return text.ends_with("(Failed)"); });
    expect(found.size() == subject.volume->members.size() && failed == 1,
           "location of " + subject.disk.device + " without one of its drives: expected " +
               counted(subject.volume->members.size(), "text") + ", one of them \"(Failed)\", got " + listed(found));
  }
}

constexpr Rule kLocationRules[] = {
    {"location.texts", "the drives are where they are, sorted by their texts", Needs::simulatedHost, namesThePlaces},
    {"location.format", "the texts are \"port:box:bay PORT:BOX:BAY\", sorted", Needs::anyHost, format},
    {"location.one-per-member", "there is one text a member drive, and none for an external volume", Needs::anyHost,
     onePerMember},
    {"location.count-bounds", "no slot beyond the count is written, and no more than there are drives", Needs::anyHost,
     countBoundsLocations},
    {"location.buffers-are-malloc", "every text has a buffer of 50 bytes that the host can free", Needs::anyHost,
     buffersAreMalloc},
    {"location.failed-member", "a member that the controller's list misses is \"(Failed)\"", Needs::simulatedHost,
     failedMember},
};

}  // namespace

std::span<const Rule> locationRules() {
  return kLocationRules;
}

}  // namespace host::check
