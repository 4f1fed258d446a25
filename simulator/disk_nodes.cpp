// The disk nodes of the simulated host: which names there are, and what the kernel does with a request on one.
#include <algorithm>
#include <cerrno>
#include <scsi/sg.h>

#include "simulator/disk_inquiry.h"
#include "simulator/drive_address.h"
#include "simulator/host_model.h"

namespace simulator {
namespace {

constexpr size_t kMaxCdb = 16;
constexpr uint8_t kCheckCondition = 2;
constexpr unsigned short kNoConnection = 1;    // host status: the device does not answer
constexpr unsigned short kSenseAvailable = 8;  // driver status

/// What the kernel refuses before a disk sees the request.
int checkRequest(const sg_io_hdr& request) {
  if (request.interface_id != 'S' || request.iovec_count != 0) return EINVAL;
  if (request.cmd_len == 0 || request.cmd_len > kMaxCdb) return EMSGSIZE;
  if (request.cmdp == nullptr || (request.dxfer_len != 0 && request.dxferp == nullptr)) return EFAULT;
  return 0;
}

void refuse(sg_io_hdr& request) {
  const Bytes sense = illegalRequestSense();
  const size_t length = request.sbp != nullptr ? std::min<size_t>(sense.size(), request.mx_sb_len) : 0;
  std::copy_n(sense.begin(), length, request.sbp);
  request.status = kCheckCondition;
  request.masked_status = kCheckCondition >> 1;
  request.driver_status = kSenseAvailable;
  request.sb_len_wr = static_cast<unsigned char>(length);
  request.resid = static_cast<int>(request.dxfer_len);
  request.info = SG_INFO_CHECK;
}

void clearResult(sg_io_hdr& request) {
  request.status = request.masked_status = request.msg_status = request.sb_len_wr = 0;
  request.host_status = request.driver_status = 0;
  request.resid = 0;
  request.duration = request.info = 0;
}

}  // namespace

std::optional<HostModel::Node> HostModel::findNode(std::string_view name) const {
  Node node;
  node.call.device = name;
  for (const ControllerModel& controller : controllers_) {
    node.call.controller = controller.config.hba;
    for (const Volume& volume : controller.config.volumes) {
      if (volume.device != name) continue;
      node.call.volume = volume.number;
      node.serial = volume.serial;
      node.present = controller.present(volume);
      return node;
    }
    for (const Drive& drive : controller.config.drives) {
      if (!drive.exposed || drive.device != name) continue;
      node.call.drive = driveIndex(drive);
      node.serial = drive.nodeSerial.value_or(drive.serial);
      node.deviceType = drive.deviceType;
      node.present = controller.present(drive);
      return node;
    }
  }
  for (const ForeignDisk& disk : topology_.foreignDisks) {
    if (disk.device != name) continue;
    node.call.controller = disk.hba;
    node.serial = disk.serial;
    return node;
  }
  return std::nullopt;
}

int HostModel::openNode(std::string_view name) {
  std::unique_lock lock(mutex_);
  auto node = findNode(name);
  if (!isUsableElseSaysWhy() || !node) return ENOENT;
  node->call.name = "open";
  const FaultEffect effect = meetFaults(lock, node->call);
  if (effect.error) return static_cast<int>(*effect.error);

  node = findNode(name);
  if (!node || !node->present) return ENOENT;
  ++counts_.opens;
  ++counts_.openNodes;
  return 0;
}

int HostModel::nodeRequest(std::string_view name, unsigned long request, void* argument) {
  std::unique_lock lock(mutex_);
  ++counts_.ioctls;
  if (request != SG_IO) return ENOTTY;
  if (argument == nullptr) return EFAULT;
  auto node = findNode(name);
  if (!node) return ENODEV;
  node->call.name = "ioctl";
  const FaultEffect effect = meetFaults(lock, node->call);
  if (effect.error) return static_cast<int>(*effect.error);
  node = findNode(name);

  auto& header = *static_cast<sg_io_hdr*>(argument);
  if (const int mistake = checkRequest(header); mistake != 0) return mistake;
  clearResult(header);
  if (!node || !node->present) {
    header.host_status = kNoConnection;
    header.resid = static_cast<int>(header.dxfer_len);
    return 0;
  }
  if (effect.driverStatus) {
    header.driver_status = static_cast<unsigned short>(*effect.driverStatus);
    header.resid = static_cast<int>(header.dxfer_len);
    return 0;
  }
  const auto reply = answerDiskCommand({header.cmdp, header.cmd_len}, node->serial, node->deviceType);
  if (!reply) {
    refuse(header);
    return 0;
  }
  const bool reads = header.dxfer_direction == SG_DXFER_FROM_DEV || header.dxfer_direction == SG_DXFER_TO_FROM_DEV;
  const std::span<uint8_t> buffer(static_cast<uint8_t*>(header.dxferp), reads ? header.dxfer_len : 0);
  header.resid = static_cast<int>(header.dxfer_len - deliver(*reply, effect, buffer));
  return 0;
}

void HostModel::closeNode() {
  const std::lock_guard lock(mutex_);
  ++counts_.closes;
  --counts_.openNodes;
}

}  // namespace simulator
