// Threads: the lock of the six operations, what must not wait for it, and calls at the same time.
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <functional>
#include <thread>

#include "host/check/expectations.h"

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
  SlowOperation(Trial& trial, const HostDisk& disk, milliseconds time) : trial_(trial) {
    DeviceHandle handle = trial.open(disk);
    trial.addFault("any", simulator::FaultAction::delay, static_cast<uint32_t>(time.count()), 1);
    thread_ = std::thread([handle = std::move(handle)] { static_cast<void>(deviceInformation(handle)); });
    const auto deadline = steady_clock::now() + kLong;
    while (trial_.commands().begun == 0) {
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
  [[nodiscard]] bool isUnderWay() const { return !trial_.commands().firstIsBack; }

  void join() { thread_.join(); }

 private:
  const Trial& trial_;
  std::thread thread_;
};

/// Runs a function in that many threads at the same time, with each thread's number, and waits for them.
void inThreads(size_t count, const std::function<void(size_t)>& run) {
  std::vector<std::jthread> threads;
  for (size_t i = 0; i < count; ++i) threads.emplace_back(run, i);
}

/// Disks for the operation that holds the lock and for the others: on two controllers where there are two.
std::pair<HostDisk, HostDisk> twoDisks(Trial& trial) {
  const std::vector<Subject> subjects = trial.subjects();
  return {subjects.front().disk, subjects.back().disk};
}

void serialises(Trial& trial) {
  const auto [first, second] = twoDisks(trial);
  const DeviceHandle handle = trial.open(second);
  SlowOperation slow(trial, first, milliseconds(500));
  std::array<std::atomic<bool>, 6> overtook{};
  const std::vector<Operation> others = trial.operations();
  inThreads(others.size(), [&](size_t i) {
    others[i].call(handle);
    overtook[i] = slow.isUnderWay();
  });
  slow.join();
  for (size_t i = 0; i < others.size(); ++i) {
    expect(!overtook[i], others[i].of(second.device) + ": expected it to wait for the operation under way, it did not");
  }
  const uint32_t atOnce = trial.commands().mostAtOnce;
  expect(atOnce == 1,
         "six operations at the same time: expected one command on its way at a time, got " + std::to_string(atOnce));
}

/// All operations wait at the same time.
void timesOut(Trial& trial) {
  const auto [first, second] = twoDisks(trial);
  const DeviceHandle handle = trial.open(second);
  const SlowOperation slow(trial, first, kLong);
  const std::vector<Operation> others = trial.operations();
  std::vector<Call> answers(others.size());
  std::vector<milliseconds> waited(others.size());
  inThreads(others.size(), [&](size_t i) {
    const auto start = steady_clock::now();
    answers[i] = others[i].call(handle);
    waited[i] = std::chrono::duration_cast<milliseconds>(steady_clock::now() - start);
  });
  for (size_t i = 0; i < others.size(); ++i) {
    const std::string what = others[i].of(second.device) + " while another operation takes 20 seconds";
    expectAnswer(what, {-1, std::string("Mutex lock error: ") + std::strerror(ETIMEDOUT)}, answers[i]);
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
    expectAtOnce(operation.of("a null handle"), [&] {
      expectRefusals({&operation, 1}, {trial.plugin(), nullptr}, "a null handle", "Invalid handle!");
    });
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
  const DeviceHandle good = trial.open(trial.subjects().front().disk);
  const auto expectFree = [&](const std::string& after) {
    std::string error;
    DmuDeviceInfo information{};
    const int32_t result = plugin.getDeviceInfo(good.get(), &information, error);
    expect(result == 0, "device information after " + after + ": expected result 0, got " + std::to_string(result) +
                            ", \"" + error + '"');
  };
  const std::pair<const char*, DeviceHandle> bad[] = {
      {"a null handle", DeviceHandle(plugin, nullptr)},
      {"a controller that is not there", trial.open(trial.diskOfNoController())},
      {"a device that is not there", trial.open(trial.diskOfNoDevice())}};
  for (const auto& [name, handle] : bad) {
    for (const Operation& operation : trial.operations()) {
      operation.call(handle);
      expectFree(operation.of(name));
    }
  }
  std::string error;
  static_cast<void>(plugin.getDeviceInfo(good.get(), nullptr, error));
  static_cast<void>(plugin.getDeviceTemperature(good.get(), nullptr, 0, error));
  static_cast<void>(plugin.getDeviceLocation(good.get(), nullptr, 0, error));
  expectFree("operations with a null output");
}

/// What one thread of `threadsAtOnce` does: the whole life of handles, and nothing that another thread does shows.
void openAskClose(Trial& trial, const std::vector<Subject>& subjects, const DmuPluginDescriptor* descriptor) {
  for (int round = 0; round < 10; ++round) {
    for (const Subject& subject : subjects) {
      expect(trial.library().entry()() == descriptor, "DmuPluginInit returned another address");
      const DeviceHandle handle = trial.open(subject.disk);
      const InformationCall call(handle);
      const uint32_t type = subject.kind == Kind::disk ? kDmuPhysicalDisk : kDmuLogicalVolume;
      expect(call.result == 0 && call.information().deviceType == type,
             subject.of("device information") + " was wrong or failed");
      const LocationCall location(handle, kCount);
      if (subject.controller == nullptr) continue;
      expect(location.texts() == expectedLocations(subject), subject.of("location") + " was wrong");
    }
  }
}

void threadsAtOnce(Trial& trial) {
  const std::vector<Subject> subjects = trial.subjects();
  const DmuPluginDescriptor* descriptor = &trial.plugin();
  std::array<std::string, 4> complaints;
  inThreads(complaints.size(), [&](size_t i) {
    try {
      openAskClose(trial, subjects, descriptor);
    } catch (const Failure& failure) {
      complaints[i] = failure.text;
    }
  });
  for (const std::string& complaint : complaints) {
    expect(complaint.empty(), "four threads at the same time: " + complaint);
  }
}

}  // namespace

std::vector<Rule> lockRules() {
  return {
      {"lock.serialises", "an operation waits until the one under way is done", serialises, Needs::simulatedHost},
      {"lock.times-out", "it gives up after 10 seconds, with the lock's text", timesOut, Needs::simulatedHost, true},
      {"lock.null-handle-does-not-wait", "a null handle is refused while another operation is under way",
       nullHandleDoesNotWait, Needs::simulatedHost},
      {"lock.open-does-not-wait", "DmuPluginInit, open and close run while an operation is under way", openDoesNotWait,
       Needs::simulatedHost},
      {"lock.released-after-failure", "an operation that fails leaves the lock free", releasedAfterFailure},
      {"threads.at-once", "threads that open, ask and close at the same time get their own answers", threadsAtOnce},
  };
}

}  // namespace host::check
