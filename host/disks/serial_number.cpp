// Asks a disk for its serial number with SCSI INQUIRY, vital product data page 0x80.
//
// Some kernels answer with fewer bytes than asked for, count a closing NUL in the page length, or leave the buffer as
// it was: only bytes that were received are looked at, and a serial number that was cut is not taken for a whole one.
#include "host/disks/serial_number.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <scsi/sg.h>
#include <span>
#include <sys/ioctl.h>
#include <unistd.h>

#include "host/disks/serial_page.h"

namespace host {
namespace {

constexpr int kReplySize = 64;
constexpr int kHeaderSize = kSerialPageHeader;
constexpr unsigned kTimeoutMilliseconds = 20000;

class OpenNode {
 public:
  explicit OpenNode(const std::string& path) : descriptor_(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)) {}
  ~OpenNode() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  OpenNode(const OpenNode&) = delete;
  OpenNode& operator=(const OpenNode&) = delete;
  [[nodiscard]] int descriptor() const { return descriptor_; }  // negative: not opened, errno says why

 private:
  int descriptor_;
};

struct Reply {
  uint8_t bytes[kReplySize] = {};
  int received = 0;
};

std::string openError(const std::string& path, int error) {
  if (error == EACCES || error == EPERM) return "no permission to open " + path;
  if (error == ENOENT || error == ENXIO || error == ENODEV) {
    return "no such device: " + path + " (" + std::strerror(error) + ")";
  }
  return "cannot open " + path + ": " + std::strerror(error);
}

/// The page as received, or why there is none.
std::optional<Reply> inquire(int descriptor, std::string& error) {
  Reply reply;
  uint8_t command[] = {0x12, 0x01, kSerialNumberPage, 0, kReplySize, 0};
  uint8_t sense[32] = {};
  sg_io_hdr request{};
  request.interface_id = 'S';
  request.dxfer_direction = SG_DXFER_FROM_DEV;
  request.cmd_len = sizeof(command);
  request.mx_sb_len = sizeof(sense);
  request.dxfer_len = sizeof(reply.bytes);
  request.dxferp = reply.bytes;
  request.cmdp = command;
  request.sbp = sense;
  request.timeout = kTimeoutMilliseconds;
  if (ioctl(descriptor, SG_IO, &request) != 0) {
    error = std::string("the serial number query failed: ") + std::strerror(errno);
    return std::nullopt;
  }
  reply.received = std::clamp(kReplySize - request.resid, 0, kReplySize);
  if (request.status != 0 || request.host_status != 0 || request.driver_status != 0 || reply.received < kHeaderSize ||
      reply.bytes[1] != kSerialNumberPage) {
    error = "the disk does not answer the serial number query";
    return std::nullopt;
  }
  return reply;
}

}  // namespace

SerialAnswer readSerialNumber(const std::string& device) {
  SerialAnswer answer;
  const std::string path = "/dev/disks/" + device;
  const OpenNode node(path);
  if (node.descriptor() < 0) {
    answer.error = openError(path, errno);
    return answer;
  }
  const auto reply = inquire(node.descriptor(), answer.error);
  if (!reply) return answer;
  const int pageLength = reply->bytes[2] << 8 | reply->bytes[3];
  const int length = std::min(pageLength, kReplySize - kHeaderSize);
  if (length > reply->received - kHeaderSize) {
    answer.error = "the disk's serial number did not arrive whole";
    return answer;
  }
  const auto text = std::span(reply->bytes).subspan(kSerialPageHeader, static_cast<size_t>(length));
  if (std::string serial = serialNumberIn(text); !serial.empty()) answer.serial = std::move(serial);
  return answer;
}

SerialAnswer serialNumberOf(const HostDisk& disk) {
  return hasNode(disk) ? readSerialNumber(disk.device) : SerialAnswer{};
}

}  // namespace host
