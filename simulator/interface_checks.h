// What the driver demands of a caller before it does anything: the description of its interface, and a record that is
// right in every field.
#pragma once

#include <cstdint>

#include "simulator/command_decoder.h"
#include "simulator/driver_errors.h"
#include "simulator/wire.h"

namespace simulator {

inline constexpr uint64_t kQueryInstances = 0x10;
inline constexpr uint64_t kPassthru = 0x12;

/// @return the first mistake in a signature and its callback table
[[nodiscard]] ManagementError checkSignature(const wire::InterfaceSignature& signature);

/// @return the driver's own entry of a callback; null when it has none
[[nodiscard]] const wire::CallbackEntry* findCallback(uint64_t id);

/// @param command  receives what the record asks for, when it is right
/// @return the first mistake in a pass-through record
[[nodiscard]] ManagementError checkRecord(const wire::PassthruRecord& record, DecodedCommand& command);

}  // namespace simulator
