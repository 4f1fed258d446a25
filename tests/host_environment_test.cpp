// What happens around a call: forks, steps of the clock, and what the trace file can be.
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/scenario.h"
#include "tests/services_fixture.h"

namespace {

namespace fs = std::filesystem;

class HostEnvironment : public Services {
 protected:
  HostEnvironment() { fs::create_directory(folder_); }
  ~HostEnvironment() override { fs::remove_all(folder_); }

  int32_t askInfo(CtrlDevInfo* handle) {
    DmuDeviceInfo info{};
    return plugin->getDeviceInfo(handle, &info, error);
  }

  /// Opens and closes a handle with the trace going to the file of that name in the test's folder.
  void traceTo(const std::string& name) {
    hostCalls.traceFile = folder_ + "/" + name;
    hostCalls.traceOn = true;
    const simulator::HostDisk first = host.disks().front();
    const DmuDeviceOpenInfo info = openInfoOf(first);
    CtrlDevInfo* handle = nullptr;
    EXPECT_EQ(plugin->openDeviceV2(&info, &handle), 0);
    plugin->closeDevice(handle);
    hostCalls.traceOn = false;
  }

  std::string folder_ = testing::TempDir() + "dmu-environment." + std::to_string(getpid());
};

TEST_F(HostEnvironment, AChildOfAForkDuringAnOperationNeverGetsTheLock) {
  pid_t child = fork();
  if (child == 0) _exit(askInfo(volume));
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0) << "nothing was under way";
  hostCalls.now = 1000;  // long ago, so that the child's deadline is over at once
  hostCalls.before = [&](const char* command) {
    if (std::strcmp(command, "identifyController") != 0) return;
    child = fork();
    if (child != 0) return;
    hostCalls.before = nullptr;
    const Outcomes outcomes = callAll(*plugin, volume);
    const bool allFail = std::all_of(outcomes.begin(), outcomes.end(), [](const Outcome& outcome) {
      return outcome.result == -1 && outcome.text.starts_with("Mutex lock error: ");
    });
    _exit(allFail ? 0 : 1);
  };
  EXPECT_EQ(askInfo(volume), 0) << "the parent goes on";
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
}

TEST_F(HostEnvironment, ASnapshotIsAsOldAsTheWallClockSays) {
  struct {
    int64_t now;
    bool isNew;
  } const kSteps[] = {{5000, true}, {5030, false}, {2000, false}, {5031, true}, {1000, false}, {9000, true}};
  for (const auto& step : kSteps) {
    hostCalls.now = step.now;
    ASSERT_EQ(askInfo(volume), 0);
    EXPECT_EQ(!sentOpcodes().empty(), step.isNew) << step.now;
  }
}

TEST_F(HostEnvironment, TheTraceFileMayBeAnything) {
  fs::create_symlink("elsewhere", folder_ + "/link");
  traceTo("link");
  EXPECT_GT(fs::file_size(folder_ + "/elsewhere"), 100u);

  fs::create_directory(folder_ + "/directory");
  traceTo("directory");

  mkfifo((folder_ + "/fifo").c_str(), 0600);
  const int fifo = ::open((folder_ + "/fifo").c_str(), O_RDWR);
  traceTo("fifo");
  std::string read(65536, '\0');
  read.resize(static_cast<size_t>(::read(fifo, read.data(), read.size())));
  close(fifo);
  EXPECT_NE(read.find("openDevice: hba=vmhba1"), std::string::npos);
  EXPECT_NE(read.find("CloseDevice: "), std::string::npos);

  constexpr uintmax_t kLongest = 0x7FFFFFFF;
  std::ofstream(folder_ + "/long").close();
  fs::resize_file(folder_ + "/long", kLongest);
  // A kernel lets a 32-bit program write no further, an emulator does.
  const int own = ::open((folder_ + "/long").c_str(), O_WRONLY | O_APPEND);
  const bool takesMore = write(own, "", 1) == 1;
  close(own);
  fs::resize_file(folder_ + "/long", kLongest);
  traceTo("long");
  EXPECT_EQ(fs::file_size(folder_ + "/long") > kLongest, takesMore);
}

}  // namespace
