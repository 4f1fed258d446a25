// The serial number of a disk, read through its node with a SCSI INQUIRY of the Unit Serial Number page.
#pragma once

#include <string>

extern "C" {

#ifdef __clang__
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wreturn-type-c-linkage"  // host and plugin are C++; only the name is C's
#endif

/// Reads the serial number of the disk whose node is "/dev/disks/" and `devName`. Needs no lock.
///
/// @param devName  name of the node; null counts as empty
/// @param error    on failure "Failed to open device: " or "Failed to get device serial number: " and the path;
///                 unchanged on success, which includes a disk without a serial number, and when memory ran out
/// @return the serial number, at most 60 characters from 0x21 to 0x7E; empty on failure
std::string Get_Dev_SN(const char* devName, std::string& error);

#ifdef __clang__
#pragma clang diagnostic pop
#endif
}
