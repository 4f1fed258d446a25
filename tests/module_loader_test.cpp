// What the plugin reads of the module loader's output, whatever that is and whatever signals come meanwhile.
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include "channel/oem_driver.h"
#include "tests/host_process.h"

namespace {

volatile std::sig_atomic_t signals = 0;  // that told of a child's end

/// A module loader of the test's own, first on PATH.
class ModuleLoader : public PluginTest {
 protected:
  ModuleLoader() {
    std::filesystem::create_directory(folder_);
    hostCalls.runModuleLoader = true;
  }
  ~ModuleLoader() override {
    setenv("PATH", path_.c_str(), 1);
    std::filesystem::remove_all(folder_);
  }

  /// What IsOEMDriver makes of that which the shell commands print. All of it must have been taken.
  int answerTo(const std::string& commands) {
    const std::string program = folder_ + "/vmkload_mod";
    const std::string end = folder_ + "/end";
    std::filesystem::remove(end);
    std::ofstream(program) << "#!/bin/sh\n[ \"$*\" = '-s veltrane' ] || exit\n" << commands << " && : >" << end << "\n";
    std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    setenv("PATH", (folder_ + ":" + path_).c_str(), 1);
    const int answer = PUBLISHED(IsOEMDriver)();
    EXPECT_TRUE(std::filesystem::exists(end)) << "ended before its time: " << commands;
    return answer;
  }

 private:
  std::string folder_ = testing::TempDir() + "dmu-loader." + std::to_string(getpid());
  std::string path_ = std::getenv("PATH");
};

TEST_F(ModuleLoader, OnlyTwoSpellingsCountAndTheOutputIsReadToItsEnd) {
  const std::string much = "; head -c 300000 /dev/zero | tr '\\0' x";
  EXPECT_EQ(answerTo("echo 'an oem build'" + much), 1);
  EXPECT_EQ(answerTo("head -c 3000 /dev/zero | tr '\\0' x; echo OEM" + much), 1);
  EXPECT_EQ(answerTo("printf oem"), 1);
  EXPECT_EQ(answerTo("echo Oem oEM; echo o; echo em" + much), 0);
  EXPECT_EQ(answerTo(":"), 0);
}

TEST_F(ModuleLoader, OutputThatCannotBeReadIsNone) {
  hostCalls.runModuleLoader = false;
  hostCalls.moduleLoader = [] { return std::fopen("/", "r"); };
  EXPECT_EQ(PUBLISHED(IsOEMDriver)(), 0);
}

TEST_F(ModuleLoader, ASignalThatTheHostHandlesEndsNothing) {
  struct sigaction handler = {};
  struct sigaction before = {};
  handler.sa_handler = [](int) {};
  sigaction(SIGALRM, &handler, &before);
  const itimerval often = {.it_interval = {0, 1000}, .it_value = {0, 1000}};
  setitimer(ITIMER_REAL, &often, nullptr);
  EXPECT_EQ(answerTo("echo license; printf o; sleep 0.05; printf e; sleep 0.05; echo m; sleep 0.05; echo more"), 1);
  EXPECT_EQ(answerTo("sleep 0.05; echo license; printf oe; sleep 0.05"), 0);
  const itimerval never = {};
  setitimer(ITIMER_REAL, &never, nullptr);
  sigaction(SIGALRM, &before, nullptr);
}

TEST_F(ModuleLoader, ItsComplaintsAndItsEndReachTheHost) {
  const std::string kOwnSignal = "{ sh -c 'kill -USR1 $$; echo oem' || :; } 2>/dev/null";
  testing::internal::CaptureStderr();
  EXPECT_EQ(answerTo("echo no such module >&2"), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "no such module\n");
  setenv("PATH", "/nowhere", 1);
  testing::internal::CaptureStderr();
  EXPECT_EQ(PUBLISHED(IsOEMDriver)(), 0);
  EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("vmkload_mod"));
  struct sigaction handler = {};
  struct sigaction before = {};
  handler.sa_handler = [](int) {
    const int kept = errno;
    signals = signals + 1;
    waitpid(-1, nullptr, WNOHANG);
    errno = kept;
  };
  signals = 0;
  sigaction(SIGCHLD, &handler, &before);
  EXPECT_EQ(answerTo("echo OEM; exec >&-; sleep 0.05"), 1);
  sigaction(SIGCHLD, &before, nullptr);
  EXPECT_EQ(signals, 1);
  EXPECT_EQ(answerTo(kOwnSignal), 0) << "ends by the signal";
  std::signal(SIGUSR1, SIG_IGN);
  EXPECT_EQ(answerTo(kOwnSignal), 1) << "ignores what the host ignores";
  std::signal(SIGUSR1, SIG_DFL);
}

}  // namespace
