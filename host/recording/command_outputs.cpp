// Streams over texts in memory.
#include "host/recording/command_outputs.h"

namespace host::recording {

FILE* CommandOutputs::open(std::string text, int status) {
  Output output{std::make_unique<Reading>(Reading{std::move(text), 0}), status};
  // Older C libraries have a stream over memory that ends at a zero and refuses to be over nothing.
  FILE* stream = fopencookie(output.reading.get(), "r", {read, nullptr, nullptr, nullptr});
  if (stream == nullptr) return nullptr;
  const std::lock_guard lock(mutex_);
  outputs_[stream] = std::move(output);
  return stream;
}

ssize_t CommandOutputs::read(void* reading, char* buffer, size_t size) {
  auto& [text, place] = *static_cast<Reading*>(reading);
  const size_t count = text.copy(buffer, size, place);
  place += count;
  return static_cast<ssize_t>(count);
}

std::optional<int> CommandOutputs::close(FILE* output) {
  const std::lock_guard lock(mutex_);
  const auto found = outputs_.find(output);
  if (found == outputs_.end()) return std::nullopt;
  const int status = found->second.status;
  std::fclose(output);
  outputs_.erase(found);
  return status;
}

}  // namespace host::recording
