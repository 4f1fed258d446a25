// Other texts in place of those that tell whose a host is. The same text becomes the same one wherever it stands, of
// the same length and make: a digit becomes a digit, a letter a letter of its case, and what is neither stays. Texts
// that begin alike do so afterwards, as far as they did before, and no further. Which text becomes which depends on a
// key that is drawn anew each time and kept nowhere.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace host::recording {

class Pseudonyms {
 public:
  /// Draws a key.
  Pseudonyms();

  /// A name or a label. Upper and lower case count as the same letter; bytes beyond ASCII become letters.
  [[nodiscard]] std::string text(std::string_view text) const { return replaced(text, Beyond::letters); }

  /// A serial number: bytes beyond ASCII, which end one, become others of their kind.
  [[nodiscard]] std::string serial(std::string_view text) const { return replaced(text, Beyond::others); }

  /// A disk's name: "naa.", "eui." or "t10." stays, and hexadecimal digits behind the first two become what number()
  /// makes of their bytes.
  [[nodiscard]] std::string device(const std::string& name) const;

  /// A number that is told as bytes; zeros stay.
  void number(std::span<uint8_t> bytes) const;

 private:
  /// What becomes of bytes beyond ASCII.
  enum class Beyond { letters, others };
  [[nodiscard]] std::string replaced(std::string_view text, Beyond beyond) const;
  [[nodiscard]] std::string digits(std::string_view hexadecimal) const;

  uint64_t key_;
};

}  // namespace host::recording
