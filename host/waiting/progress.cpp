// Keeps what is being done, and draws it from a thread of its own: a command may take long to come back.
#include "host/waiting/progress.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <optional>
#include <pthread.h>
#include <sys/ioctl.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "host/model/controllers.h"
#include "host/output/terminal.h"
#include "host/output/text.h"

namespace host {
namespace {

using simulator::Opcode;

constexpr std::chrono::seconds kPatience{1};
constexpr std::chrono::milliseconds kBetweenDrawings{200};

struct Steps {
  std::string what;
  size_t all = 0;
  size_t done = 0;
  bool areAskedDrives = false;
};

/// What is under way. The thread that draws and those that act share it.
struct State {
  std::mutex mutex;
  std::condition_variable ending;
  bool isShown = false;  // the line is on the terminal
  bool isEnding = false;
  std::optional<std::thread> drawing;  // nothing: nobody would see it
  std::vector<Steps> activities;
  Steps snapshot;  // of a controller that is being read
};
State state;

std::string textOf(const Steps& steps) {
  return grouped(steps.all) + " " + steps.what + ": " + grouped(steps.done);
}

/// Empty when there is nothing to say.
std::string currentText() {
  if (state.snapshot.done < state.snapshot.all) return textOf(state.snapshot);
  const auto last = std::find_if(state.activities.rbegin(), state.activities.rend(),
                                 [](const Steps& steps) { return steps.all != 0; });
  return last == state.activities.rend() ? "" : textOf(*last);
}

size_t columnsOfErrors() {
  winsize size{};
  return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

void eraseLine() {
  if (state.isShown) std::fputs("\r\033[K", stderr);
  state.isShown = false;
}

void drawLine() {
  const std::string text = currentText();
  eraseLine();
  if (text.empty()) return;
  std::fputs(text.substr(0, columnsOfErrors() - 1).c_str(), stderr);
  state.isShown = true;
}

void drawUntilTheEnd() {
  std::unique_lock lock(state.mutex);
  auto time = std::chrono::duration_cast<std::chrono::milliseconds>(kPatience);
  while (!state.ending.wait_for(lock, time, [] { return state.isEnding; })) {
    drawLine();
    time = kBetweenDrawings;
  }
}

/// A process that is forked meanwhile has no such thread; it finds the lock free.
void stayUsableInForks() {
  static const int registered =
      pthread_atfork([] { state.mutex.lock(); }, [] { state.mutex.unlock(); }, [] { state.mutex.unlock(); });
  static_cast<void>(registered);
}

}  // namespace

Progress::Progress() {
  if (isatty(STDERR_FILENO) != 1 || !canMoveCursor()) return;
  stayUsableInForks();
  state.isEnding = false;
  state.drawing.emplace(drawUntilTheEnd);
}

Progress::~Progress() {
  if (!state.drawing) return;
  {
    const std::lock_guard lock(state.mutex);
    state.isEnding = true;
  }
  state.ending.notify_one();
  state.drawing->join();
  state.drawing.reset();
  clear();
}

void Progress::clear() {
  const std::lock_guard lock(state.mutex);
  eraseLine();
}

/// A snapshot begins with identify controller; its reports tell how many devices are asked for then.
void Progress::commandPassed(const InterceptedCommand& command) {
  if (!command.command) return;
  const std::lock_guard lock(state.mutex);
  Steps& snapshot = state.snapshot;
  const bool isReading = snapshot.done < snapshot.all;
  switch (command.command->layout->opcode) {
    case Opcode::identifyController:
      snapshot = {"devices of " + printable(command.hba)};
      break;
    case Opcode::reportLogicalLuns:
    case Opcode::reportPhysicalLuns:
      snapshot.all += model::listedDevices(command);
      break;
    case Opcode::senseConfiguration:
      snapshot.done += isReading ? 1 : 0;
      break;
    case Opcode::identifyPhysicalDevice:
      if (isReading) {
        ++snapshot.done;
      } else if (!state.activities.empty() && state.activities.back().areAskedDrives) {
        ++state.activities.back().done;
      }
      break;
    default:
      break;
  }
}

Activity::Activity(size_t steps, const std::string& what, Steps kind) {
  const std::lock_guard lock(state.mutex);
  place_ = state.activities.size();
  state.activities.push_back({what, steps, 0, kind == Steps::askedDrives});
}

Activity::~Activity() {
  const std::lock_guard lock(state.mutex);
  state.activities.resize(place_);
}

void Activity::advance() const {
  const std::lock_guard lock(state.mutex);
  ++state.activities[place_].done;
}

}  // namespace host
