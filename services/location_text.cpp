// The formatting of location texts.
#include "services/location_text.h"

#include <algorithm>
#include <charconv>

namespace dmu {

namespace {

char* append(char* end, std::string_view text) {
  return std::copy(text.begin(), text.end(), end);
}

char* append(char* end, uint8_t number) {
  return std::to_chars(end, end + 3, unsigned{number}).ptr;
}

}  // namespace

LocationText::LocationText(const OrvaInfo_Devices& drive, std::string_view suffix) {
  char* end = append(text, "port:box:bay ");
  end = append(end, std::string_view(drive.portName, strnlen(drive.portName, sizeof(drive.portName))));
  *end++ = ':';
  end = append(end, drive.box);
  *end++ = ':';
  end = append(end, drive.bay);
  append(end, suffix);
}

}  // namespace dmu
