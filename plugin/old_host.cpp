// What today's C library provides and an old host's does not.
#include <sys/single_threaded.h>

// The strings of the old layout ask it before they count references. A daemon has threads, so the answer that counts
// atomically is always right.
[[gnu::visibility("hidden")]] char __libc_single_threaded = 0;
