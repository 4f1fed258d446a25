// The functions of json/hex.h under the names that recordings use.
#pragma once

#include "json/hex.h"

namespace simulator {

using input::fromHex;
using input::toHex;

}  // namespace simulator
