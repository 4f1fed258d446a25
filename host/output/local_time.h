// Points in time as people and programs read them, in the local time zone.
#pragma once

#include <ctime>
#include <string>

namespace host {

/// "2024-05-17 14:03:20 CEST".
[[nodiscard]] std::string localTime(time_t time);

/// "2024-05-17T14:03:20+0200".
[[nodiscard]] std::string isoTime(time_t time);

}  // namespace host
