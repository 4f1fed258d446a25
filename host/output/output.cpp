// Writes to standard output and remembers what went wrong.
#include "host/output/output.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

#include "host/waiting/progress.h"

namespace host {
namespace {

int firstError = 0;

void remember(bool succeeded) {
  if (!succeeded && firstError == 0) firstError = errno;
}

/// Every further use of the stream fails, as it does on one that is closed.
void occupy(int stream, int mode) {
  if (fcntl(stream, F_GETFD) < 0 && errno == EBADF) static_cast<void>(open("/dev/null", mode));
}

}  // namespace

void prepareStandardStreams() {
  // A handler, since programs that are started would inherit it if the signal were ignored.
  std::signal(SIGPIPE, [](int) {});
  occupy(STDIN_FILENO, O_WRONLY);
  occupy(STDOUT_FILENO, O_RDONLY);
  occupy(STDERR_FILENO, O_RDONLY);
}

void print(const std::string& text) {
  Progress::clear();
  remember(std::fwrite(text.data(), 1, text.size(), stdout) == text.size());
}

void flushOutput() {
  remember(std::fflush(stdout) == 0);
}

bool outputArrives() {
  flushOutput();
  return firstError == 0;
}

std::string whyOutputIsMissing() {
  flushOutput();
  return firstError == 0 || firstError == EPIPE ? "" : std::strerror(firstError);
}

}  // namespace host
