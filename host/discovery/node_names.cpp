// Looks for hexadecimal digits in names.
#include "host/discovery/node_names.h"

#include <algorithm>
#include <cctype>
#include <functional>

#include "host/output/text.h"

namespace host {
namespace {

constexpr size_t kBeginning = 16;  // digits: what a short name has room for

bool isZero(const std::string& digits) {
  return digits.find_first_not_of('0') == std::string::npos;
}

bool isDigit(char character) {
  return std::isxdigit(static_cast<unsigned char>(character)) != 0;
}

bool holdsWhole(const std::string& name, const std::string& id) {
  return !isZero(id) && name.find(id) != std::string::npos;
}

/// Whether the name holds the beginning of the id as a number that ends there.
bool holdsBeginning(const std::string& name, const std::string& id) {
  const std::string beginning = id.substr(0, kBeginning);
  if (isZero(beginning)) return false;
  for (size_t place = name.find(beginning); place != std::string::npos; place = name.find(beginning, place + 1)) {
    const size_t end = place + kBeginning;
    if (end == name.size() || !isDigit(name[end])) return true;
  }
  return false;
}

/// The places of the volumes that a name could be of.
std::vector<size_t> volumesOf(const std::string& name, const std::vector<std::string>& ids,
                              bool (*fits)(const std::string&, const std::string&)) {
  std::vector<size_t> volumes;
  for (size_t volume = 0; volume < ids.size(); ++volume) {
    if (fits(name, ids[volume])) volumes.push_back(volume);
  }
  return volumes;
}

}  // namespace

JoinedNodes joinNodes(const std::vector<std::string>& ids, std::vector<std::string> names) {
  std::sort(names.begin(), names.end());
  std::stable_sort(names.begin(), names.end(),
                   [](const std::string& one, const std::string& other) { return one.size() < other.size(); });
  JoinedNodes joined{std::vector<std::vector<std::string>>(ids.size()), {}};
  for (const std::string& name : names) {
    const std::string text = lowerCase(name);
    std::vector<size_t> volumes = volumesOf(text, ids, holdsWhole);
    const bool isWhole = !volumes.empty();
    if (!isWhole) volumes = volumesOf(text, ids, holdsBeginning);
    if (volumes.size() == 1) {
      joined.ofVolumes[volumes.front()].push_back(name);
    } else if (volumes.empty()) {
      joined.left.push_back({name, ""});
    } else {
      joined.left.push_back(
          {name, (isWhole ? "its name holds the unique id of " : "its name begins the unique ids of ") +
                     counted(volumes.size(), "volume")});
    }
  }
  return joined;
}

}  // namespace host
