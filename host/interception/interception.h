// The one place where the program stands between the plugin and whatever provides the host's calls: the management
// calls, the calls on disk nodes, popen and time are defined here under their own names. What the program shows of
// them, holds back, records or answers from a recording rests on this.
#pragma once

#include <cstdint>

#include "host/interception/host_calls.h"

namespace host {

/// The driver's callbacks that are known, with the number of their parameters.
inline constexpr uint64_t kQueryCallback = 0x10;
inline constexpr uint32_t kQueryParameters = 2;
inline constexpr uint64_t kPassthruCallback = 0x12;
inline constexpr uint32_t kPassthruParameters = 3;

/// Sets who answers the calls from now on. Borrowed. Not while a call is under way.
///
/// Only what belongs to a disk node goes there: open, ioctl and close of anything else stay the C library's.
///
/// @return who answered them before: the machine itself at first
HostCalls& takeCallsFrom(HostCalls& calls);

}  // namespace host
