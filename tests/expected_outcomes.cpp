// What each loss makes of the outcomes.
#include "tests/expected_outcomes.h"

#include <map>

void ExpectedOutcomes::failOperation(size_t step, int32_t result, const std::string& text) {
  Outcome& outcome = outcomes[step];
  outcome = {result, text, kUntouched};
  const size_t operation = (step - kVolume) % kOperations;
  if (operation == kLed) outcome.output = "0 blinking";
  if (operation == kCacheOn) outcome.output = "off";
  if (operation == kCacheOff) outcome.output = outcomes[step - 1].output;
}

void ExpectedOutcomes::failAll(size_t first, const std::string& text) {
  for (size_t step = first; step < first + kOperations; ++step) failOperation(step, -1, text);
}

void ExpectedOutcomes::loseHandle(size_t step) {
  outcomes[step] = {-1, "", ""};
  failAll(step == kOpen ? kVolume : kDisk, "Invalid handle!");
}

void ExpectedOutcomes::loseSerialNumber() {
  outcomes[kOpenV2].output = "";
  failAll(kDisk, kNotFound);
}

void ExpectedOutcomes::loseMap() {
  for (const Operation operation : {kLed, kTemperature, kLocation}) failOperation(kVolume + operation, 0);
}

void ExpectedOutcomes::setDriveCount(int32_t count, int32_t level) {
  outcomes[kVolume].output = "1/" + std::to_string(count) + "/" + std::to_string(level);
  for (const Operation operation : {kLed, kCacheOn, kCacheOff}) {
    int32_t& result = outcomes[kVolume + operation].result;
    if (result == 2) result = count;
  }
  if (count == 0) loseMap();
}

void ExpectedOutcomes::refuseCache(size_t first, int32_t result) {
  for (const Operation operation : {kCacheOn, kCacheOff}) failOperation(first + operation, result);
}

void ExpectedOutcomes::setMember(size_t member, const std::string& place, const std::string& temperatures) {
  members_[member] = {place, temperatures};
  showMembers();
}

void ExpectedOutcomes::loseMember(size_t member) {
  if (members_[member].isListed) members_[member].place += "(Failed)";
  members_[member].isListed = false;
  showMembers();
}

void ExpectedOutcomes::loseDrives() {
  loseMember(0);
  loseMember(1);
  failAll(kDisk, kNotFound);
}

void ExpectedOutcomes::dropMember(size_t member) {
  members_.erase(members_.begin() + static_cast<ptrdiff_t>(member));
  showMembers();
  outcomes[kVolume + kLed].output = std::to_string(members_.size()) + " blinking";
}

/// In the order of the places as texts; one place has one pair of temperatures.
void ExpectedOutcomes::showMembers() {
  std::multimap<std::string, std::string> places;
  std::map<std::string, std::string> temperatures;
  for (const Member& member : members_) {
    places.emplace("port:box:bay " + member.place, "");
    if (member.isListed) temperatures[member.place] = member.temperatures;
  }
  const auto show = [&](Operation operation, const auto& shown, auto text) {
    Outcome& outcome = outcomes[kVolume + operation];
    outcome = {static_cast<int32_t>(shown.size()), "before", shown.empty() ? kUntouched : ""};
    for (const auto& one : shown) outcome.output += (outcome.output.empty() ? "" : ", ") + text(one);
  };
  show(kLocation, places, [](const auto& one) { return one.first; });
  show(kTemperature, temperatures, [](const auto& one) { return one.second; });
}
