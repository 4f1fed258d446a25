// The simulated host's state file when the process that writes it is killed at each of its calls: the file holds the
// old state or the new one, and either can be used.
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/interception.h"
#include "tests/scenario.h"

namespace {

int callsToLive = 0;  // 0: for ever

/// Counts a call that writes a file.
/// @return whether the process is to be killed at it
bool isLastCall() {
  return callsToLive > 0 && --callsToLive == 0;
}

void killAtLastCall() {
  if (isLastCall()) raise(SIGKILL);
}

}  // namespace

extern "C" {

int mkostemp(char* name, int flags) {
  killAtLastCall();
  return interception::next<int(char*, int)>("mkostemp")(name, flags);
}

ssize_t write(int descriptor, const void* data, size_t size) {
  static auto* const kWrite = interception::next<ssize_t(int, const void*, size_t)>("write");
  if (!isLastCall()) return kWrite(descriptor, data, size);
  (void)!kWrite(descriptor, data, size / 2);
  return raise(SIGKILL);
}

int fsync(int descriptor) {
  killAtLastCall();
  return interception::next<int(int)>("fsync")(descriptor);
}

int rename(const char* from, const char* to) noexcept {
  killAtLastCall();
  const int result = interception::next<int(const char*, const char*)>("rename")(from, to);
  killAtLastCall();
  return result;
}
}  // extern "C"

namespace {

class StateFile : public ScenarioTest {
 protected:
  StateFile() { std::filesystem::create_directory(folder_); }
  ~StateFile() override {
    (void)host.useStateFile("", simulator::StateUse::look);
    std::filesystem::remove_all(folder_);
  }

  [[nodiscard]] std::string content() const {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  /// Switches the volume's cache in a process of its own, which is killed at a call.
  /// @return whether it got to its end
  bool switchCacheElsewhere(CtrlDevInfo* volume, bool on, int killedAt) {
    const pid_t process = fork();
    if (process == 0) {
      callsToLive = killedAt;
      std::string text;
      _exit((on ? plugin->cacheOn : plugin->cacheOff)(volume, text) == 2 ? 0 : 1);
    }
    int status = 0;
    waitpid(process, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) || WEXITSTATUS(status) == 0);
    return WIFEXITED(status);
  }

 private:
  const std::string folder_ = testing::TempDir() + "dmu-state." + std::to_string(getpid());

 protected:
  const std::string file = folder_ + "/state.json";
};

TEST_F(StateFile, HoldsTheOldStateOrTheNewOneWheneverItsWriterIsKilled) {
  load(small());
  ASSERT_EQ(host.useStateFile(file, simulator::StateUse::change), std::nullopt);
  CtrlDevInfo* volume = open("volume0");
  ASSERT_EQ(plugin->cacheOn(volume, error), 2);
  const std::string old = content();
  ASSERT_TRUE(switchCacheElsewhere(volume, false, 0));
  const std::string changed = content();
  ASSERT_NE(old, changed);

  int points = 0;
  bool replaced = false;
  while (!switchCacheElsewhere(volume, true, ++points)) {
    replaced = content() == old;
    EXPECT_TRUE(replaced || content() == changed) << "killed at call " << points;
    EXPECT_EQ(host.useStateFile(file, simulator::StateUse::change), std::nullopt);
  }
  EXPECT_TRUE(replaced) << "killed after the last call that matters";
  EXPECT_GE(points - 1, 5) << "the temporary file, its bytes, their way to the disk, and the renaming";
}

TEST_F(StateFile, IsRefusedWithEveryMistakeInItAndChangesNothingThen) {
  load(small());
  ASSERT_EQ(host.useStateFile(file, simulator::StateUse::change), std::nullopt);
  ASSERT_EQ(plugin->cacheOn(open("volume0"), error), 2);
  const auto good = nlohmann::json::parse(content());
  ASSERT_EQ(host.useStateFile("", simulator::StateUse::look), std::nullopt);
  load(small());
  const std::string hba = "/controllers/" + small().controllers.front().hba;

  // What is done to the good state, and what is said of it after the file's name.
  struct Damage {
    std::string patch;
    std::vector<std::string> says;
  };
  const auto replace = [](const std::string& path, const std::string& value) {
    return R"([{"op": "add", "path": ")" + path + R"(", "value": )" + value + "}]";
  };
  const Damage damages[] = {
      {replace("", "[]"), {"/: must be an object, not a list", "not a state of the simulated host"}},
      {replace("/format", "1"), {"not a state of the simulated host"}},
      {replace("/version", "2"), {"/version: a state of version 2; this program knows version 1"}},
      {replace("/version", "\"1\""), {R"(/version: must be a whole number from 0 to 4294967295, not "1")"}},
      {R"([{"op": "remove", "path": "/controllers"}, {"op": "add", "path": "/controller", "value": {}}])",
       {"/controllers: is missing", R"(/controller: unknown key; did you mean "controllers"?)"}},
      {replace("/controllers", "[]"), {"/controllers: must be an object, not a list"}},
      {replace("/controllers/a~1b", "{}"), {"/controllers/a~1b: no controller of this topology"}},
      {replace(hba, R"({"blinkDuration": -1, "blinkStarted": 1.5, "blinkEnable": "0", "blinkExtended": "00",
                        "parameters": 0, "cacheConfig": ""})"),
       {hba + "/blinkDuration: must be a whole number from 0 to 4294967295, not -1",
        hba + "/blinkStarted: must be a whole number from 0 to 18446744073709551615, not 1.5",
        hba + R"(/blinkEnable: must be a text of hexadecimal digits, two a byte, not "0")",
        hba + "/blinkExtended: must be 0 bytes, as on this topology's controller, not 1",
        hba + "/parameters: must be a text of hexadecimal digits, two a byte, not 0",
        hba + "/cacheConfiguration: is missing", hba + "/cacheConfig: unknown key"}},
      {replace(
           hba + "/cacheConfiguration",
           '"' + std::string(good["controllers"].front()["cacheConfiguration"].get<std::string>().size(), '0') + '"'),
       {hba + "/cacheConfiguration: must have the offsets and lengths of this topology's controller"}},
  };
  for (const Damage& damage : damages) {
    std::ofstream(file) << good.patch(nlohmann::json::parse(damage.patch));
    std::string said;
    for (const std::string& mistake : damage.says) said += (said.empty() ? "" : "\n") + file + ": " + mistake;
    EXPECT_EQ(host.useStateFile(file, simulator::StateUse::look), said);
    EXPECT_FALSE(host.state().front().volumes.front().volume.cacheOn);
  }
  std::ofstream(file) << good;
  EXPECT_EQ(host.useStateFile(file, simulator::StateUse::look), std::nullopt);
  EXPECT_TRUE(host.state().front().volumes.front().volume.cacheOn);
}

TEST_F(StateFile, KeepsTheChangesOfOthersWhoeverMeantToLookAlone) {
  load(small());
  ASSERT_EQ(host.useStateFile(file, simulator::StateUse::look), std::nullopt);
  CtrlDevInfo* volume = open("volume0");
  ASSERT_TRUE(switchCacheElsewhere(volume, true, 0));
  ASSERT_EQ(plugin->setDriveLEDState(volume, 1, 10, error), 2);
  EXPECT_TRUE(host.state().front().volumes.front().volume.cacheOn);
}

}  // namespace
