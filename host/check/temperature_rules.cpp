// Operation 4: temperatures in the host's own array.
#include <algorithm>
#include <climits>

#include "host/check/calls.h"
#include "host/check/expectations.h"
#include "host/text.h"

namespace host::check {
namespace {

constexpr int32_t kCount = 256;

std::string wordsOf(const Subject& subject, int32_t count) {
  return "temperature of " + subject.disk.device + " with a count of " + std::to_string(count);
}

std::string textOf(const std::vector<DriveTemperature>& records) {
  std::vector<std::string> texts;
  for (const DriveTemperature& record : records) {
    texts.push_back(std::to_string(record.currentTemperature) + "/" + std::to_string(record.maximumTemperature));
  }
  return listed(texts);
}

void values(Trial& trial) {
  for (const Subject& subject : trial.subjects()) {
    const Handle handle = trial.open(subject.disk);
    const TemperatureCall call(trial.plugin(), handle.get(), kCount);
    const auto expected = expectedTemperatures(subject);
    expectResult(wordsOf(subject, kCount), static_cast<int32_t>(expected.size()), call.result);
    expectText(wordsOf(subject, kCount), textOf(expected), textOf(call.written()));
  }
}

void countBounds(Trial& trial) {
  for (const Subject& subject : trial.subjects()) {
    const Handle handle = trial.open(subject.disk);
    const TemperatureCall all(trial.plugin(), handle.get(), kCount);
    const auto size = static_cast<int32_t>(all.written().size());
    expectResult(wordsOf(subject, kCount), size, all.result);
    for (const int32_t count : {INT_MIN, -1, 0, 1, size - 1, size, size + 1, INT_MAX}) {
      const TemperatureCall call(trial.plugin(), handle.get(), count);
      const std::string what = wordsOf(subject, count);
      // A disk's one record is written whatever the count is.
      const int32_t expected = subject.kind == Kind::disk ? 1 : std::clamp(count, 0, size);
      const auto records = call.written();
      expectResult(what, expected, call.result);
      expect(records.size() == static_cast<size_t>(expected),
             what + ": expected " + counted(static_cast<size_t>(expected), "record") + " to be written, got " +
                 std::to_string(records.size()));
      const auto wanted = all.written();
      expectText(what, textOf({wanted.begin(), wanted.begin() + expected}), textOf(records));
    }
  }
}

constexpr Rule kRules[] = {
    {"temperature.values", "the drives have their temperatures, in the order of their locations", Needs::simulatedHost,
     values},
    {"temperature.count-bounds", "no record beyond the count is written, and no more than there are drives",
     Needs::anyHost, countBounds},
};

}  // namespace

std::span<const Rule> temperatureRules() {
  return kRules;
}

}  // namespace host::check
