// Outputs of commands that have run already, handed out as popen would.
#pragma once

#include <cstdio>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <sys/types.h>

namespace host::recording {

class CommandOutputs {
 public:
  /// @param status  what pclose is to return
  /// @return a stream that reads the text; null, with errno set, when memory ran out
  [[nodiscard]] FILE* open(std::string text, int status);

  /// Closes a stream.
  /// @return its status; nothing for a stream that was not opened here, which stays as it is
  [[nodiscard]] std::optional<int> close(FILE* output);

 private:
  struct Reading {
    std::string text;
    size_t place = 0;  // of what is read next
  };
  static ssize_t read(void* reading, char* buffer, size_t size);

  struct Output {
    std::unique_ptr<Reading> reading;
    int status = 0;
  };
  std::mutex mutex_;
  std::map<FILE*, Output> outputs_;
};

}  // namespace host::recording
