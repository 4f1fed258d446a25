// A recording's file on a disk that is full.
#include "host/recording/recording_file.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <string>
#include <sys/resource.h>

#include "host/refusal.h"

namespace {

/// As long as it lives, files have no room for a single byte.
class NoRoom {
 public:
  NoRoom() {
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit none = {0, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &none);
  }
  ~NoRoom() {
    setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, handler_);
  }
  NoRoom(const NoRoom&) = delete;
  NoRoom& operator=(const NoRoom&) = delete;

 private:
  rlimit before_ = {};
  void (*handler_)(int) = std::signal(SIGXFSZ, SIG_IGN);
};

TEST(RecordingFile, IsRefusedAndGoneWhenNotEvenItsFirstLineCanBeWritten) {
  std::string folder = testing::TempDir() + "recording.XXXXXX";
  ASSERT_NE(mkdtemp(folder.data()), nullptr);
  const auto begin = [&] {
    const NoRoom noRoom;
    const host::recording::RecordingFile file(folder + "/full.jsonl", {}, false);
  };
  EXPECT_THAT(begin, testing::ThrowsMessage<host::Refusal>(folder + "/full.jsonl: cannot be written: File too large"));
  EXPECT_TRUE(std::filesystem::is_empty(folder));
  std::filesystem::remove_all(folder);
}

}  // namespace
