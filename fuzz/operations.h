// Operations that fill what a host allows for: nothing beyond it is written, and what is written is in order.
#pragma once

#include <cstdint>
#include <string>

#include <dmu/plugin.h>

namespace fuzz {

/// The most records or texts that a host allows for.
inline constexpr int32_t kSlots = 12;

/// @param count  what the host says to allow for; up to kSlots
/// @param error  as the operation leaves it
/// @return the operation's result
int32_t askTemperatures(const DmuPluginDescriptor& plugin, CtrlDevInfo* handle, int32_t count, std::string& error);
int32_t askLocations(const DmuPluginDescriptor& plugin, CtrlDevInfo* handle, int32_t count, std::string& error);

/// Whether an operation ended before it had a controller: the channel is then as it was before, or open.
[[nodiscard]] bool hadNoController(const std::string& error);

/// Ends the run when a text is none that is documented, or no failure comes with it.
void requireDocumented(int32_t result, const std::string& error);

}  // namespace fuzz
