// Operation 4: temperatures in the host's own array.
#include <algorithm>
#include <climits>

#include "host/check/calls.h"
#include "host/check/expectations.h"

namespace host::check {
namespace {

std::string temperatureCallOf(const Subject& subject, int32_t count) {
  return "temperature of " + subject.disk.device + " with a count of " + std::to_string(count);
}

std::vector<std::string> textsOf(const std::vector<DriveTemperature>& records) {
  std::vector<std::string> texts;
  for (const DriveTemperature& record : records) {
    texts.push_back(std::to_string(record.currentTemperature) + "/" + std::to_string(record.maximumTemperature));
  }
  return texts;
}

void values(Trial& trial) {
  trial.scatterDrives();
  for (const Subject& subject : trial.subjects()) {
    const Handle handle = trial.open(subject.disk);
    const TemperatureCall call(trial.plugin(), handle.get(), kCount);
    const auto expected = expectedTemperatures(subject);
    expectResult(temperatureCallOf(subject, kCount), static_cast<int32_t>(expected.size()), call.result);
    expectList(temperatureCallOf(subject, kCount), textsOf(expected), textsOf(call.written()));
  }
}

void countBoundsTemperatures(Trial& trial) {
  for (const Subject& subject : trial.subjects()) {
    const Handle handle = trial.open(subject.disk);
    const TemperatureCall all(trial.plugin(), handle.get(), kCount);
    expectWritten(temperatureCallOf(subject, kCount), all.result, all.written().size());
    const std::vector<std::string> records = textsOf(all.written());
    const auto size = static_cast<int32_t>(records.size());
    for (const int32_t count : {INT_MIN, -1, 0, 1, size - 1, size, size + 1, INT_MAX}) {
      const TemperatureCall call(trial.plugin(), handle.get(), count);
      const std::string what = temperatureCallOf(subject, count);
      // A disk's one record is written whatever the count is.
      const int32_t expected = subject.kind == Kind::disk ? 1 : std::clamp(count, 0, size);
      expectResult(what, expected, call.result);
      expectWritten(what, expected, call.written().size());
      expectList(what, {records.begin(), records.begin() + expected}, textsOf(call.written()));
    }
  }
}

constexpr Rule kTemperatureRules[] = {
    {"temperature.values", "the drives have their temperatures, in the order of their locations", Needs::simulatedHost,
     values},
    {"temperature.count-bounds", "no record beyond the count is written, and no more than there are drives",
     Needs::anyHost, countBoundsTemperatures},
};

}  // namespace

std::span<const Rule> temperatureRules() {
  return kTemperatureRules;
}

}  // namespace host::check
