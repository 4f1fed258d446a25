// Threads: the lock of the six operations, what must not wait for it, and calls at the same time.
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <functional>
#include <thread>

#include "host/check/calls.h"
#include "host/check/expectations.h"
#include "host/disks/open_record.h"

namespace host::check {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kLong{20000};           // longer than the lock's deadline
constexpr std::chrono::seconds kAtOnce{5};     // what does not wait for the lock returns before
constexpr std::chrono::seconds kLeastWait{9};  // around the deadline of 10 seconds
constexpr std::chrono::seconds kMostWait{16};

/// An operation under way in a thread of its own, whose first command takes its time in the driver. It is not waited
/// for: the process ends with the rule.
class SlowOperation {
 public:
  SlowOperation(Trial& trial, const HostDisk& disk, milliseconds time) : commands_(trial.commands()) {
    const DmuPluginDescriptor& plugin = trial.plugin();
    const DmuDeviceOpenInfo record = openRecordOf(disk);
    CtrlDevInfo* handle = nullptr;
    expectResult("open of " + disk.device, 0, plugin.openDeviceV2(&record, &handle));
    trial.addFault("any", simulator::FaultAction::delay, static_cast<uint32_t>(time.count()), 1);
    thread_ = std::thread([&plugin, handle] {
      DmuDeviceInfo information{};
      std::string error;
      plugin.getDeviceInfo(handle, &information, error);
      plugin.closeDevice(handle);
    });
    const auto deadline = steady_clock::now() + kLong;
    while (commands_.begun() == 0) {
      expect(steady_clock::now() < deadline,
             "device information of " + disk.device + ": no command reached the driver");
      std::this_thread::sleep_for(milliseconds(1));
    }
  }
  ~SlowOperation() {
    if (thread_.joinable()) thread_.detach();
  }
  SlowOperation(const SlowOperation&) = delete;
  SlowOperation& operator=(const SlowOperation&) = delete;

  /// Its first command has not come back, so it holds the lock for sure.
  [[nodiscard]] bool isUnderWay() const { return !commands_.firstIsBack(); }

  void join() { thread_.join(); }

 private:
  const CommandCounter& commands_;
  std::thread thread_;
};

/// Disks for the operation that holds the lock and for the others: on two controllers where there are two.
std::pair<HostDisk, HostDisk> twoDisks(Trial& trial) {
  const std::vector<Subject> subjects = trial.subjects();
  return {subjects.front().disk, subjects.back().disk};
}

void serialises(Trial& trial) {
  const auto [first, second] = twoDisks(trial);
  const Handle handle = trial.open(second);
  SlowOperation slow(trial, first, milliseconds(500));
  std::array<std::atomic<bool>, 6> overtook{};
  std::vector<std::thread> threads;
  const std::vector<Operation> others = operations(trial.maySwitch());
  for (size_t i = 0; i < others.size(); ++i) {
    threads.emplace_back([&, i] {
      bool wrote = false;
      static_cast<void>(others[i].call(trial.plugin(), handle.get(), wrote));
      overtook[i] = slow.isUnderWay();
    });
  }
  for (std::thread& thread : threads) thread.join();
  slow.join();
  for (size_t i = 0; i < others.size(); ++i) {
    expect(!overtook[i],
           words(others[i], second.device) + ": expected it to wait for the operation under way, it did not");
  }
  const uint32_t atOnce = trial.commands().mostAtOnce();
  expect(atOnce == 1,
         "six operations at the same time: expected one command on its way at a time, got " + std::to_string(atOnce));
}

/// All operations wait at the same time.
void timesOut(Trial& trial) {
  const auto [first, second] = twoDisks(trial);
  const Handle handle = trial.open(second);
  const SlowOperation slow(trial, first, kLong);
  const std::vector<Operation> others = operations(trial.maySwitch());
  std::vector<Answer> answers(others.size());
  std::vector<milliseconds> waited(others.size());
  std::vector<std::thread> threads;
  for (size_t i = 0; i < others.size(); ++i) {
    threads.emplace_back([&, i] {
      bool wrote = false;
      const auto start = steady_clock::now();
      answers[i] = others[i].call(trial.plugin(), handle.get(), wrote);
      waited[i] = std::chrono::duration_cast<milliseconds>(steady_clock::now() - start);
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (size_t i = 0; i < others.size(); ++i) {
    const std::string what = words(others[i], second.device) + " while another operation takes 20 seconds";
    expectResult(what, -1, answers[i].result);
    expectText(what + ": the error text", std::string("Mutex lock error: ") + std::strerror(ETIMEDOUT),
               answers[i].error);
    expect(
        waited[i] >= kLeastWait && waited[i] <= kMostWait,
        what + ": expected it to give up after 10 seconds, it did after " + std::to_string(waited[i].count()) + " ms");
  }
}

/// Fails the rule unless the call returns soon although an operation holds the lock.
void expectAtOnce(const std::string& what, const std::function<void()>& call) {
  const auto start = steady_clock::now();
  call();
  expect(steady_clock::now() - start < kAtOnce, what + ": expected it not to wait for the operation under way, it did");
}

void nullHandleDoesNotWait(Trial& trial) {
  const SlowOperation slow(trial, twoDisks(trial).first, kLong);
  for (const Operation& operation : allOperations()) {
    expectAtOnce(words(operation, "a null handle"),
                 [&] { expectRefusal(operation, trial.plugin(), nullptr, "a null handle", "Invalid handle!"); });
  }
}

void openDoesNotWait(Trial& trial) {
  const std::pair<HostDisk, HostDisk> disks = twoDisks(trial);
  const SlowOperation slow(trial, disks.first, kLong);
  expectAtOnce("DmuPluginInit", [&] { static_cast<void>(trial.library().entry()()); });
  expectAtOnce("open and close of " + disks.second.device, [&] { static_cast<void>(trial.open(disks.second)); });
}

/// After each way to fail, the same thread asks again.
void releasedAfterFailure(Trial& trial) {
  const DmuPluginDescriptor& plugin = trial.plugin();
  const HostDisk good = trial.subjects().front().disk;
  HostDisk unknownController = good;
  unknownController.hba = "no-such-hba";
  HostDisk unknownDevice = good;
  unknownDevice.device = "no-such-node";
  unknownDevice.channel = 4095;
  const Handle handle = trial.open(good);
  const Handle handles[] = {{plugin, nullptr}, trial.open(unknownController), trial.open(unknownDevice)};
  const auto expectFree = [&](const std::string& after) {
    std::string error;
    DmuDeviceInfo information{};
    const int32_t result = plugin.getDeviceInfo(handle.get(), &information, error);
    expect(result == 0, "device information after " + after + ": expected result 0, got " + std::to_string(result) +
                            ", \"" + error + '"');
  };
  const char* const names[] = {"a null handle", "a controller that is not there", "a device that is not there"};
  for (size_t i = 0; i < std::size(handles); ++i) {
    for (const Operation& operation : operations(trial.maySwitch())) {
      bool wrote = false;
      static_cast<void>(operation.call(plugin, handles[i].get(), wrote));
      expectFree(words(operation, names[i]));
    }
  }
  std::string error;
  static_cast<void>(plugin.getDeviceInfo(handle.get(), nullptr, error));
  static_cast<void>(plugin.getDeviceTemperature(handle.get(), nullptr, 0, error));
  static_cast<void>(plugin.getDeviceLocation(handle.get(), nullptr, 0, error));
  expectFree("operations with a null output");
}

/// What one thread of `threadsAtOnce` does: the whole life of handles, and nothing that another thread does shows.
std::string callAll(Trial& trial, const std::vector<Subject>& subjects, const DmuPluginDescriptor* descriptor) {
  for (int round = 0; round < 10; ++round) {
    for (const Subject& subject : subjects) {
      if (trial.library().entry()() != descriptor) return "DmuPluginInit returned another address";
      const Handle handle = trial.open(subject.disk);
      const InformationCall call(trial.plugin(), handle.get());
      const uint32_t type = subject.kind == Kind::disk ? 2 : 1;
      const bool isRight = call.result == 0 && call.information().deviceType == type;
      if (!isRight) return "device information of " + subject.disk.device + " was wrong or failed";
      const LocationCall location(trial.plugin(), handle.get(), 256);
      if (subject.volume != nullptr || subject.drive != nullptr) {
        if (location.texts() != expectedLocations(subject)) return "location of " + subject.disk.device + " was wrong";
      }
    }
  }
  return "";
}

void threadsAtOnce(Trial& trial) {
  const std::vector<Subject> subjects = trial.subjects();
  const DmuPluginDescriptor* descriptor = &trial.plugin();
  std::array<std::string, 4> complaints;
  std::vector<std::thread> threads;
  for (std::string& complaint : complaints) {
    threads.emplace_back([&] {
      try {
        complaint = callAll(trial, subjects, descriptor);
      } catch (const Failure& failure) {
        complaint = failure.text;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (const std::string& complaint : complaints)
    expect(complaint.empty(), "four threads at the same time: " + complaint);
}

constexpr Rule kLockRules[] = {
    {"lock.serialises", "an operation waits until the one under way is done", Needs::simulatedHost, serialises},
    {"lock.times-out", "it gives up after 10 seconds, with the lock's text", Needs::simulatedHost, timesOut, true},
    {"lock.null-handle-does-not-wait", "a null handle is refused while another operation is under way",
     Needs::simulatedHost, nullHandleDoesNotWait},
    {"lock.open-does-not-wait", "DmuPluginInit, open and close run while an operation is under way",
     Needs::simulatedHost, openDoesNotWait},
    {"lock.released-after-failure", "an operation that fails leaves the lock free", Needs::anyHost,
     releasedAfterFailure},
    {"threads.at-once", "threads that open, ask and close at the same time get their own answers", Needs::anyHost,
     threadsAtOnce},
};

}  // namespace

std::span<const Rule> lockRules() {
  return kLockRules;
}

}  // namespace host::check
