// A recording as read from its file: the answers by request, in the order in which they were recorded. Each is given
// out once; of a recording that repeats, the last one again and again.
#pragma once

#include <map>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "host/recording/calls.h"

namespace host::recording {

/// The calls of a recording, in their order.
struct RecordedCalls {
  bool repeats = false;  ///< as for firstLine
  std::vector<AnyCall> calls;
};

/// Reads and checks a whole recording.
/// @throws Refusal  "FILE: line N: POINTER: REASON", a line for each mistake
[[nodiscard]] RecordedCalls readRecording(const std::string& file);

/// The answers to one request.
template <typename Answer>
struct Answers {
  std::vector<Answer> all;
  size_t given = 0;
};

class Recording {
 public:
  /// @throws Refusal  as readRecording
  explicit Recording(const std::string& file);

  /// @param recorded  read from the file
  Recording(std::string file, RecordedCalls recorded);

  /// @return valid as long as this object
  template <typename Call>
  [[nodiscard]] Answers<typename Call::Answer>& answersTo(const typename Call::Request& request) {
    return std::get<ByRequest<Call>>(calls_).answers[request];
  }

  /// @return null when there is none left
  template <typename Answer>
  [[nodiscard]] const Answer* next(Answers<Answer>& answers) const {
    if (answers.given < answers.all.size()) return &answers.all[answers.given++];
    return repeats_ && !answers.all.empty() ? &answers.all.back() : nullptr;
  }

  [[nodiscard]] const std::string& file() const { return file_; }

 private:
  /// The calls of one kind.
  template <typename Call>
  struct ByRequest {
    std::map<typename Call::Request, Answers<typename Call::Answer>> answers;
  };
  template <typename... Calls>
  static std::tuple<ByRequest<Calls>...> allOf(const std::variant<Calls...>& call);

  std::string file_;
  bool repeats_ = false;
  decltype(allOf(AnyCall())) calls_;
};

}  // namespace host::recording
