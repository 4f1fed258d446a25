// Values of the program's documents that take a whole reading and writing.
#include "host/output/json_values.h"

namespace host {

std::string utf8Of(const std::string& text) {
  return Json::parse(Json(text).dump(-1, ' ', false, Json::error_handler_t::replace)).get<std::string>();
}

}  // namespace host
