// The report as text and as JSON.
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <unistd.h>

#include "host_check/real_plugin.h"
#include "host_check/report.h"

namespace hostcheck {
namespace {

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
void writePlain(int file, const char* text) {
  while (*text != '\0') {
    const size_t length = characterLength(text);
    const auto first = static_cast<unsigned char>(*text);
    const bool isShown = length > 1 ? first != 0xC2 || static_cast<unsigned char>(text[1]) >= 0xA0
                                    : length == 1 && first >= ' ' && first != 0x7F;
    dprintf(file, "%.*s", isShown ? static_cast<int>(length) : 1, isShown ? text : "?");
    text += length == 0 ? 1 : length;
  }
}

/// A JSON string. A byte that is no UTF-8 is U+FFFD.
void writeString(int file, const char* text) {
  dprintf(file, "\"");
  while (*text != '\0') {
    const size_t length = characterLength(text);
    const auto first = static_cast<unsigned char>(*text);
    if (length == 0) {
      dprintf(file, "\\ufffd");
    } else if (first < ' ') {
      dprintf(file, "\\u%04x", first);
    } else {
      dprintf(file, "%s%.*s", first == '"' || first == '\\' ? "\\" : "", static_cast<int>(length), text);
    }
    text += length == 0 ? 1 : length;
  }
  dprintf(file, "\"");
}

void writeMember(int file, const char* key, const char* text) {
  dprintf(file, R"(, "%s": )", key);
  *text == '\0' ? static_cast<void>(dprintf(file, "null")) : writeString(file, text);
}

void writeFindingAsText(int file, const Finding& finding) {
  const Subject& subject = finding.subject;
  dprintf(file, "dmu-check-host: %s: %s", textOf(finding.rule).name, finding.call.name);
  if (*subject.detail != '\0') {
    dprintf(file, ", ");
    writePlain(file, subject.detail);
  }
  if (subject.handle != nullptr) dprintf(file, ", handle %p", static_cast<const void*>(subject.handle));
  if (*finding.disk != '\0') {
    dprintf(file, ", disk ");
    writePlain(file, finding.disk);
  }
  dprintf(file, "\n  %s\n  at %p ", textOf(finding.rule).duty, finding.call.at);
  writePlain(file, finding.place);
  dprintf(file, finding.times == 1 ? "\n" : ", %u times\n", finding.times);
  if (subject.other.name != nullptr) {
    dprintf(file, "  collides with %s at %p ", subject.other.name, subject.other.at);
    writePlain(file, finding.otherPlace);
    dprintf(file, "\n");
  }
}

void writeFindingAsJson(int file, const Finding& finding) {
  const Subject& subject = finding.subject;
  dprintf(file, R"({"rule": "%s")", textOf(finding.rule).name);
  writeMember(file, "duty", textOf(finding.rule).duty);
  writeMember(file, "call", finding.call.name);
  writeMember(file, "detail", subject.detail);
  char handle[24] = "";
  if (subject.handle != nullptr) {
    std::snprintf(handle, sizeof(handle), "%p", static_cast<const void*>(subject.handle));
  }
  writeMember(file, "handle", handle);
  writeMember(file, "disk", finding.disk);
  dprintf(file, R"(, "address": "%p")", finding.call.at);
  writeMember(file, "place", finding.place);
  dprintf(file, R"(, "times": %u, "collidesWith": )", finding.times);
  if (subject.other.name == nullptr) {
    dprintf(file, "null}");
    return;
  }
  dprintf(file, R"({"call": "%s", "address": "%p")", subject.other.name, subject.other.at);
  writeMember(file, "place", finding.otherPlace);
  dprintf(file, "}}");
}

}  // namespace

void writeText(int file, const Summary& summary) {
  for (const Finding* finding = summary.first; finding != nullptr; finding = finding->next) {
    writeFindingAsText(file, *finding);
  }
  dprintf(file, "dmu-check-host: process %d, plugin ", static_cast<int>(getpid()));
  writePlain(file, realPluginFile());
  dprintf(file, ": %u calls, %u handles opened, %u left open, %u location texts handed out", summary.calls,
          summary.handlesOpened, summary.handlesOpen, summary.locationTexts);
  if (summary.areTextsWatched) dprintf(file, ", %u of them not released", summary.locationTextsHeld);
  dprintf(file, "; %u breaches found\n", summary.findings);
}

void writeJson(int file, const Summary& summary) {
  dprintf(file, R"({"version": 1, "process": %d)", static_cast<int>(getpid()));
  writeMember(file, "plugin", realPluginFile());
  dprintf(file, R"(, "calls": %u, "handlesOpened": %u, "handlesOpen": %u, "locationTexts": %u, "locationTextsHeld": )",
          summary.calls, summary.handlesOpened, summary.handlesOpen, summary.locationTexts);
  dprintf(file, summary.areTextsWatched ? "%u" : "null", summary.locationTextsHeld);
  dprintf(file, ",\n \"findings\": [");
  for (const Finding* finding = summary.first; finding != nullptr; finding = finding->next) {
    dprintf(file, finding == summary.first ? "\n  " : ",\n  ");
    writeFindingAsJson(file, *finding);
  }
  dprintf(file, "]}\n");
}

}  // namespace hostcheck
