// From when on this library reports.
#pragma once

namespace hostcheck {

/// A host has called, and the real plugin is loaded: a report is owed from here on.
void beginToCheck();

}  // namespace hostcheck
