// Starts the rounds, passes on what they write, and waits between them.
#include "host/waiting/watch.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <optional>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "host/output/local_time.h"
#include "host/output/output.h"
#include "host/output/text.h"
#include "host/waiting/changes.h"

namespace host {
namespace {

constexpr int kStandard = 60;
constexpr int kLeast = 31;  // the plugin keeps a snapshot for 30 seconds, so the daemon sees changes no sooner
constexpr int kMost = 86400;

constexpr int kEndingSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};

constexpr const char* kEnterScreen = "\033[?1049h\033[?25l\033[?7l";
constexpr const char* kLeaveScreen = "\033[?7h\033[?25h\033[?1049l";

/// A second screen of the terminal, on which text is shown in the place of what stood there before.
class Screen {
 public:
  explicit Screen(const std::string& title) {
    leaving = kLeaveScreen;
    struct sigaction leave = {};
    leave.sa_handler = [](int signal) {
      static_cast<void>(!write(STDOUT_FILENO, leaving.data(), leaving.size()));
      raise(signal);
    };
    leave.sa_flags = static_cast<int>(SA_RESETHAND | SA_NODEFER);
    for (const int signal : kEndingSignals) sigaction(signal, &leave, nullptr);
    print(kEnterScreen + std::string("\033[H") + title + " ...");
    flushOutput();
  }
  ~Screen() {
    for (const int signal : kEndingSignals) std::signal(signal, SIG_DFL);
    print(leaving);
    flushOutput();
  }
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

  /// Shows as much as there is room for, with what changed marked; the whole text stays when the program ends.
  void show(const std::string& title, const std::vector<std::string>& lines, const Terminal& terminal) {
    const size_t room = std::max<size_t>(terminal.rows, 3) - 1;  // below the title
    std::vector<std::string> shown(lines.begin(),
                                   lines.begin() + static_cast<std::ptrdiff_t>(std::min(room, lines.size())));
    std::string last;
    if (lines.size() > room) {
      shown.pop_back();
      last = "(" + counted(lines.size() - shown.size(), "more line") + ": no room)";
    }
    std::string text = "\033[H" + terminal.bold(title) + "\033[K";
    for (const std::string& line : shown_.empty() ? shown : withChangesMarked(shown_, shown, terminal)) {
      text += "\n" + line + "\033[K";
    }
    if (!last.empty()) text += "\n" + last + "\033[K";
    print(text + "\033[J");
    flushOutput();
    shown_ = std::move(shown);
    keep(title, lines);
  }

 private:
  /// What a signal's handler writes is not changed under its hands.
  static void keep(const std::string& title, const std::vector<std::string>& lines) {
    std::string text = kLeaveScreen + title + "\n" + joined(lines, "\n") + "\n";
    sigset_t ending;
    sigset_t before;
    sigemptyset(&ending);
    for (const int signal : kEndingSignals) sigaddset(&ending, signal);
    sigprocmask(SIG_BLOCK, &ending, &before);
    leaving.swap(text);
    sigprocmask(SIG_SETMASK, &before, nullptr);
  }

  static inline std::string leaving;  // written when the program ends
  std::vector<std::string> shown_;    // without marks
};

/// Carries a round out in a process of its own.
/// @param withErrors  whether its errors come back with its output
/// @return what it wrote
std::string outputOf(const std::function<ExitStatus(const Terminal&)>& round, const Terminal& terminal,
                     bool withErrors) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return std::string("dmu-host: pipe: ") + std::strerror(errno) + "\n";
  flushOutput();
  const pid_t process = fork();
  if (process == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (const int signal : kEndingSignals) std::signal(signal, SIG_DFL);
    dup2(ends[1], STDOUT_FILENO);
    if (withErrors) dup2(ends[1], STDERR_FILENO);
    std::exit(static_cast<int>(round(terminal)));
  }
  close(ends[1]);
  std::string text;
  char block[4096];
  while (true) {
    const ssize_t length = read(ends[0], block, sizeof(block));
    if (length > 0) text.append(block, static_cast<size_t>(length));
    if (length == 0 || (length < 0 && errno != EINTR)) break;
  }
  close(ends[0]);
  if (process < 0) return std::string("dmu-host: fork: ") + std::strerror(errno) + "\n";
  int status = 0;
  while (waitpid(process, &status, 0) < 0 && errno == EINTR) continue;
  if (WIFSIGNALED(status)) text += std::string("dmu-host: ended by ") + strsignal(WTERMSIG(status)) + "\n";
  return text;
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  for (size_t begin = 0; begin < text.size();) {
    const size_t end = std::min(text.find('\n', begin), text.size());
    lines.push_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  return lines;
}

/// @return whether standard output still has a reader
bool wait(std::chrono::seconds time) {
  const auto end = std::chrono::steady_clock::now() + time;
  while (true) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
    if (left.count() <= 0) return true;
    pollfd output{STDOUT_FILENO, 0, 0};
    if (poll(&output, 1, static_cast<int>(left.count())) > 0) return false;
  }
}

}  // namespace

Option WatchChoice::option() {
  return {.name = "--watch",
          .valueName = "SECONDS",
          .help = "Show it again and again, after so many seconds (default: " + std::to_string(kStandard) +
                  ", at least " + std::to_string(kLeast) + "), until Ctrl-C",
          .value = FlagOrNumber{&seconds, kStandard, kLeast, kMost},
          .excludes = {"--replay", "--record"}};
}

void watch(const WatchedRun& run, const std::function<ExitStatus(const Terminal&)>& round) {
  const bool onScreen = Terminal::ofThisProcess().canMove && !run.writesDocuments;
  std::optional<Screen> screen;
  if (onScreen) screen.emplace(run.title);
  bool isFirst = true;
  do {
    const Terminal terminal = Terminal::ofThisProcess();
    const std::string text = outputOf(round, terminal, onScreen);
    const std::string time = localTime(std::time(nullptr));
    if (onScreen) {
      screen->show(run.title + ", " + time + ", every " + std::to_string(run.seconds) + " s", linesOf(text), terminal);
    } else {
      if (!run.writesDocuments) print((isFirst ? "" : "\n") + time + "\n");
      print(text);
    }
    isFirst = false;
  } while (outputArrives() && wait(std::chrono::seconds(run.seconds)));
}

}  // namespace host
