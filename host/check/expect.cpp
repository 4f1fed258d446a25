// Compares what was expected with what was seen, and puts the difference into words.
#include "host/check/expect.h"

#include <cstdlib>
#include <malloc.h>

#include "host/output/text.h"

namespace host::check {
namespace {

constexpr size_t kTimes = 100;
constexpr size_t kLeastBlock = 16;  // what malloc takes for a block at least

size_t memoryInUse() {
  return mallinfo2().uordblks;
}

/// Not every allocator that can stand in for the C library's keeps this account.
bool allocatorTells() {
  const size_t before = memoryInUse();
  void* volatile block = std::malloc(1 << 12);  // volatile: or it is left out as having no use
  const size_t after = memoryInUse();
  std::free(block);
  return after > before;
}

}  // namespace

void fail(const std::string& text) {
  throw Failure{text};
}

void expect(bool holds, const std::string& otherwise) {
  if (!holds) fail(otherwise);
}

void expectNumber(const std::string& what, uint64_t expected, uint64_t seen) {
  expect(expected == seen, what + ": expected " + std::to_string(expected) + ", got " + std::to_string(seen));
}

void expectResult(const std::string& what, int32_t expected, int32_t seen) {
  expect(expected == seen, what + ": expected result " + std::to_string(expected) + ", got " + std::to_string(seen));
}

void expectText(const std::string& what, const std::string& expected, const std::string& seen) {
  expect(expected == seen, what + ": expected \"" + printable(expected) + "\", got \"" + printable(seen) + "\"");
}

void expectAnswer(const std::string& what, const CallResult& expected, const CallResult& seen) {
  expectResult(what, expected.result, seen.result);
  expectText(what + ": the error text", expected.error, seen.error);
}

void expectList(const std::string& what, const std::vector<std::string>& expected,
                const std::vector<std::string>& seen) {
  expect(expected == seen, what + ": expected " + listed(expected) + ", got " + listed(seen));
}

void expectWritten(const std::string& what, int32_t expected, size_t written) {
  expect(expected >= 0 && written == static_cast<size_t>(expected),
         what + ": expected " + std::to_string(expected) + " to be written, got " + std::to_string(written));
}

void expectNoGrowth(const std::string& calls, const std::function<void()>& call) {
  if (!allocatorTells()) throw Skipped{"this program's allocator does not tell how much memory is in use"};
  for (size_t i = 0; i < kTimes; ++i) call();
  const size_t before = memoryInUse();
  for (size_t i = 0; i < kTimes; ++i) call();
  const size_t after = memoryInUse();
  expect(after < before + kTimes * kLeastBlock, std::to_string(kTimes) + " " + calls +
                                                    ": expected no more memory in use than before, got " +
                                                    std::to_string(after - before) + " bytes more");
}

std::string listed(const std::vector<std::string>& names) {
  constexpr size_t kMostShown = 16;
  std::string text;
  for (size_t i = 0; i < names.size() && i < kMostShown; ++i) text += (i == 0 ? "" : ", ") + names[i];
  if (names.size() > kMostShown) text += ", ... (" + std::to_string(names.size()) + " in all)";
  return text.empty() ? "none" : text;
}

}  // namespace host::check
