// The function of json/input.h under the name that recordings use.
#pragma once

#include "json/input.h"

namespace host {

using input::readFile;

}  // namespace host
