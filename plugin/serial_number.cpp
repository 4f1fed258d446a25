// The INQUIRY of the Unit Serial Number page (VPD page 0x80) through SG_IO, and the cleaning of its text.
#include "plugin/serial_number.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <fcntl.h>
#include <optional>
#include <scsi/sg.h>
#include <string_view>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>

#include "plugin/memory_guard.h"
#include "plugin/trace.h"

namespace {

constexpr uint8_t kInquiry = 0x12;
constexpr uint8_t kEnableVitalProductData = 0x01;
constexpr uint8_t kUnitSerialNumberPage = 0x80;
constexpr unsigned kTimeoutMilliseconds = 20000;

/// Unit Serial Number page, as SPC lays it out.
///
///   offset  width   field
///        0  u8      peripheral    qualifier and device type
///        1  u8      pageCode      0x80
///        2  u8[2]   pageLength    big-endian: bytes of `serial` that the disk has
///        4  u8[60]  serial        blank-padded text
struct UnitSerialNumberPage {
  uint8_t peripheral;
  uint8_t pageCode;
  uint8_t pageLength[2];
  char serial[60];
};
constexpr size_t kHeaderSize = 4;
static_assert(sizeof(UnitSerialNumberPage) == 64);
static_assert(offsetof(UnitSerialNumberPage, pageCode) == 1);
static_assert(offsetof(UnitSerialNumberPage, pageLength) == 2);
static_assert(offsetof(UnitSerialNumberPage, serial) == kHeaderSize);

/// An open disk node, closed at the end of the scope.
class DiskNode {
 public:
  explicit DiskNode(const std::string& path) : descriptor_(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)) {}
  ~DiskNode() {
    if (isOpen()) close(descriptor_);
  }
  DiskNode(const DiskNode&) = delete;
  DiskNode& operator=(const DiskNode&) = delete;

  [[nodiscard]] bool isOpen() const { return descriptor_ >= 0; }
  [[nodiscard]] int descriptor() const { return descriptor_; }

 private:
  int descriptor_;
};

/// Asks the disk for the page.
/// @param page  zeros, so that what was not received reads as nothing
/// @return bytes of `page` that were received, 0 to 64; nothing when the request failed or another page came back
std::optional<size_t> inquireSerialPage(const DiskNode& node, UnitSerialNumberPage& page) {
  uint8_t sense[32] = {};
  uint8_t command[6] = {kInquiry, kEnableVitalProductData, kUnitSerialNumberPage, 0, sizeof(page), 0};
  sg_io_hdr request = {};
  request.interface_id = 'S';
  request.dxfer_direction = SG_DXFER_FROM_DEV;
  request.cmd_len = sizeof(command);
  request.mx_sb_len = sizeof(sense);
  request.dxfer_len = sizeof(page);
  request.dxferp = &page;
  request.cmdp = command;
  request.sbp = sense;
  request.timeout = kTimeoutMilliseconds;
  if (ioctl(node.descriptor(), SG_IO, &request) != 0) return std::nullopt;
  if (request.status != 0 || request.host_status != 0 || request.driver_status != 0) return std::nullopt;
  if (page.pageCode != kUnitSerialNumberPage) return std::nullopt;
  return std::clamp<int64_t>(int64_t{sizeof(page)} - request.resid, 0, sizeof(page));
}

void traceRawPage(const UnitSerialNumberPage& page, size_t received) {
  constexpr char kFunction[] = "SCSI_Get_Device_SN";
  const auto* bytes = reinterpret_cast<const uint8_t*>(&page);
  DMU_TRACE(kFunction, "Raw SN:");
  for (size_t i = 0; i < received; ++i) DMU_TRACE(kFunction, "%c:%02x ", bytes[i], bytes[i]);
  DMU_TRACE(kFunction, "\n");
}

/// The serial bytes of the page; nothing when the header or some of them were not received: a serial number that was
/// cut could match another disk by its beginning. A page that claims more than its 60 bytes gives these: kernels that
/// count a closing NUL report 61.
std::optional<std::string_view> receivedSerial(const UnitSerialNumberPage& page, size_t received) {
  const auto pageLength = static_cast<size_t>(page.pageLength[0] << 8 | page.pageLength[1]);
  const size_t length = std::min(pageLength, sizeof(page.serial));
  if (received < kHeaderSize + length) return std::nullopt;
  return std::string_view(page.serial, length);
}

/// The text between the leading blanks and the first character that no serial number has.
std::string_view cleanSerial(std::string_view serial) {
  serial.remove_prefix(std::min(serial.find_first_not_of(' '), serial.size()));
  const auto* const end = std::find_if(serial.begin(), serial.end(), [](char c) { return c < 0x21 || c > 0x7E; });
  return serial.substr(0, static_cast<size_t>(end - serial.begin()));
}

/// @return the serial number; nothing on failure, with its text in `error`
std::optional<std::string> querySerial(const std::string& path, std::string& error) {
  const DiskNode node(path);
  if (!node.isOpen()) {
    error = "Failed to open device: " + path;
    return std::nullopt;
  }
  UnitSerialNumberPage page{};
  std::optional<std::string_view> serial;
  if (const std::optional<size_t> received = inquireSerialPage(node, page)) {
    traceRawPage(page, *received);
    serial = receivedSerial(page, *received);
  }
  if (!serial) {
    error = "Failed to get device serial number: " + path;
    return std::nullopt;
  }
  return std::string(cleanSerial(*serial));
}

}  // namespace

std::string Get_Dev_SN(const char* devName, std::string& error) {
  return dmu::unlessMemoryRunsOut(std::string(), [&]() -> std::string {
    static const std::string kNodePrefix = "/dev/disks/";
    std::optional<std::string> serial = querySerial(kNodePrefix + (devName == nullptr ? "" : devName), error);
    if (!serial) return {};
    DMU_TRACE("Get_Dev_SN", "SN: %s.\n", serial->c_str());
    return std::move(*serial);
  });
}
