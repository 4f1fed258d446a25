// Measures each operation of the shipped library beside its floor, in turn and in the same process.
#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <memory>
#include <string>
#include <sys/resource.h>
#include <vector>

#include "bench/one_controller.h"
#include "bench/platform_calls.h"

namespace {

using bench::CallKind;
using bench::Observation;
using bench::OneController;
using bench::Shape;

constexpr uint32_t kEntries[] = {17, 136, 272, 544, 1088};
constexpr uint32_t kFull = 1088;
constexpr uint32_t kVolumes = 64;

struct Operation {
  const char* name;
  void (OneController::*run)();
  bool needsVolume;
  bool takesLong;  // asks the platform for something for each entry
};

constexpr Operation kOperations[] = {
    {"device information", &OneController::deviceInformation, false, false},
    {"location", &OneController::location, true, false},
    {"temperature", &OneController::temperature, true, false},
    {"locator LED", &OneController::locatorLed, false, true},
    {"cache on", &OneController::cacheOn, false, false},
    {"cache off", &OneController::cacheOff, false, false},
    {"rebuild", &OneController::rebuild, false, true},
    {"open and close", &OneController::openAndClose, false, false},
};

/// A machine has slow minutes: everything is measured this many times, far apart; the report takes the medians.
constexpr int kRounds = 3;

/// How often an operation and its floor are run in a round: a median needs a number of them, and processes are slow to
/// start.
int64_t pairsOf(const Operation& operation, Shape shape) {
  if (operation.run == &OneController::rebuild && shape.volumes != 0) return 1;
  return operation.takesLong ? int64_t{5} * kFull / shape.entries : 101;
}

/// The volumes of a controller with so many entries; as many as leave each a member drive.
uint32_t volumesThatFit(uint32_t entries) {
  return std::min(kVolumes, entries / 2);
}

/// The controller of the benchmark that runs, kept for the ones that follow.
OneController& controllerOf(Shape shape) {
  static std::unique_ptr<OneController> controller;
  if (controller == nullptr || !(controller->shape() == shape)) {
    controller.reset();
    controller = std::make_unique<OneController>(shape);
  }
  return *controller;
}

template <typename Run>
double secondsOf(Run run) {
  const auto begin = std::chrono::steady_clock::now();
  run();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

void reportCalls(benchmark::State& state, const Observation& observed) {
  state.counters["existence_tests"] = static_cast<double>(observed.count(CallKind::existenceTest));
  state.counters["commands"] = static_cast<double>(observed.count(CallKind::command));
  state.counters["module_loads"] = static_cast<double>(observed.count(CallKind::openPipe));
  state.counters["allocations"] = static_cast<double>(observed.allocations());
  state.counters["allocated_bytes"] = static_cast<double>(observed.allocatedBytes());
}

void measure(benchmark::State& state, const Operation& operation, Shape shape) {
  OneController& controller = controllerOf(shape);
  const auto run = [&] { (controller.*operation.run)(); };
  const Observation observed = bench::observe(run);
  std::vector<double> operations;
  std::vector<double> floors;
  std::vector<double> ratios;
  for ([[maybe_unused]] auto _ : state) {
    const bool floorFirst = ratios.size() % 2 == 1;
    if (floorFirst) floors.push_back(secondsOf([&] { observed.replay(); }));
    controller.releaseLocations();
    operations.push_back(secondsOf(run));
    if (!floorFirst) floors.push_back(secondsOf([&] { observed.replay(); }));
    ratios.push_back(operations.back() / floors.back());
    state.SetIterationTime(operations.back());
  }
  state.counters["entries"] = shape.entries;
  state.counters["volumes"] = shape.volumes;
  state.counters["operation_us"] = median(operations) * 1e6;
  state.counters["floor_us"] = median(floors) * 1e6;
  state.counters["ratio"] = median(ratios);
  reportCalls(state, observed);
}

/// A host with ten full controllers switches an LED of each: what their snapshots take afterwards, and the most that
/// was taken on the way.
void measureMemory(benchmark::State& state) {
  const Shape full{.entries = kFull, .volumes = kVolumes};
  const bench::Host host(std::vector<Shape>(simulator::wire::kInstances, full));
  const auto useEach = [&] {
    std::string error;
    for (uint32_t instance = 0; instance < simulator::wire::kInstances; ++instance) {
      CtrlDevInfo* handle = host.open(bench::LastDevice(full, instance));
      host.plugin().setDriveLEDState(handle, 1, 1, error);
      host.plugin().closeDevice(handle);
    }
  };
  bench::HeapUse heap;
  for ([[maybe_unused]] auto _ : state) heap = bench::trackHeap(useEach);
  rusage process{};
  getrusage(RUSAGE_SELF, &process);
  state.counters["kept_bytes"] = static_cast<double>(heap.now);
  state.counters["most_bytes"] = static_cast<double>(heap.most);
  state.counters["process_bytes"] = static_cast<double>(process.ru_maxrss) * 1024;
}

void registerOperations(Shape shape) {
  for (const Operation& operation : kOperations) {
    if (operation.needsVolume && shape.volumes == 0) continue;
    const std::string name = std::string(operation.name) + "/entries:" + std::to_string(shape.entries) +
                             "/volumes:" + std::to_string(shape.volumes);
    // NOLINTNEXTLINE(readability-redundant-string-cstr): not every release of the library takes a string
    benchmark::RegisterBenchmark(name.c_str(), [&operation, shape](auto& state) { measure(state, operation, shape); })
        ->Iterations(pairsOf(operation, shape))
        ->UseManualTime()
        ->Unit(benchmark::kMicrosecond);
  }
}

void registerAll() {
  benchmark::RegisterBenchmark("memory of ten full controllers", measureMemory)->Iterations(1);
  for (int round = 0; round < kRounds; ++round) {
    for (const bool withVolumes : {false, true}) {
      for (const uint32_t entries : kEntries) {
        registerOperations({.entries = entries, .volumes = withVolumes ? volumesThatFit(entries) : 0});
      }
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::AddCustomContext("bits", std::to_string(8 * sizeof(void*)));
  registerAll();
  benchmark::RunSpecifiedBenchmarks();
}
