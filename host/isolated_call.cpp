// Forks, carries the answer back through a pipe, and words how a process ended that gave none.
#include "host/isolated_call.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "host/refusal.h"

namespace host {
namespace {

/// The first byte of what comes through the pipe; behind it stands the answer, or what was thrown.
constexpr char kReturned = 'r';
constexpr char kThrew = 't';

std::string run(const std::function<std::string()>& function) {
  try {
    return kReturned + function();
  } catch (const std::exception& exception) {
    return std::string(1, kThrew) + ": " + exception.what();
  } catch (...) {
    return {kThrew};
  }
}

void writeAll(int file, const std::string& bytes) {
  size_t written = 0;
  while (written < bytes.size()) {
    const ssize_t result = write(file, bytes.data() + written, bytes.size() - written);
    if (result < 0 && errno != EINTR) return;
    written += static_cast<size_t>(std::max<ssize_t>(result, 0));
  }
}

[[noreturn]] void runAsChild(const std::function<std::string()>& function, int answers) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  const rlimit noCoreFile{};
  setrlimit(RLIMIT_CORE, &noCoreFile);
  dup2(STDERR_FILENO, STDOUT_FILENO);
  writeAll(answers, run(function));
  _exit(0);
}

std::string endingOf(int status) {
  if (WIFSIGNALED(status)) {
    const int signal = WTERMSIG(status);
    return "its process was ended by signal " + std::to_string(signal) + " (" + strsignal(signal) + ")";
  }
  return "it ended its process with status " + std::to_string(WEXITSTATUS(status));
}

}  // namespace

IsolatedCall::IsolatedCall(const std::function<std::string()>& function, std::chrono::seconds limit)
    : limit_(limit), deadline_(std::chrono::steady_clock::now() + limit) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw Refusal(std::string("pipe: ") + std::strerror(errno));
  std::fflush(nullptr);  // or the child would write it a second time
  process_ = fork();
  if (process_ == 0) runAsChild(function, ends[1]);
  const int error = errno;
  close(ends[1]);
  answers_ = ends[0];
  if (process_ > 0) return;
  close(answers_);
  throw Refusal(std::string("fork: ") + std::strerror(error));
}

IsolatedCall::~IsolatedCall() {
  if (process_ > 0) static_cast<void>(end());
  close(answers_);
}

/// @return false when the limit was over before the process closed its end
bool IsolatedCall::readAnswer(std::string& bytes) const {
  while (true) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline_ - std::chrono::steady_clock::now());
    pollfd readable{answers_, POLLIN, 0};
    const int ready = poll(&readable, 1, static_cast<int>(std::max<int64_t>(left.count(), 0)));
    if (ready < 0 && errno == EINTR) continue;
    if (ready <= 0) return false;
    char block[4096];
    const ssize_t length = read(answers_, block, sizeof(block));
    if (length <= 0) return true;
    bytes.append(block, static_cast<size_t>(length));
  }
}

/// @return the process's status as waitpid gives it
int IsolatedCall::end() {
  kill(process_, SIGKILL);
  int status = 0;
  while (waitpid(process_, &status, 0) < 0 && errno == EINTR) {
  }
  process_ = -1;
  return status;
}

IsolatedOutcome IsolatedCall::wait() {
  std::string bytes;
  if (!readAnswer(bytes)) {
    static_cast<void>(end());
    return {std::nullopt, "it did not come to its end in " + std::to_string(limit_.count()) + " seconds", true};
  }
  if (bytes.empty()) {
    // The pipe closes a moment before the process can be waited for; it must not be killed in that moment.
    int status = 0;
    while (waitpid(process_, &status, 0) < 0 && errno == EINTR) {
    }
    process_ = -1;
    return {std::nullopt, endingOf(status), false};
  }
  static_cast<void>(end());
  if (bytes.front() == kThrew) return {std::nullopt, "it threw an exception" + bytes.substr(1), false};
  return {bytes.substr(1), "", false};
}

}  // namespace host
