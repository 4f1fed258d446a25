// Keeps the findings, and chooses where they are written.
#include "host_check/report.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

#include "host_check/arena.h"
#include "host_check/handles.h"
#include "host_check/heap.h"

namespace hostcheck {
namespace {

constexpr size_t kPlaceSize = PATH_MAX + 256;

Finding* firstFinding = nullptr;
Finding* lastFinding = nullptr;
uint32_t findingCount = 0;
std::atomic<uint32_t> callCount{0};
std::atomic<uint32_t> locationTextCount{0};
bool isChild = false;
const char* reportFile = nullptr;

const char* keepPlace(const Call& call) {
  if (call.name == nullptr) return "";
  char place[kPlaceSize];
  describePlace(call.at, place, sizeof(place));
  return keepText(place);
}

/// The same breach at the same place.
Finding* findFinding(Rule rule, const Call& call, const char* detail) {
  for (Finding* finding = firstFinding; finding != nullptr; finding = finding->next) {
    if (finding->rule == rule && finding->call.at == call.at && std::strcmp(finding->call.name, call.name) == 0 &&
        std::strcmp(finding->subject.detail, detail) == 0) {
      return finding;
    }
  }
  return nullptr;
}

}  // namespace

void note(Rule rule, const Call& call, const Subject& subject) {
  if (Finding* const known = findFinding(rule, call, subject.detail)) {
    ++known->times;
    return;
  }
  auto* const finding = keepNew<Finding>(Finding{
      .rule = rule,
      .call = call,
      .subject = {.handle = subject.handle, .other = subject.other, .detail = keepText(subject.detail)},
      .disk = diskOf(subject.handle),
      .place = keepPlace(call),
      .otherPlace = keepPlace(subject.other),
      .times = 1,
      .next = nullptr,
  });
  if (finding == nullptr) return;
  (lastFinding == nullptr ? firstFinding : lastFinding->next) = finding;
  lastFinding = finding;
  ++findingCount;
}

void noteLocked(Rule rule, const Call& call, const Subject& subject) {
  const Guard guard;
  note(rule, call, subject);
}

void countCall() {
  callCount.fetch_add(1, std::memory_order_relaxed);
}

void countLocationText() {
  locationTextCount.fetch_add(1, std::memory_order_relaxed);
}

void beginChildReport() {
  isChild = true;
  firstFinding = lastFinding = nullptr;
  findingCount = 0;
  callCount.store(0, std::memory_order_relaxed);
  locationTextCount.store(0, std::memory_order_relaxed);
}

void findReportFile() {
  const Guard guard;
  reportFile = keepAbsolute(std::getenv("DMU_CHECK_HOST_REPORT"));
}

void writeReport() {
  noteOpenHandles();
  const uint32_t held = isChild ? 0 : noteHeldLocationTexts();
  if (isChild && findingCount == 0) return;
  const HandleCount handles = countHandles();
  const Summary summary{.first = firstFinding,
                        .findings = findingCount,
                        .calls = callCount.load(std::memory_order_relaxed),
                        .handlesOpened = handles.opened,
                        .handlesOpen = handles.open,
                        .locationTexts = locationTextCount.load(std::memory_order_relaxed),
                        .areTextsWatched = seesHeap(),
                        .locationTextsHeld = held};
  if (reportFile != nullptr) {
    char name[2 * PATH_MAX + 16];
    std::snprintf(name, sizeof(name), isChild ? "%s.%d" : "%s", reportFile, static_cast<int>(getpid()));
    const int file = open(name, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (file >= 0) {
      writeJson(file, summary);
      close(file);
      return;
    }
    dprintf(STDERR_FILENO, "dmu-check-host: report %s: %s; here it is as text\n", name, std::strerror(errno));
  }
  writeText(STDERR_FILENO, summary);
}

}  // namespace hostcheck
