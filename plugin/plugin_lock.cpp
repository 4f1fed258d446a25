// Taking the plugin lock with its deadline.
#include "plugin/plugin_lock.h"

#include <ctime>
#include <sys/time.h>

#if !_GLIBCXX_USE_CXX11_ABI && defined(__i386__)
// Hosts of the old string layout have this function in libpthread, at the version that the C library began with.
__asm__(".symver pthread_mutex_timedlock, pthread_mutex_timedlock@GLIBC_2.2");
#endif

namespace {

constexpr time_t kLockSeconds = 10;

}  // namespace

pthread_mutex_t pluginMutex = PTHREAD_MUTEX_INITIALIZER;

int TimedLockPluginMutex() {
  timeval now{};
  if (const int failed = gettimeofday(&now, nullptr); failed != 0) return failed;
  const timespec deadline{.tv_sec = now.tv_sec + kLockSeconds, .tv_nsec = now.tv_usec * 1000};
  return pthread_mutex_timedlock(&pluginMutex, &deadline);
}
