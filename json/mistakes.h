// The mistakes found in a file.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace input {

class Mistakes {
 public:
  /// @param file  name of the file in the messages
  explicit Mistakes(std::string file) : file_(std::move(file)) {}

  /// The mistakes from now on are in this line of the file.
  void enterLine(size_t number) { line_ = "line " + std::to_string(number) + ": "; }

  /// @param path  JSON pointer
  void add(std::string_view path, std::string_view reason) { add(std::string(path).append(": ").append(reason)); }

  /// @param mistake  with its place in the file, if it has one
  void add(std::string_view mistake) {
    if (enough()) return;
    if (!text_.empty()) text_ += '\n';
    text_.append(file_).append(": ").append(line_).append(++count_ < kMost ? mistake
                                                                           : "more mistakes than are told here");
  }
  [[nodiscard]] bool none() const { return count_ == 0; }

  /// How many there are, up to the number that is told.
  [[nodiscard]] size_t count() const { return count_; }

  /// No more are taken: nobody reads on.
  [[nodiscard]] bool enough() const { return count_ == kMost; }

  /// One line a mistake, "FILE: PATH: REASON", without a line feed at the end.
  [[nodiscard]] const std::string& text() const { return text_; }
  [[nodiscard]] const std::string& file() const { return file_; }

 private:
  static constexpr size_t kMost = 100;

  std::string file_;
  std::string line_;  // before the mistakes of a file that is read line by line
  std::string text_;
  size_t count_ = 0;
};

}  // namespace input
