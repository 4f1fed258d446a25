// Writing of trace lines.
#include "plugin/trace.h"

#include <atomic>
#include <cstdarg>
#include <memory>

FILE* stream = nullptr;

namespace dmu {
namespace {

struct CloseTraceFile {
  void operator()(FILE* file) const {
    std::atomic_ref(stream).store(nullptr, std::memory_order_relaxed);
    std::fclose(file);
  }
};

}  // namespace

void writeTrace(const char* format, ...) {
  const std::unique_ptr<FILE, CloseTraceFile> file(std::fopen(kTraceFile, "aw"));
  if (file == nullptr) return;
  std::atomic_ref(stream).store(file.get(), std::memory_order_relaxed);
  va_list arguments;
  va_start(arguments, format);
  std::vfprintf(file.get(), format, arguments);
  va_end(arguments);
}

}  // namespace dmu
