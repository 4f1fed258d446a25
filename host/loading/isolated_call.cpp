// Forks, carries the answer back through a pipe, and words how a process ended that gave none.
#include "host/loading/isolated_call.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
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

IsolatedCall::SharedStep* IsolatedCall::ownStep_ = nullptr;

void noteStep(const std::string& step) {
  static std::mutex mutex;
  const std::lock_guard lock(mutex);
  if (IsolatedCall::ownStep_ == nullptr) return;
  char* const text = IsolatedCall::ownStep_->text;
  text[step.copy(text, sizeof(IsolatedCall::SharedStep) - 1)] = '\0';
}

IsolatedCall::IsolatedCall(const std::function<std::string()>& function, std::chrono::seconds limit)
    : limit_(limit), deadline_(std::chrono::steady_clock::now() + limit) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw Refusal(std::string("pipe: ") + std::strerror(errno));
  answers_ = ends[0];
  void* const shared = mmap(nullptr, sizeof(SharedStep), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (shared != MAP_FAILED) step_ = static_cast<SharedStep*>(shared);
  std::fflush(nullptr);  // or the child would write it a second time
  process_ = fork();
  if (process_ == 0) {
    ownStep_ = step_;
    runAsChild(function, ends[1]);
  }
  const int error = errno;
  close(ends[1]);
  if (process_ > 0) return;
  release();
  throw Refusal(std::string("fork: ") + std::strerror(error));
}

IsolatedCall::~IsolatedCall() {
  if (process_ > 0) end();
  release();
}

void IsolatedCall::release() {
  if (step_ != nullptr) munmap(step_, sizeof(SharedStep));
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

/// Ends the process when the limit is over: it may have closed its end of the pipe and still run.
/// @return the process's status as waitpid gives it
int IsolatedCall::awaitProcess() {
  int status = 0;
  while (waitpid(process_, &status, WNOHANG) == 0) {
    if (std::chrono::steady_clock::now() >= deadline_) kill(process_, SIGKILL);
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  process_ = -1;
  return status;
}

void IsolatedCall::end() {
  kill(process_, SIGKILL);
  static_cast<void>(awaitProcess());
}

IsolatedOutcome IsolatedCall::wait() {
  IsolatedOutcome outcome;
  std::string bytes;
  if (!readAnswer(bytes)) end();
  if (bytes.empty()) {
    const int status = process_ > 0 ? awaitProcess() : 0;
    outcome.hung = std::chrono::steady_clock::now() >= deadline_;
    outcome.ending = outcome.hung ? "it did not come to its end in " + std::to_string(limit_.count()) + " seconds"
                                  : endingOf(status);
  } else if (bytes.front() == kThrew) {
    outcome.ending = "it threw an exception" + bytes.substr(1);
  } else {
    outcome.answer = bytes.substr(1);
  }
  if (!outcome.answer && step_ != nullptr) outcome.step = step_->text;
  return outcome;
}

}  // namespace host
