// Reads a file whole.
#include "host/file_content.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace host {

std::optional<std::string> readFile(const std::string& file, std::string& error) {
  const std::unique_ptr<FILE, int (*)(FILE*)> stream(std::fopen(file.c_str(), "rb"), std::fclose);
  std::string content;
  if (stream != nullptr) {
    char block[65536];
    size_t length = 0;
    while ((length = std::fread(block, 1, sizeof(block), stream.get())) > 0) content.append(block, length);
    if (std::ferror(stream.get()) == 0) return content;
  }
  error = std::strerror(errno);
  return std::nullopt;
}

}  // namespace host
