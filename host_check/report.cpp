// Keeps the findings, and chooses where they are written.
#include "host_check/report.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host_check/arena.h"
#include "host_check/handles.h"
#include "host_check/heap.h"

namespace hostcheck {
namespace {

constexpr size_t kPlaceSize = PATH_MAX + 256;
constexpr size_t kFileNameSize = 2 * PATH_MAX + 16;

Finding* firstFinding = nullptr;
Finding* lastFinding = nullptr;
uint32_t findingCount = 0;
std::atomic<uint32_t> callCount{0};
std::atomic<uint32_t> locationTextCount{0};
bool isChild = false;
const char* reportFile = nullptr;

const char* keepPlace(const Call& call) {
  if (call.at == nullptr) return "";
  char place[kPlaceSize];
  describePlace(call.at, place, sizeof(place));
  const Guard guard;
  return keepText(place);
}

/// Counts a breach that is known at that place.
bool countAgain(Rule rule, const Call& call, const char* detail) {
  for (Finding* finding = firstFinding; finding != nullptr; finding = finding->next) {
    // An array may have another size each time.
    const bool isSameDetail = rule == Rule::arrayTooSmall || std::strcmp(finding->subject.detail, detail) == 0;
    if (finding->rule != rule || finding->call.at != call.at || std::strcmp(finding->call.name, call.name) != 0 ||
        !isSameDetail) {
      continue;
    }
    ++finding->times;
    return true;
  }
  return false;
}

Summary summarise(bool isEnd) {
  const HandleCount handles = countHandles();
  return {.isEnd = isEnd,
          .first = firstFinding,
          .findings = findingCount,
          .calls = callCount.load(std::memory_order_relaxed),
          .handlesOpened = handles.opened,
          .handlesOpen = handles.open,
          .locationTexts = locationTextCount.load(std::memory_order_relaxed),
          .areTextsWatched = seesHeap(),
          .locationTextsHeld = countHeldLocationTexts()};
}

bool writeDocument(const char* name, const Summary& summary) {
  const int file = open(name, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (file < 0) return false;
  const bool isWritten = writeJson(file, summary);
  return close(file) == 0 && isWritten;
}

/// Writes the JSON document, if it is time for it.
bool replaceDocument(const char* name, const Summary& summary) {
  struct stat64 status = {};
  if (lstat64(name, &status) == 0 && !S_ISREG(status.st_mode)) {
    return !summary.isEnd || writeDocument(name, summary);
  }
  static char newName[kFileNameSize + 8];
  std::snprintf(newName, sizeof(newName), "%s.new", name);
  if (writeDocument(newName, summary) && rename(newName, name) == 0) return true;
  const int reason = errno;
  unlink(newName);
  errno = reason;
  return false;
}

/// Brings the JSON document up to date. Where it cannot be written, text takes its place from then on.
void updateDocument(bool isEnd) {
  static char name[kFileNameSize];
  std::snprintf(name, sizeof(name), isChild ? "%s.%d" : "%s", reportFile, static_cast<int>(getpid()));
  if (replaceDocument(name, summarise(isEnd))) return;
  dprintf(STDERR_FILENO, "dmu-check-host: report %s: %s; here it is as text\n", name, std::strerror(errno));
  reportFile = nullptr;
  for (const Finding* finding = firstFinding; finding != nullptr; finding = finding->next) {
    writeFinding(STDERR_FILENO, *finding);
  }
}

}  // namespace

void note(Rule rule, const Call& call, const Subject& subject) {
  {
    const Guard guard;
    if (countAgain(rule, call, subject.detail)) return;
  }
  const char* const place = keepPlace(call);
  const char* const otherPlace = keepPlace(subject.other);
  const Guard guard;
  if (countAgain(rule, call, subject.detail)) return;
  auto* const finding = keepNew<Finding>(Finding{
      .rule = rule,
      .call = call,
      .subject = {.handle = subject.handle, .other = subject.other, .detail = keepText(subject.detail)},
      .disk = diskOf(subject.handle),
      .place = place,
      .otherPlace = otherPlace,
      .times = 1,
      .next = nullptr,
  });
  if (finding == nullptr) return;
  (lastFinding == nullptr ? firstFinding : lastFinding->next) = finding;
  lastFinding = finding;
  ++findingCount;
  reportFile == nullptr ? writeFinding(STDERR_FILENO, *finding) : updateDocument(false);
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

void beginReport() {
  const Guard guard;
  if (reportFile != nullptr) updateDocument(false);
}

void endReport() {
  const Guard guard;
  if (isChild && findingCount == 0) return;
  if (reportFile != nullptr) updateDocument(true);
  if (reportFile == nullptr) writeEnd(STDERR_FILENO, summarise(true));
}

}  // namespace hostcheck
