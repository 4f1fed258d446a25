// What the plugin asks of the process during a fuzzing run, answered from the input. Its calls come by the tests'
// definitions (tests/plugin_calls.h).
#pragma once

#include <functional>
#include <scsi/sg.h>

#include "fuzz/controller.h"
#include "tests/plugin_calls.h"

namespace fuzz {

inline constexpr char kDisk[] = "naa.6a1b2c0000000200";  ///< a disk node that can be opened

/// Lets the input answer the plugin's calls from now on, and decide which of them fail and whether the trace is on.
/// @param disk        answers SG_IO
/// @param controller  behind every instance; null where no command is sent
void answerFrom(Input& input, std::function<int(sg_io_hdr&)> disk, Controller* controller = nullptr);

/// Ends the run when the plugin still holds anything.
void requireNothingHeld();

}  // namespace fuzz
