// Small pieces of text for people.
#include "host/output/text.h"

#include <cstdio>
#include <sstream>

namespace host {

std::string printable(std::string_view text) {
  std::string safe;
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    if (byte >= 0x20 && byte < 0x7F) {
      safe += character;
    } else {
      char escaped[5];
      std::snprintf(escaped, sizeof(escaped), "\\x%02x", unsigned{byte});
      safe += escaped;
    }
  }
  return safe;
}

std::string lowerCase(std::string text) {
  for (char& character : text) {
    if (character >= 'A' && character <= 'Z') character = static_cast<char>(character - 'A' + 'a');
  }
  return text;
}

std::string counted(size_t number, const std::string& noun) {
  return std::to_string(number) + " " + noun + (number == 1 ? "" : "s");
}

std::vector<std::string> wrapped(const std::string& text, size_t columns) {
  std::vector<std::string> lines;
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    if (!lines.empty() && lines.back().size() + 1 + word.size() <= columns) {
      lines.back() += " " + word;
    } else {
      lines.push_back(word);
    }
  }
  return lines;
}

std::string hex(uint64_t value) {
  char text[2 + 16 + 1];
  std::snprintf(text, sizeof(text), "0x%llx", static_cast<unsigned long long>(value));
  return text;
}

std::string joined(const std::vector<std::string>& texts, const std::string& separator) {
  std::string text;
  for (const std::string& one : texts) {
    if (!one.empty()) text += (text.empty() ? "" : separator) + one;
  }
  return text;
}

std::string orUnknown(const std::optional<std::string>& text) {
  return text ? printable(*text) : kUnknown;
}

}  // namespace host
