// Operations 5 and 4, the lists of a disk's drives: where they sit, in buffers that the host releases, and how warm
// they are, in the host's own array.
#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <malloc.h>
#include <regex>
#include <set>

#include "host/check/expectations.h"
#include "host/loading/isolated_call.h"
#include "host/output/text.h"

namespace host::check {
namespace {

/// "temperature of DEVICE with a count of 256".
template <typename ListCall>
std::string wordsOf(const Subject& subject, int32_t count) {
  return subject.of(ListCall::kOperation) + " with a count of " + std::to_string(count);
}

/// @return the texts of a call with room for all
template <typename ListCall>
std::vector<std::string> allTexts(const OpenSubject& subject) {
  const ListCall call(subject.handle, kCount);
  expectWritten(wordsOf<ListCall>(subject, kCount), call.result, call.written.size());
  return call.texts();
}

template <typename ListCall>
void keepsToTheCount(Trial& trial) {
  for (const OpenSubject& subject : trial.openEach()) {
    const std::vector<std::string> all = allTexts<ListCall>(subject);
    const auto size = static_cast<int32_t>(all.size());
    for (const int32_t count : {INT_MIN, -1, 0, 1, size - 1, size, size + 1, INT_MAX}) {
      const ListCall call(subject.handle, count);
      const std::string what = wordsOf<ListCall>(subject, count);
      // A disk's one drive is told whatever the count is.
      const int32_t expected = subject.kind == Kind::disk ? 1 : std::clamp(count, 0, size);
      expectResult(what, expected, call.result);
      expectWritten(what, expected, call.written.size());
      expectList(what, {all.begin(), all.begin() + expected}, call.texts());
      expectText(what + ": the error text", kErrorBefore, call.error);
    }
  }
}

void namesThePlaces(Trial& trial) {
  trial.scatterDrives();
  for (const OpenSubject& subject : trial.openEach()) {
    expectList(subject.of("location"), expectedLocations(subject), allTexts<LocationCall>(subject));
  }
}

void format(Trial& trial) {
  const std::regex form("port:box:bay [^:]{0,8}:[0-9]{1,3}:[0-9]{1,3}(\\(Failed\\))?");
  for (const OpenSubject& subject : trial.openEach()) {
    const std::string what = subject.of("location");
    const std::vector<std::string> found = allTexts<LocationCall>(subject);
    for (const std::string& text : found) {
      expect(std::regex_match(text, form),
             what + R"(: expected "port:box:bay PORT:BOX:BAY", got ")" + printable(text) + '"');
    }
    expect(std::is_sorted(found.begin(), found.end()),
           what + ": expected sorted texts, got " + printable(listed(found)));
  }
}

void onePerMember(Trial& trial) {
  for (const OpenSubject& subject : trial.openEach()) {
    const InformationCall call = informationOf(subject);
    size_t expected = subject.kind == Kind::disk ? 1 : 0;
    if (subject.kind == Kind::volume) expected = call.information().physicalDisks;
    const size_t seen = allTexts<LocationCall>(subject).size();
    expect(seen == expected, subject.of("location") + ": expected " + counted(expected, "text") +
                                 ", one a drive, got " + std::to_string(seen));
  }
}

/// Looks at buffers before they are released. Releasing what malloc did not give ends the process.
void buffersAreMalloc(Trial& trial) {
  std::set<const void*> seen;
  std::vector<char*> toFree;
  for (const OpenSubject& subject : trial.openEach()) {
    for (int call = 0; call < 2; ++call) {
      std::vector<char*> slots(kCount, nullptr);
      std::string error;
      noteStep("a call of location");
      const int32_t stored = trial.plugin().getDeviceLocation(subject.handle.get(), slots.data(), kCount, error);
      for (int32_t i = 0; i < std::min(stored, kCount); ++i) {
        char* buffer = slots[static_cast<size_t>(i)];
        const std::string what = subject.of("location") + ": slot " + std::to_string(i);
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
  for (const Subject& subject : trial.subjects(Kind::volume)) {
    simulator::FaultRule vanish;
    vanish.call = "any";
    vanish.controller = subject.disk.hba;
    vanish.drive = subject.volume->members.front();
    vanish.action = simulator::FaultAction::vanish;
    trial.simulatedHost().addFault(vanish);
  }
  for (const OpenSubject& subject : trial.openEach(Kind::volume)) {
    const std::vector<std::string> found = allTexts<LocationCall>(subject);
    const auto failed =
        std::count_if(found.begin(), found.end(), [](const std::string& text) { return text.ends_with("(Failed)"); });
    expect(found.size() == subject.volume->members.size() && failed == 1,
           subject.of("location") + " without one of its drives: expected " +
               counted(subject.volume->members.size(), "text") + ", one of them \"(Failed)\", got " + listed(found));
  }
}

void temperatures(Trial& trial) {
  trial.scatterDrives();
  for (const OpenSubject& subject : trial.openEach()) {
    const std::string what = wordsOf<TemperatureCall>(subject, kCount);
    const std::vector<std::string> expected = expectedTemperatures(subject);
    const TemperatureCall call(subject.handle, kCount);
    expectResult(what, static_cast<int32_t>(expected.size()), call.result);
    expectList(what, expected, call.texts());
  }
}

}  // namespace

std::vector<Rule> locationAndTemperatureRules() {
  return {
      {"location.texts", "the drives are where they are, sorted by their texts", namesThePlaces, Needs::simulatedHost},
      {"location.format", "the texts are \"port:box:bay PORT:BOX:BAY\", sorted", format},
      {"location.one-per-member", "there is one text a member drive, and none for an external volume", onePerMember},
      {"location.count-bounds", "no slot beyond the count is written, and no more than there are drives",
       keepsToTheCount<LocationCall>},
      {"location.buffers-are-malloc", "every text has a buffer of 50 bytes that the host can free", buffersAreMalloc},
      {"location.failed-member", "a member that the controller's list misses is \"(Failed)\"", failedMember,
       Needs::simulatedHost},
      {"temperature.values", "the drives have their temperatures, in the order of their locations", temperatures,
       Needs::simulatedHost},
      {"temperature.count-bounds", "no record beyond the count is written, and no more than there are drives",
       keepsToTheCount<TemperatureCall>},
  };
}

}  // namespace host::check
