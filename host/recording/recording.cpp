// Reads a recording line by line.
#include "host/recording/recording.h"

#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>
#include <utility>
#include <variant>

#include "host/output/text.h"
#include "host/recording/lines.h"
#include "host/refusal.h"
#include "json/input.h"
#include "json/json_check.h"

namespace host::recording {
namespace {

/// @return nothing when the line is no JSON, which is a mistake then
std::optional<nlohmann::json> parseLine(const std::string& line, Source& source) {
  constexpr std::string_view kOnlyLine = "line 1, ";
  auto mistake = input::mistakeInJson(line);
  if (!mistake) return nlohmann::json::parse(line);
  if (mistake->starts_with(kOnlyLine)) mistake->erase(0, kOnlyLine.size());
  // Any file may have been named, and the parser's message quotes its bytes.
  source.mistakes.add(printable(*mistake));
  return std::nullopt;
}

void readLines(const std::string& content, Source& source, RecordedCalls& recorded) {
  bool hasEnded = false;
  size_t number = 0;
  size_t end = 0;
  for (size_t begin = 0; begin < content.size(); begin = end + 1) {
    source.mistakes.enterLine(++number);
    if (hasEnded) return source.mistakes.add("nothing may come after the end");
    end = content.find('\n', begin);
    if (end == std::string::npos) return source.mistakes.add("the recording is cut in this line");
    const auto line = parseLine(content.substr(begin, end - begin), source);
    if (number == 1) {
      if (line) recorded.repeats = readFirstLine(*line, source);
      if (!source.mistakes.none()) return;  // whatever it is, it is no recording that this program knows
    } else if (line && isLastLine(*line)) {
      hasEnded = true;
    } else if (auto call = line ? readCall(*line, source) : std::nullopt) {
      recorded.calls.push_back(*std::move(call));
    }
  }
  source.mistakes.enterLine(number + 1);
  if (!hasEnded) source.mistakes.add(R"(the recording is cut: its last line, {"end":true}, is missing)");
}

}  // namespace

RecordedCalls readRecording(const std::string& file) {
  std::string error;
  const auto content = input::readFile(file, error);
  if (!content) throw Refusal(file + ": cannot be read: " + error);
  if (content->empty()) throw Refusal(file + ": not a recording: it is empty");
  Source source{input::Mistakes(file)};
  RecordedCalls recorded;
  readLines(*content, source, recorded);
  if (!source.mistakes.none()) throw Refusal(source.mistakes.text());
  return recorded;
}

Recording::Recording(const std::string& file) : Recording(file, readRecording(file)) {}

Recording::Recording(std::string file, RecordedCalls recorded) : file_(std::move(file)), repeats_(recorded.repeats) {
  for (AnyCall& call : recorded.calls) {
    std::visit([&]<typename Call>(Call& one) { answersTo<Call>(one.request).all.push_back(std::move(one.answer)); },
               call);
  }
}

}  // namespace host::recording
