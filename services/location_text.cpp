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

/// A name that fills its field has no terminator.
template <size_t size>
char* appendName(char* end, const char (&name)[size]) {
  for (size_t i = 0; i < size && name[i] != '\0'; ++i) *end++ = name[i];
  return end;
}

}  // namespace

DrivePlace::DrivePlace(const OrvaInfo_Devices& drive, std::string_view suffix) {
  char* end = appendName(text, drive.portName);
  *end++ = ':';
  end = append(end, drive.box);
  *end++ = ':';
  end = append(end, drive.bay);
  append(end, suffix);
}

}  // namespace dmu
