// dmu-host, the reference host, as a whole.
#pragma once

namespace host {

/// @return the exit status of the process, of host/exit_status.h
[[nodiscard]] int runProgram(int argc, char** argv);

}  // namespace host
