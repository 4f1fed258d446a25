// Reads JSON of files once it is known to be in order.
#include "host/json_file.h"

#include <string_view>

#include "host/file_content.h"
#include "host/refusal.h"
#include "json/json_check.h"

namespace host {

Json readJsonFile(const std::string& file) {
  std::string error;
  const auto content = readFile(file, error);
  if (!content) throw Refusal(file + ": cannot be read: " + error);
  if (const auto mistake = input::mistakeInJson(*content)) throw Refusal(file + ": " + *mistake);
  return Json::parse(*content);
}

Json readJsonLine(const std::string& line, const std::string& place) {
  constexpr std::string_view kOnlyLine = "line 1, ";
  if (auto mistake = input::mistakeInJson(line)) {
    if (mistake->starts_with(kOnlyLine)) mistake->erase(0, kOnlyLine.size());
    throw Refusal(place + ": " + *mistake);
  }
  return Json::parse(line);
}

}  // namespace host
