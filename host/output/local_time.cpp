// Words points in time.
#include "host/output/local_time.h"

namespace host {

static std::string formatted(const char* format, time_t time) {
  tm local{};
  localtime_r(&time, &local);
  char text[64];
  return {text, std::strftime(text, sizeof(text), format, &local)};
}

std::string localTime(time_t time) {
  return formatted("%Y-%m-%d %H:%M:%S %Z", time);
}

std::string isoTime(time_t time) {
  return formatted("%Y-%m-%dT%H:%M:%S%z", time);
}

}  // namespace host
