// The controller-wide numbers, which the later steps of a rebuild depend on.
#pragma once

#include "controller/snapshot.h"

extern "C" {

/// Fills the snapshot's limits and flags with identify controller.
/// @param info  its `slot` set
/// @return 0; the command's nonzero result; -1 for a null snapshot, a closed channel or no memory. The snapshot is
///         unchanged on failure.
int OrvaInfo_GetInfoFromCtrl(OrvaInfo* info);
}
