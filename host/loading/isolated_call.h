// Runs a function in a process of its own, so that a library which crashes, hangs or ends its process there does not
// take this program along. The function sees everything as it was at the start and changes nothing here but by its
// answer.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <sys/types.h>

namespace host {

/// What became of the function.
struct IsolatedOutcome {
  std::optional<std::string> answer;  ///< what it returned; nothing when it did not come to its end
  std::string ending;  ///< how its process ended instead: "it was ended by signal 11 (Segmentation fault)"
  std::string step;    ///< what it was about to do then, as it said with noteStep
  bool hung = false;   ///< it was still running when the limit was over
};

/// Says, in the process of an isolated call, what it is about to do. Elsewhere it does nothing. Any thread.
void noteStep(const std::string& step);

class IsolatedCall {
 public:
  /// Starts the function at once. What its process writes to standard output goes to standard error.
  ///
  /// @param limit  how long it may run, from now on
  /// @throws Refusal  the system starts no further process
  IsolatedCall(const std::function<std::string()>& function, std::chrono::seconds limit);

  /// Ends the process when nobody waited for it.
  ~IsolatedCall();
  IsolatedCall(const IsolatedCall&) = delete;
  IsolatedCall& operator=(const IsolatedCall&) = delete;

  /// Waits until the function has returned, its process has ended, or the limit is over. To be called once.
  [[nodiscard]] IsolatedOutcome wait();

 private:
  [[nodiscard]] bool readAnswer(std::string& bytes) const;
  [[nodiscard]] int awaitProcess();
  void end();
  void release();

  /// A text that both processes see.
  struct SharedStep {
    char text[256];
  };

  const std::chrono::seconds limit_;
  const std::chrono::steady_clock::time_point deadline_;
  int answers_ = -1;  // read end of the pipe
  SharedStep* step_ = nullptr;
  pid_t process_ = -1;

  friend void noteStep(const std::string& step);
  static SharedStep* ownStep_;  // in the process of a call
};

}  // namespace host
