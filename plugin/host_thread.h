// The host's thread while it is inside the plugin.
#pragma once

#include <cerrno>
#include <pthread.h>

namespace dmu {

/// Keeps the calling thread as it came, for the scope of one call of the host: it cannot be cancelled before the call
/// returns, whatever the plugin owns meanwhile, and finds `errno` as it left it.
class HostThread {
 public:
  HostThread() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancelState_); }
  ~HostThread() {
    errno = errno_;
    pthread_setcancelstate(cancelState_, nullptr);
  }
  HostThread(const HostThread&) = delete;
  HostThread& operator=(const HostThread&) = delete;

 private:
  int errno_ = errno;
  int cancelState_ = PTHREAD_CANCEL_ENABLE;
};

}  // namespace dmu
