// Streams over texts in memory.
#include "host/recording/command_outputs.h"

namespace host::recording {

FILE* CommandOutputs::open(std::string text, int status) {
  Output output{std::make_unique<std::string>(std::move(text)), status};
  // Older C libraries refuse a stream over nothing.
  FILE* stream =
      output.text->empty() ? std::fopen("/dev/null", "r") : fmemopen(output.text->data(), output.text->size(), "r");
  if (stream == nullptr) return nullptr;
  const std::lock_guard lock(mutex_);
  outputs_[stream] = std::move(output);
  return stream;
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
