// The JSON type of the program's documents: keys in the order in which they are written.
#pragma once

#include <nlohmann/json_fwd.hpp>

namespace host {

using Json = nlohmann::ordered_json;

}  // namespace host
