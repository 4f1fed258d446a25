// What today's C and C++ libraries provide and an old host's do not (newer than GLIBC_2.17, GLIBCXX_3.4.19 and
// CXXABI_1.3.7), made of what both have. Each stands in the program itself, where it comes before the libraries' own;
// old_host.map keeps them there.
#include <array>
#include <cerrno>
#include <condition_variable>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <cxxabi.h>
#include <malloc.h>
#include <new>
#include <pthread.h>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/single_threaded.h>
#include <system_error>
#include <thread>

// The start of a program. What ran the constructors was part of the program then, and is part of the library now.
using Constructor = void (*)(int, char**, char**);
extern "C" {
extern const Constructor __init_array_start[];  // NOLINT(clang-diagnostic-reserved-identifier): the linker's names
extern const Constructor __init_array_end[];    // NOLINT(clang-diagnostic-reserved-identifier)
void _init();                                   // NOLINT(clang-diagnostic-reserved-identifier)

__asm__(".symver oldStart, __libc_start_main@GLIBC_2.0");
int oldStart(int (*program)(int, char**, char**), int count, char** arguments, Constructor construct,
             void (*destruct)(), void (*unload)(), void* stackEnd);

static void runConstructors(int count, char** arguments, char** environment) {
  _init();
  for (const Constructor* each = __init_array_start; each != __init_array_end; ++each) {
    (*each)(count, arguments, environment);
  }
}

// NOLINTNEXTLINE(clang-diagnostic-reserved-identifier): what the compiler's start-up code calls
int __libc_start_main(int (*program)(int, char**, char**), int count, char** arguments, Constructor /*construct*/,
                      void (*destruct)(), void (*unload)(), void* stackEnd) {
  return oldStart(program, count, arguments, runConstructors, destruct, unload, stackEnd);
}

// Memory. On a 32-bit machine the older account has fields of the same size.
struct mallinfo2 mallinfo2() noexcept {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
  const auto inUse = static_cast<size_t>(mallinfo().uordblks);
#pragma GCC diagnostic pop
  struct mallinfo2 account = {};
  account.uordblks = inUse;
  return account;
}

// Threads. The strings of the old layout ask before they count references; to count atomically is always right.
char __libc_single_threaded = 0;  // NOLINT(clang-diagnostic-reserved-identifier): the C library's name

__asm__(".symver oldCreate, pthread_create@GLIBC_2.1");
int oldCreate(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*), void* argument);

/// Waits by the wall clock; a change of that one makes a wait longer or shorter.
int pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock, const timespec* until) {
  constexpr long kSecond = 1'000'000'000;
  timespec now{};
  timespec end{};
  clock_gettime(clock, &now);
  clock_gettime(CLOCK_REALTIME, &end);
  end.tv_sec += until->tv_sec - now.tv_sec;
  end.tv_nsec += until->tv_nsec - now.tv_nsec;
  if (end.tv_nsec < 0) --end.tv_sec, end.tv_nsec += kSecond;
  if (end.tv_nsec >= kSecond) ++end.tv_sec, end.tv_nsec -= kSecond;
  return pthread_cond_timedwait(condition, mutex, &end);
}
}  // extern "C"

namespace std {

thread::_State::~_State() = default;

void thread::_M_start_thread(_State_ptr state, void (* /*depend*/)()) {
  const auto run = [](void* given) -> void* {
    const _State_ptr own(static_cast<_State*>(given));
    own->_M_run();
    return nullptr;
  };
  const int error = oldCreate(&_M_id._M_thread, nullptr, run, state.get());
  if (error != 0) throw runtime_error("no thread could be started: " + string(strerror(error)));
  static_cast<void>(state.release());
}

// Exceptions.
runtime_error::runtime_error(const char* what) : runtime_error(string(what)) {}
runtime_error::runtime_error(runtime_error&& other) noexcept
    : runtime_error(static_cast<const runtime_error&>(other)) {}  // NOLINT(performance-move-constructor-init)
invalid_argument::invalid_argument(const char* what) : invalid_argument(string(what)) {}

void __throw_bad_array_new_length() {
  throw bad_alloc();
}

void __throw_out_of_range_fmt(const char* format, ...) {
  array<char, 512> text{};
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(text.data(), text.size(), format, arguments);
  va_end(arguments);
  throw out_of_range(string(text.data()));
}

int uncaught_exceptions() noexcept {
  struct Globals {
    void* caught;
    unsigned uncaught;
  };
  return static_cast<int>(reinterpret_cast<const Globals*>(__cxxabiv1::__cxa_get_globals())->uncaught);
}

}  // namespace std

// The constructor of a stream over a string that is told nothing.
extern "C" void constructStream(std::stringstream* place) __asm__(
    "_ZNSt18basic_stringstreamIcSt11char_traitsIcESaIcEEC1Ev");
void constructStream(std::stringstream* place) {
  new (place) std::stringstream(std::ios_base::in | std::ios_base::out);
}
extern "C" void constructOutputStream(std::ostringstream* place) __asm__(
    "_ZNSt19basic_ostringstreamIcSt11char_traitsIcESaIcEEC1Ev");
void constructOutputStream(std::ostringstream* place) {
  new (place) std::ostringstream(std::ios_base::out);
}
