// Which of the driver's controller instances carries a name.
#pragma once

#include <cstdint>

extern "C" {

/// Asks the driver for its instances and looks for the name, case-sensitively.
///
/// @param hbaName  terminated text, or null
/// @return the instance number, 0 to 9, of the first used one with that name; -1 when there is none, `hbaName` is null,
///         the channel is not open or the query failed
int32_t OrvaInfo_QueryHBA(const char* hbaName);
}
