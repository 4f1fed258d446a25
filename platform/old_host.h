// Included before everything in the build for hosts of the old string layout: these functions lie in libraries of their
// own there, at the versions that the C library began with.
#pragma once

#ifdef __i386__
#include <sys/stat.h>

__asm__(".symver dlopen, dlopen@GLIBC_2.1");
__asm__(".symver dlsym, dlsym@GLIBC_2.0");
#ifndef DMU_DEFINES_DLCLOSE
__asm__(".symver dlclose, dlclose@GLIBC_2.0");
#endif
__asm__(".symver dlerror, dlerror@GLIBC_2.0");
__asm__(".symver dladdr, dladdr@GLIBC_2.0");
__asm__(".symver dladdr1, dladdr1@GLIBC_2.3.3");
__asm__(".symver dlinfo, dlinfo@GLIBC_2.3.3");
__asm__(".symver fcntl, fcntl@GLIBC_2.0");
__asm__(".symver pthread_once, pthread_once@GLIBC_2.0");

// Files were asked by inline functions over these, which are told the layout of the record.
__asm__(".symver __xstat, __xstat@GLIBC_2.0");
__asm__(".symver __xstat64, __xstat64@GLIBC_2.2");
__asm__(".symver __lxstat64, __lxstat64@GLIBC_2.2");
__asm__(".symver __fxstat64, __fxstat64@GLIBC_2.2");
extern "C" {
int __xstat(int layout, const char* name, struct stat* status);
int __xstat64(int layout, const char* name, struct stat64* status);
int __lxstat64(int layout, const char* name, struct stat64* status);
int __fxstat64(int layout, int descriptor, struct stat64* status);
[[gnu::gnu_inline, gnu::always_inline]] inline int stat(const char* name, struct stat* status) noexcept {
  return __xstat(3, name, status);
}
[[gnu::gnu_inline, gnu::always_inline]] inline int stat64(const char* name, struct stat64* status) noexcept {
  return __xstat64(3, name, status);
}
[[gnu::gnu_inline, gnu::always_inline]] inline int lstat64(const char* name, struct stat64* status) noexcept {
  return __lxstat64(3, name, status);
}
[[gnu::gnu_inline, gnu::always_inline]] inline int fstat64(int descriptor, struct stat64* status) noexcept {
  return __fxstat64(3, descriptor, status);
}
}
#endif
