// Included before everything in the build for hosts of the old string layout: these functions lie in libraries of their
// own there, at the versions that the C library began with.
#pragma once

#ifdef __i386__
__asm__(".symver dlopen, dlopen@GLIBC_2.1");
__asm__(".symver dlsym, dlsym@GLIBC_2.0");
__asm__(".symver dlerror, dlerror@GLIBC_2.0");
__asm__(".symver dladdr, dladdr@GLIBC_2.0");
__asm__(".symver dladdr1, dladdr1@GLIBC_2.3.3");
__asm__(".symver dlinfo, dlinfo@GLIBC_2.3.3");
__asm__(".symver pthread_once, pthread_once@GLIBC_2.0");
#endif
