// Small pieces of text for people.
#include "host/output/text.h"

#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <cwctype>
#include <sstream>

namespace host {

/// The first character of a text that is not empty, in the process's locale.
struct Character {
  uint32_t code = 0;
  size_t bytes = 1;
  bool isValid = false;
};

static Character firstOf(std::string_view text) {
  Character character;
  std::mbstate_t state{};
  wchar_t wide = 0;
  const size_t bytes = std::mbrtowc(&wide, text.data(), text.size(), &state);
  character.code = std::char_traits<wchar_t>::to_int_type(wide);
  character.isValid = bytes != 0 && bytes <= text.size();
  if (character.isValid) character.bytes = bytes;
  return character;
}

/// Marks, embeddings and isolates of the other direction, and what is not seen at all.
static bool steersText(uint32_t code) {
  return (code >= 0x200B && code <= 0x200F) || (code >= 0x2028 && code <= 0x202E) ||
         (code >= 0x2060 && code <= 0x206F) || code == 0x061C || code == 0xFEFF;
}

std::string printable(std::string_view text) {
  std::string safe;
  while (!text.empty()) {
    const Character character = firstOf(text);
    if (character.isValid && std::iswprint(character.code) != 0 && !steersText(character.code)) {
      safe += text.substr(0, character.bytes);
    } else {
      for (const char byte : text.substr(0, character.bytes)) {
        char escaped[5];
        std::snprintf(escaped, sizeof(escaped), "\\x%02x", unsigned{static_cast<unsigned char>(byte)});
        safe += escaped;
      }
    }
    text.remove_prefix(character.bytes);
  }
  return safe;
}

size_t textWidth(const std::string& text) {
  size_t width = 0;
  for (std::string_view rest = text; !rest.empty();) {
    const Character character = firstOf(rest);
    width += static_cast<size_t>(std::max(wcwidth(static_cast<wchar_t>(character.code)), 0));
    rest.remove_prefix(character.bytes);
  }
  return width;
}

std::string grouped(size_t number) {
  std::string text = std::to_string(number);
  for (size_t place = text.size(); place > 3;) text.insert(place -= 3, ",");
  return text;
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
