// A recording as read from its file: the answers by request, each given out once, in the order in which they were
// recorded.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "host/recording/requests.h"

namespace host::recording {

class Recording {
 public:
  /// Reads and checks a whole recording.
  /// @throws Refusal  "FILE: line N: PATH: REASON" for the first mistake
  [[nodiscard]] static Recording read(const std::string& file);

  /// The next answer to a request.
  /// @return null when there is none (left); valid as long as this object
  [[nodiscard]] const Json* next(const Request& request);

  /// How many answers to a request there are in the file.
  [[nodiscard]] size_t count(const Request& request) const;

  [[nodiscard]] const std::string& file() const { return file_; }

 private:
  struct Answers {
    std::vector<Json> all;
    size_t given = 0;
  };

  void addLine(const std::string& line, const std::string& place);

  std::string file_;
  bool ended_ = false;
  std::map<std::string, Answers> answers_;  // by keyOf
};

}  // namespace host::recording
