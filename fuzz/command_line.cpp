// Arbitrary words where the command line takes numbers, lists of words, places and quotes: they mean what is written,
// or are refused.
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "fuzz/input.h"
#include "host/command_line/option_values.h"
#include "host/command_line/shell_words.h"
#include "host/disks/place.h"

namespace {

using fuzz::require;

constexpr int kLeast = -5;
constexpr int kMost = 86400;

/// The number that a text is, read in another way.
std::optional<int> numberIn(const std::string& text) {
  const bool isNegative = text.starts_with('-');
  int64_t value = 0;
  for (const char digit : text.substr(isNegative ? 1 : 0)) {
    if (digit < '0' || digit > '9') return std::nullopt;
    value = std::min<int64_t>(value * 10 + (digit - '0'), INT32_MAX);
  }
  if (isNegative) value = -value;
  const bool isEmpty = text.size() == (isNegative ? 1 : 0);
  return isEmpty || value < kLeast || value > kMost ? std::nullopt : std::optional<int>(static_cast<int>(value));
}

/// @return whether the tables take it
bool takes(const std::vector<host::Option>& options, const host::GivenWords& given) {
  try {
    host::takeValues(given, options);
    return true;
  } catch (const host::WrongUsage& wrong) {
    require(std::string(wrong.what()).size() > 10, "a refusal says what and why");
    return false;
  }
}

void tryNumbers(const std::string& text) {
  int number = kLeast - 1;
  int seconds = kLeast - 1;
  const std::vector<host::Option> options = {
      {"--number", "N", "", host::Number{&number, kLeast, kMost}},
      {"--watch", "SECONDS", "", host::FlagOrNumber{&seconds, 30, kLeast, kMost}},
  };
  const std::optional<int> expected = numberIn(text);
  host::GivenWords given;
  given.options["--number"] = {text};
  require(takes(options, given) == expected.has_value(), "numbers within the bounds are taken, and nothing else");
  require(!expected || number == *expected, "a number is what is written");
  given = {};
  given.options["--watch"] = {text};
  require(takes(options, given) == (expected || text.empty()), "so they are where a flag may have one");
  require(!expected || seconds == *expected, "with the number that is written");
  require(!text.empty() || seconds == 30, "or the usual one");
}

void tryWords(const std::string& text) {
  std::vector<std::string> columns;
  const std::vector<std::string> known = {"device", "state", "raid"};
  const std::vector<host::Option> options = {
      {"--columns", "LIST", "", host::WordList{"column", &columns, known}},
      {"DEVICE", "", "", host::Texts{&columns}},
  };
  host::GivenWords given;
  given.options["--columns"] = {text};
  if (!takes(options, given)) return;
  for (size_t i = 0; i < columns.size(); ++i) {
    require((i == 0 && columns[i] == "+") || std::find(known.begin(), known.end(), columns[i]) != known.end(),
            "only what is known is taken");
  }
}

/// @param text  a place, or a port to make one with
void tryPlaces(const std::string& text) {
  const auto place = host::parsePlace(text);
  const host::Place located = host::placeOf("port:box:bay " + text);
  require(located.text == "port:box:bay " + text, "a location keeps its text");
  require(!place || text.ends_with("(Failed)") || text == ":0:0" || host::isSamePlace(located, *place),
          "a location is the place that it names");
  const auto box = static_cast<uint32_t>(text.size());
  const uint32_t bay = UINT32_MAX - box;
  const auto made = host::parsePlace(text + ":" + std::to_string(box) + ":" + std::to_string(bay));
  require(made && made->port == text && made->box == box && made->bay == bay, "a place is what is written");
}

void tryQuotes(const std::string& text) {
  const auto words = host::shellWords(text);
  require(!words.empty(), "a line has a word");
  if (text.empty() || text.find('\0') != std::string::npos) return;
  const auto again = host::shellWords(host::quoted(text, 0));
  require(again.size() == 1 && again[0].text == text && again[0].openQuote == 0, "a quoted text is one word");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  constexpr void (*kTries[])(const std::string&) = {tryNumbers, tryWords, tryPlaces, tryQuotes};
  if (size > 0) kTries[data[0] % std::size(kTries)](std::string(reinterpret_cast<const char*>(data) + 1, size - 1));
  return 0;
}
