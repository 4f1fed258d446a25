// The unit serial number of a disk, VPD page 0x80: how it is asked for, and what the page says.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <span>
#include <string>

namespace host {

inline constexpr uint8_t kSerialNumberPage = 0x80;
inline constexpr size_t kSerialPageHeader = 4;  // bytes; the length of the text is in the last two, the high one first

/// Whether a CDB is the INQUIRY for this page.
[[nodiscard]] inline bool asksForSerialNumber(std::span<const uint8_t> cdb) {
  constexpr uint8_t kBeginning[] = {0x12, 0x01, kSerialNumberPage};
  return cdb.size() >= std::size(kBeginning) && std::equal(std::begin(kBeginning), std::end(kBeginning), cdb.begin());
}

/// The serial number in the page's text, as the plugin takes it: without leading blanks, up to the first byte that is
/// no printable character.
[[nodiscard]] inline std::string serialNumberIn(std::span<const uint8_t> text) {
  const auto first = std::find_if(text.begin(), text.end(), [](uint8_t byte) { return byte != ' '; });
  const auto last = std::find_if(first, text.end(), [](uint8_t byte) { return byte < 0x21 || byte > 0x7E; });
  return {first, last};
}

}  // namespace host
