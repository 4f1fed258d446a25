// Reads a recording line by line.
#include "host/recording/recording.h"

#include "host/file_content.h"
#include "host/json_file.h"
#include "host/output/text.h"
#include "host/recording/line_checks.h"
#include "host/refusal.h"

namespace host::recording {
namespace {

/// The order of keys in the file does not matter.
std::string keyOf(const Request& request) {
  return request.call + " " + nlohmann::json(request.parameters).dump();
}

/// Any file may have been named, and the parser's message quotes its bytes.
Json parseLine(const std::string& line, const std::string& place) {
  try {
    return readJsonLine(line, "");
  } catch (const Refusal& refusal) {
    throw Refusal(place + printable(refusal.what()));
  }
}

}  // namespace

Recording Recording::read(const std::string& file) {
  std::string error;
  const auto content = readFile(file, error);
  if (!content) throw Refusal(file + ": cannot be read: " + error);
  if (content->empty()) throw Refusal(file + ": not a recording: it is empty");

  Recording recording;
  recording.file_ = file;
  size_t number = 0;
  for (size_t begin = 0; begin < content->size();) {
    const std::string place = file + ": line " + std::to_string(++number);
    const size_t end = content->find('\n', begin);
    if (end == std::string::npos) throw Refusal(place + ": the recording is cut in this line");
    const std::string line = content->substr(begin, end - begin);
    if (number == 1) {
      const Json first = parseLine(line, place);
      checkFirstLine(JsonNode(first, place));
    } else {
      recording.addLine(line, place);
    }
    begin = end + 1;
  }
  if (!recording.ended_) {
    throw Refusal(file + ": line " + std::to_string(number + 1) + ": the recording is cut: its last line, " +
                  R"({"end":true}, is missing)");
  }
  return recording;
}

void Recording::addLine(const std::string& line, const std::string& place) {
  if (ended_) throw Refusal(place + ": nothing may come after the end");
  const Json json = parseLine(line, place);
  if (json.is_object() && json.contains("end")) {
    ended_ = true;
    return;
  }
  checkCall(JsonNode(json, place));
  const Request request{json.at("call"), json.at("request")};
  answers_[keyOf(request)].all.push_back(json.at("answer"));
}

const Json* Recording::next(const Request& request) {
  const auto found = answers_.find(keyOf(request));
  if (found == answers_.end()) return nullptr;
  Answers& answers = found->second;
  return answers.given == answers.all.size() ? nullptr : &answers.all[answers.given++];
}

size_t Recording::count(const Request& request) const {
  const auto found = answers_.find(keyOf(request));
  return found == answers_.end() ? 0 : found->second.all.size();
}

}  // namespace host::recording
