// What the simulated driver answers: the error codes of the management calls, for a mistake of the caller, and the
// driver statuses, for a command that the controller cannot carry out.
#pragma once

#include <cstdint>

namespace simulator {

/// Result of a management call. Each mistake has a code of its own.
enum class ManagementError : int32_t {
  none = 0,
  topologyUnusable = 0x2001,  ///< DMU_TOPOLOGY names a bad file: there is no driver to talk to
  outOfMemory = 0x2002,
  reservedNotZero = 0x2003,  ///< the reserved 64-bit argument of init and invoke

  nullSignature = 0x2101,
  nullHandleAddress = 0x2102,
  signatureVersion = 0x2103,
  signatureName = 0x2104,    ///< name, and the zeros after it
  signatureVendor = 0x2105,  ///< vendor, and the zeros after it
  callbackCount = 0x2106,
  callbackTable = 0x2107,  ///< null, or an entry that is not the driver's

  badHandle = 0x2201,  ///< null, never opened, or closed
  unknownCallback = 0x2202,
  callbackUnavailable = 0x2203,  ///< 0x11 or 0x13: declared, but nothing that this driver does
  parameterCount = 0x2204,
  nullParameter = 0x2205,

  instance = 0x2301,         ///< no controller of this number
  lunAddress = 0x2302,       ///< not the controller's own: all twelve commands go to the controller
  typeOrDirection = 0x2303,  ///< type, attribute, or a direction that is not the command's
  unknownCommand = 0x2304,
  cdbLength = 0x2305,
  cdbBytes = 0x2306,  ///< bytes that the command does not use are not zero, or read and write are mixed up
  timeout = 0x2307,
  bufferSize = 0x2308,  ///< not the low 16 bits of the CDB's length, or no bytes at all
  buffer = 0x2309,      ///< null, or not an address of the caller's process
};

/// Status of the driver: the command reached the controller and was refused.
enum class DriverStatus : uint32_t {
  success = 0,
  noSuchDrive = 0x10,
  noSuchVolume = 0x11,
  invalidField = 0x20,   ///< an argument that the command does not take
  invalidLength = 0x21,  ///< data to the controller of another length than its structure
  invalidData = 0x22,    ///< data to the controller with fields that are not the controller's, or contradict each other
  stateNotKept = 0x30,   ///< the change could not be written to the state file and was undone
};

}  // namespace simulator
