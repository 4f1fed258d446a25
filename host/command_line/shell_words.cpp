// Takes lines apart, and quotes.
#include "host/command_line/shell_words.h"

#include <cctype>
#include <cstdlib>
#include <cstring>

namespace host {
namespace {

/// What a backslash between double quotes takes its meaning from.
constexpr const char* kSpecialInQuotes = "\"\\$`";

/// What means nothing to a shell, besides letters and digits.
constexpr const char* kPlain = "_./:@%+,=-";

bool isOneOf(const char* characters, char character) {
  return character != 0 && std::strchr(characters, character) != nullptr;
}

bool isPlain(char character) {
  const auto byte = static_cast<unsigned char>(character);
  return byte >= 0x80 || std::isalnum(byte) != 0 || isOneOf(kPlain, character);
}

}  // namespace

std::vector<ShellWord> shellWords(const std::string& line) {
  std::vector<ShellWord> words(1);
  bool isBegun = false;
  for (size_t at = 0; at < line.size(); ++at) {
    ShellWord& word = words.back();
    const char character = line[at];
    const char next = at + 1 < line.size() ? line[at + 1] : '\0';
    const bool escapes =
        character == '\\' && (word.openQuote == 0 || (word.openQuote == '"' && isOneOf(kSpecialInQuotes, next)));
    if (escapes) {
      if (next != 0) word.text += line[++at];
    } else if (character == word.openQuote) {
      word.openQuote = 0;
    } else if (word.openQuote != 0) {
      word.text += character;
    } else if (character == '\'' || character == '"') {
      word.openQuote = character;
    } else if (character == ' ' || character == '\t') {
      if (isBegun) words.emplace_back();
      isBegun = false;
      continue;
    } else if (character == '~' && next == '/' && !isBegun) {
      const char* home = std::getenv("HOME");
      word.text += home == nullptr ? "~" : home;
    } else {
      word.text += character;
    }
    isBegun = true;
  }
  return words;
}

std::string quoted(const std::string& text, char openQuote) {
  std::string quotedText;
  for (const char character : text) {
    if (openQuote == '\'' && character == '\'') {
      quotedText += "'\\'";
    } else if (openQuote == '"' ? isOneOf(kSpecialInQuotes, character) : openQuote == 0 && !isPlain(character)) {
      quotedText += '\\';
    }
    quotedText += character;
  }
  // Where the text ends like its quote, the shell takes the quote for closed and leaves it open.
  if (openQuote != 0 && text.ends_with(openQuote)) quotedText += openQuote;
  return quotedText;
}

}  // namespace host
