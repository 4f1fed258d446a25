// INQUIRY of a disk.
#include "simulator/disk_inquiry.h"

#include <algorithm>

namespace simulator {
namespace {

constexpr uint8_t kInquiry = 0x12;
constexpr size_t kInquiryLength = 6;
constexpr uint8_t kVitalProductData = 0x01;
constexpr uint8_t kSupportedPages = 0x00;
constexpr uint8_t kUnitSerialNumber = 0x80;

}  // namespace

std::optional<Bytes> answerDiskCommand(BytesView cdb, std::string_view serial, uint8_t deviceType) {
  if (cdb.size() < kInquiryLength || cdb[0] != kInquiry || cdb[1] != kVitalProductData) return std::nullopt;

  Bytes body;
  if (cdb[2] == kUnitSerialNumber) {
    body.assign(serial.begin(), serial.end());
  } else if (cdb[2] == kSupportedPages) {
    body = {kSupportedPages, kUnitSerialNumber};
  } else {
    return std::nullopt;
  }
  Bytes page = {deviceType, cdb[2], static_cast<uint8_t>(body.size() >> 8), static_cast<uint8_t>(body.size())};
  page.insert(page.end(), body.begin(), body.end());
  page.resize(std::min<size_t>(page.size(), static_cast<size_t>(cdb[3] << 8 | cdb[4])));
  return page;
}

Bytes illegalRequestSense() {
  constexpr uint8_t kFixedFormat = 0x70;
  constexpr uint8_t kIllegalRequest = 0x05;
  constexpr uint8_t kInvalidFieldInCdb = 0x24;
  Bytes sense(18);
  sense[0] = kFixedFormat;
  sense[2] = kIllegalRequest;
  sense[7] = static_cast<uint8_t>(sense.size() - 8);
  sense[12] = kInvalidFieldInCdb;
  return sense;
}

}  // namespace simulator
