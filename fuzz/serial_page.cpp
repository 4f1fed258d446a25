// Arbitrary answers of a disk to the question for its serial number page. The serial number is held against one that
// is read from the page in another way.
#include <string>

#include "fuzz/fuzzed_host.h"
#include "plugin/serial_number.h"

namespace {

using fuzz::Input;
using fuzz::require;

uint8_t page[64];
bool arrived;  // whether the request succeeded, with the page that was asked for, as far as its text goes

int answerInquiry(Input& input, sg_io_hdr& request) {
  constexpr uint8_t kCommand[] = {0x12, 0x01, 0x80, 0x00, 0x40, 0x00};
  require(request.interface_id == 'S' && request.dxfer_direction == SG_DXFER_FROM_DEV &&
              request.dxfer_len == sizeof(page) && request.iovec_count == 0 && request.flags == 0,
          "the page is asked for");
  require(request.cmd_len == 6 && std::memcmp(request.cmdp, kCommand, sizeof(kCommand)) == 0, "by its command");
  require(request.mx_sb_len == 32 && request.sbp != nullptr && request.timeout == 20000, "with room and time");
  request.status = input.around<unsigned char>(0);
  request.host_status = input.around<unsigned short>(0);
  request.driver_status = input.around<unsigned short>(0);
  const auto more = input.around<uint32_t>(0);
  page[0] = input.number<uint8_t>();
  page[1] = input.around<uint8_t>(0x80);
  page[2] = input.around<uint8_t>(0);
  page[3] = input.around<uint8_t>(input.oneOf({16U, 60U, 61U}));
  input.bytes(page + 4, sizeof(page) - 4);
  std::memcpy(request.dxferp, page, sizeof(page));
  const int result = input.around<int>(0);
  const int length = std::min(page[2] << 8 | page[3], 60);
  request.resid = static_cast<int>(static_cast<uint32_t>(60 - length) + more);
  arrived = result == 0 && request.status == 0 && request.host_status == 0 && request.driver_status == 0 &&
            page[1] == 0x80 && request.resid <= 60 - length;
  return result;
}

/// Leading blanks skipped, then everything up to the first character that is no visible ASCII.
std::string serialInPage() {
  std::string serial;
  for (int i = 4; i < 4 + std::min(page[2] << 8 | page[3], 60); ++i) {
    if (serial.empty() && page[i] == ' ') continue;
    if (page[i] <= ' ' || page[i] >= 0x7F) break;
    serial += static_cast<char>(page[i]);
  }
  return serial;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  fuzz::answerFrom(input, [&](sg_io_hdr& request) { return answerInquiry(input, request); });
  arrived = false;
  {
    std::string error = "before";
    const std::string serial = Get_Dev_SN(fuzz::kDisk, error);
    require(serial == (arrived ? serialInPage() : ""), "the serial number is that of the page");
    require((error == "before") == arrived, "there is a text when there is no page");
  }
  fuzz::requireNothingHeld();
  return 0;
}
