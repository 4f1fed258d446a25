// What the plugin asks of the process during a fuzzing run, answered from the input: the driver, the disk nodes, the
// clock, the module loader and whether the trace is on.
#pragma once

#include <functional>
#include <scsi/sg.h>

#include "fuzz/controller.h"

namespace fuzz {

/// The answers of one run. Unset members fail or answer nothing.
struct HostCalls {
  Input* input = nullptr;
  Controller* controller = nullptr;           ///< behind every instance
  std::function<int(sg_io_hdr&)> diskAnswer;  ///< answers SG_IO
  bool traceOn = false;
  int64_t now = 0;    ///< seconds
  int openNodes = 0;  ///< disk nodes that the plugin has open
  int channels = 0;   ///< channels that it has open
};
extern HostCalls hostCalls;

}  // namespace fuzz
