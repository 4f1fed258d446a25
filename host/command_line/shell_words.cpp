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

/// Whether a character is a backslash that takes the meaning of the next one.
bool escapes(const ShellWord& word, char character, char next) {
  if (character != '\\') return false;
  return word.openQuote == 0 || (word.openQuote == '"' && isOneOf(kSpecialInQuotes, next));
}

/// A quote that opens or closes, or a character as it is.
void take(ShellWord& word, char character) {
  const bool isQuote = character == '\'' || character == '"';
  if (word.openQuote != 0 && character == word.openQuote) {
    word.openQuote = 0;
  } else if (word.openQuote == 0 && isQuote) {
    word.openQuote = character;
  } else {
    word.text += character;
  }
}

}  // namespace

std::vector<ShellWord> shellWords(const std::string& line) {
  std::vector<ShellWord> words(1);
  bool isBegun = false;
  for (size_t at = 0; at < line.size(); ++at) {
    ShellWord& word = words.back();
    const char character = line[at];
    const char next = at + 1 < line.size() ? line[at + 1] : '\0';
    if (word.openQuote == 0 && isOneOf(" \t", character)) {
      if (isBegun) words.emplace_back();
      isBegun = false;
      continue;
    }
    if (escapes(word, character, next)) {
      if (next != 0) word.text += line[++at];
    } else if (character == '~' && next == '/' && !isBegun) {
      const char* home = std::getenv("HOME");
      word.text += home == nullptr ? "~" : home;
    } else {
      take(word, character);
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
