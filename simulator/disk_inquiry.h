// How a disk answers a SCSI command that reaches it through its node: INQUIRY of the vital product data pages 0x00 and
// 0x80, and a refusal of everything else.
#pragma once

#include <optional>
#include <string_view>

#include "simulator/bytes.h"

namespace simulator {

/// @param serial  what the disk says of itself on page 0x80
/// @return the data, cut to the command's allocation length; nothing: ILLEGAL REQUEST
[[nodiscard]] std::optional<Bytes> answerDiskCommand(BytesView cdb, std::string_view serial, uint8_t deviceType);

/// Fixed-format sense data of a refusal: ILLEGAL REQUEST, invalid field in the command.
[[nodiscard]] Bytes illegalRequestSense();

}  // namespace simulator
