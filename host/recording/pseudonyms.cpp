// Shifts each character within its kind, by a distance that follows from all characters before it.
#include "host/recording/pseudonyms.h"

#include <algorithm>
#include <cctype>
#include <random>

#include "json/hex.h"

namespace host::recording {
namespace {

/// Numbers that look like chance, one after another: what a key and the characters so far lead to.
class Distances {
 public:
  explicit Distances(uint64_t key) : state_(key) {}

  /// @return from 1 to below `size`: nothing stays what it is
  [[nodiscard]] uint64_t below(uint64_t size) const { return 1 + mixed(state_) % (size - 1); }

  void pass(uint64_t character) { state_ = mixed(state_ ^ (character + 1)); }

 private:
  static uint64_t mixed(uint64_t number) {
    number += 0x9E3779B97F4A7C15;
    number = (number ^ number >> 30) * 0xBF58476D1CE4E5B9;
    number = (number ^ number >> 27) * 0x94D049BB133111EB;
    return number ^ number >> 31;
  }

  uint64_t state_;
};

char shifted(char character, char first, uint64_t size, const Distances& distances) {
  const auto place = static_cast<uint64_t>(static_cast<unsigned char>(character - first));
  return static_cast<char>(first + static_cast<char>((place + distances.below(size)) % size));
}

size_t hexadecimalLength(std::string_view text) {
  const auto* end = std::find_if(text.begin(), text.end(), [](unsigned char byte) { return std::isxdigit(byte) == 0; });
  return static_cast<size_t>(end - text.begin());
}

}  // namespace

Pseudonyms::Pseudonyms() {
  std::random_device chance;
  key_ = uint64_t{chance()} << 32 | chance();
}

std::string Pseudonyms::replaced(std::string_view text, Beyond beyond) const {
  Distances distances(key_);
  std::string other;
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    char one = character;
    if (std::isdigit(byte) != 0) one = shifted(character, '0', 10, distances);
    if (std::islower(byte) != 0) one = shifted(character, 'a', 26, distances);
    if (std::isupper(byte) != 0) one = shifted(character, 'A', 26, distances);
    if (byte > 0x7F && beyond == Beyond::others) one = shifted(character, '\x80', 0x80, distances);
    if (byte > 0x7F && beyond == Beyond::letters) one = static_cast<char>('a' + (byte + distances.below(26)) % 26);
    other += one;
    distances.pass(static_cast<uint64_t>(std::tolower(byte)));
  }
  return other;
}

std::string Pseudonyms::digits(std::string_view hexadecimal) const {
  constexpr std::string_view kDigits = "0123456789abcdef";
  Distances distances(~key_);
  std::string other;
  for (const char character : hexadecimal) {
    const size_t digit = kDigits.find(static_cast<char>(std::tolower(static_cast<unsigned char>(character))));
    const char replaced = kDigits[static_cast<size_t>((digit + distances.below(16)) % 16)];
    const bool isUpper = std::isupper(static_cast<unsigned char>(character)) != 0;
    other += isUpper ? static_cast<char>(std::toupper(static_cast<unsigned char>(replaced))) : replaced;
    distances.pass(digit);
  }
  return other;
}

std::string Pseudonyms::device(const std::string& name) const {
  for (const std::string_view scheme : {"naa.", "eui.", "t10."}) {
    if (!name.starts_with(scheme)) continue;
    const std::string_view rest = std::string_view(name).substr(scheme.size());
    const size_t length = scheme == "t10." ? 0 : hexadecimalLength(rest);
    return std::string(scheme) + digits(rest.substr(0, length)) + text(rest.substr(length));
  }
  return text(name);
}

void Pseudonyms::number(std::span<uint8_t> bytes) const {
  if (std::all_of(bytes.begin(), bytes.end(), [](uint8_t byte) { return byte == 0; })) return;
  const auto other = input::fromHex(digits(input::toHex(bytes)));
  std::copy(other->begin(), other->end(), bytes.begin());
}

}  // namespace host::recording
