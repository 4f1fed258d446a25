// The mistakes found in a topology file.
#pragma once

#include <string>
#include <string_view>
#include <utility>

namespace simulator {

class Mistakes {
 public:
  /// @param file  name of the file in the messages
  explicit Mistakes(std::string file) : file_(std::move(file)) {}

  /// @param path  JSON pointer, or the place in the text
  void add(std::string_view path, std::string_view reason) {
    if (!text_.empty()) text_ += '\n';
    text_.append(file_).append(": ").append(path).append(": ").append(reason);
  }
  [[nodiscard]] bool none() const { return text_.empty(); }
  /// One line a mistake, "FILE: PATH: REASON", without a line feed at the end.
  [[nodiscard]] const std::string& text() const { return text_; }
  [[nodiscard]] const std::string& file() const { return file_; }

 private:
  std::string file_;
  std::string text_;
};

}  // namespace simulator
