// What the mistakes need that are made while an operation runs: it stops where the plugin opens its channel to the
// driver, and goes on when it may. So nothing depends on how long anything takes.
#pragma once

#include <thread>

#include "tests/broken_hosts/broken_host.h"

/// Begins cacheOn on the host's handle, and returns when it has stopped.
[[nodiscard]] std::thread beginOperation(Host& host);

void letOperationEnd();

/// Lets it end when the checker has reported that rule, or after 15 seconds.
void letOperationEndWhenReported(const char* rule);

/// Whether the checker has reported that rule so far: in its file, or on standard error, which has to be a file then.
[[nodiscard]] bool isReported(const char* rule);

/// Sets the clock by which the plugin computes its deadlines back: its wait for the lock is over when it begins.
void setClockBack();
