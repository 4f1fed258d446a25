// The report as text and as JSON.
#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <unistd.h>

#include "host_check/real_plugin.h"
#include "host_check/report.h"

namespace hostcheck {
namespace {

/// A file that is written in few pieces, so that a line of another thread does not cut one of these in two.
class Output {
 public:
  explicit Output(int file) : file_(file) {}
  ~Output() { flush(); }
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  /// @param format  of a text of fewer than 256 bytes
  [[gnu::format(printf, 2, 3)]] void print(const char* format, ...) {
    char text[256];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    put(text, std::strlen(text));
  }

  void put(const char* text, size_t length) {
    if (length > sizeof(text_) - length_) flush();
    std::memcpy(text_ + length_, text, length);
    length_ += length;
  }

  /// @return false: not all that came so far was written; errno tells why
  bool flush() {
    for (size_t written = 0; written < length_ && failure_ == 0;) {
      const ssize_t piece = write(file_, text_ + written, length_ - written);
      if (piece >= 0)
        written += static_cast<size_t>(piece);
      else if (errno != EINTR)
        failure_ = errno;
    }
    length_ = 0;
    errno = failure_;
    return failure_ == 0;
  }

 private:
  int file_;
  int failure_ = 0;
  size_t length_ = 0;
  char text_[2048] = "";
};

/// The bytes of a UTF-8 character that begins with that one; 0 when none does.
size_t lengthBehind(unsigned char first) {
  if (first < 0x80) return 1;
  if (first < 0xC2) return 0;
  if (first < 0xE0) return 2;
  if (first < 0xF0) return 3;
  return first < 0xF5 ? 4 : 0;
}

/// The bytes of the UTF-8 character at the front of a text; 0 when none is there.
size_t characterLength(const char* text) {
  const auto byte = [text](size_t index) { return static_cast<unsigned char>(text[index]); };
  const unsigned char first = byte(0);
  const size_t length = lengthBehind(first);
  for (size_t index = 1; index < length; ++index) {
    if ((byte(index) & 0xC0) != 0x80) return 0;
  }
  const bool isTooLong = (first == 0xE0 && byte(1) < 0xA0) || (first == 0xF0 && byte(1) < 0x90);
  const bool isNoCharacter = (first == 0xED && byte(1) >= 0xA0) || (first == 0xF4 && byte(1) >= 0x90);
  return isTooLong || isNoCharacter ? 0 : length;
}

/// Text of a host in a report for people: what would steer a terminal, or is no UTF-8, is a question mark.
void writePlain(Output& output, const char* text) {
  while (*text != '\0') {
    const size_t length = characterLength(text);
    const auto first = static_cast<unsigned char>(*text);
    const bool isShown = length > 1 ? first != 0xC2 || static_cast<unsigned char>(text[1]) >= 0xA0
                                    : length == 1 && first >= ' ' && first != 0x7F;
    isShown ? output.put(text, length) : output.put("?", 1);
    text += length == 0 ? 1 : length;
  }
}

/// A JSON string. A byte that is no UTF-8 is U+FFFD.
void writeString(Output& output, const char* text) {
  output.put("\"", 1);
  while (*text != '\0') {
    const size_t length = characterLength(text);
    const auto first = static_cast<unsigned char>(*text);
    if (length == 0) {
      output.print("\\ufffd");
    } else if (first < ' ') {
      output.print("\\u%04x", first);
    } else {
      if (first == '"' || first == '\\') output.put("\\", 1);
      output.put(text, length);
    }
    text += length == 0 ? 1 : length;
  }
  output.put("\"", 1);
}

void writeMember(Output& output, const char* key, const char* text) {
  output.print(R"(, "%s": )", key);
  *text == '\0' ? output.print("null") : writeString(output, text);
}

void writeAddress(Output& output, const char* key, const void* address) {
  output.print(address == nullptr ? R"(, "%s": null)" : R"(, "%s": "%p")", key, address);
}

void writePlace(Output& output, const void* at, const char* place) {
  if (at == nullptr) return output.print("at an unknown place\n");
  output.print("at %p ", at);
  writePlain(output, place);
  output.print("\n");
}

void writeFindingAsJson(Output& output, const Finding& finding) {
  const Subject& subject = finding.subject;
  output.print(R"({"rule": "%s")", textOf(finding.rule).name);
  writeMember(output, "duty", textOf(finding.rule).duty);
  writeMember(output, "call", finding.call.name);
  writeMember(output, "detail", subject.detail);
  writeAddress(output, "handle", subject.handle);
  writeMember(output, "disk", finding.disk);
  writeAddress(output, "address", finding.call.at);
  writeMember(output, "place", finding.place);
  output.print(R"(, "times": %u, "collidesWith": )", finding.times);
  if (subject.other.name == nullptr) return output.print("null}");
  output.print(R"({"call": "%s")", subject.other.name);
  writeAddress(output, "address", subject.other.at);
  writeMember(output, "place", finding.otherPlace);
  output.print("}}");
}

}  // namespace

void writeFinding(int file, const Finding& finding) {
  Output output(file);
  const Subject& subject = finding.subject;
  output.print("dmu-check-host: %s: %s", textOf(finding.rule).name, finding.call.name);
  if (*subject.detail != '\0') {
    output.print(", ");
    writePlain(output, subject.detail);
  }
  if (subject.handle != nullptr) output.print(", handle %p", static_cast<const void*>(subject.handle));
  if (*finding.disk != '\0') {
    output.print(", disk ");
    writePlain(output, finding.disk);
  }
  output.print("\n  %s\n  ", textOf(finding.rule).duty);
  writePlace(output, finding.call.at, finding.place);
  if (subject.other.name == nullptr) return;
  output.print("  collides with %s ", subject.other.name);
  writePlace(output, subject.other.at, finding.otherPlace);
}

void writeEnd(int file, const Summary& summary) {
  Output output(file);
  for (const Finding* finding = summary.first; finding != nullptr; finding = finding->next) {
    if (finding->times == 1) continue;
    output.print("dmu-check-host: %s: %s at %p, %u times\n", textOf(finding->rule).name, finding->call.name,
                 finding->call.at, finding->times);
  }
  output.print("dmu-check-host: process %d, plugin ", static_cast<int>(getpid()));
  writePlain(output, realPluginFile());
  output.print(": %u calls, %u handles opened, %u left open, %u location texts handed out", summary.calls,
               summary.handlesOpened, summary.handlesOpen, summary.locationTexts);
  if (summary.areTextsWatched) output.print(", %u of them not released", summary.locationTextsHeld);
  output.print("; %u breaches found\n", summary.findings);
}

bool writeJson(int file, const Summary& summary) {
  Output output(file);
  output.print(R"({"version": 1, "process": %d, "ended": %s)", static_cast<int>(getpid()),
               summary.isEnd ? "true" : "false");
  writeMember(output, "plugin", realPluginFile());
  output.print(R"(, "calls": %u, "handlesOpened": %u, "handlesOpen": %u, "locationTexts": %u, "locationTextsHeld": )",
               summary.calls, summary.handlesOpened, summary.handlesOpen, summary.locationTexts);
  output.print(summary.areTextsWatched ? "%u" : "null", summary.locationTextsHeld);
  output.print(",\n \"findings\": [");
  for (const Finding* finding = summary.first; finding != nullptr; finding = finding->next) {
    output.print(finding == summary.first ? "\n  " : ",\n  ");
    writeFindingAsJson(output, *finding);
  }
  output.print("]}\n");
  return output.flush();
}

}  // namespace hostcheck
