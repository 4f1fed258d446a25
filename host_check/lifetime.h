// From when on this library reports.
#pragma once

namespace hostcheck {

/// A host has called: a report is owed.
void beginToCheck();

}  // namespace hostcheck
