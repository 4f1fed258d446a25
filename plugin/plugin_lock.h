// The plugin's one lock. The services, the snapshot cache and the management channel have no locks of their own: they
// run only while it is held.
#pragma once

#include <pthread.h>

extern "C" {

extern pthread_mutex_t pluginMutex;

/// Takes the lock, waiting for 10 seconds of the realtime clock at most.
/// @return 0 when the caller holds `pluginMutex`; else an error number (ETIMEDOUT after 10 seconds), or what the clock
///         returned when it could not be read
int TimedLockPluginMutex();
}
