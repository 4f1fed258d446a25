// What was found: each place of the host that breaks a rule, once.
#pragma once

#include <cstdint>

#include "host_check/places.h"
#include "host_check/rules.h"
#include <dmu/plugin.h>

namespace hostcheck {

/// What a finding is about, as far as it is known.
struct Subject {
  const CtrlDevInfo* handle = nullptr;  ///< as the host gave it
  Call other = {nullptr, nullptr};      ///< the call that this one collides with
  const char* detail = "";              ///< copied: which argument, how much
};

struct Finding {
  Rule rule{};
  Call call{};
  Subject subject;
  const char* disk = "";        ///< "" where no handle is known
  const char* place = "";       ///< of the call
  const char* otherPlace = "";  ///< of the call that it collides with; "" without one
  uint32_t times = 0;           ///< how often it happened there
  Finding* next = nullptr;
};

/// Notes that a call broke a rule, and reports it at once when it is the first time there: the process may not come to
/// its end. Must not be called with the lock: it asks the loader, which may be waiting for that.
void note(Rule rule, const Call& call, const Subject& subject);

/// Counts a call of the host. Needs no lock.
void countCall();

/// Counts a text that the host has received and owes to free. Needs no lock.
void countLocationText();

/// In the child after a fork: what was found so far is the parent's. Needs the lock.
void beginChildReport();

/// All that a report tells.
struct Summary {
  bool isEnd;            ///< the plugin is unloaded, or the process exits
  const Finding* first;  ///< in the order in which they were found
  uint32_t findings;
  uint32_t calls;
  uint32_t handlesOpened;
  uint32_t handlesOpen;
  uint32_t locationTexts;
  bool areTextsWatched;
  uint32_t locationTextsHeld;  ///< of those that are watched
};

/// Called when this library is loaded, while the host's folder and environment are what its user gave.
void findReportFile();

/// The report goes as JSON into the file that DMU_CHECK_HOST_REPORT named, else as text to standard error. A child of
/// the process that loaded the plugin reports when something was found, into a file of that name, a dot and its
/// process.
///
/// A file is replaced by a whole one at each new finding, so that whoever reads it finds a document. What is no plain
/// file, or none by that name, gets one document at the end.
void beginReport();
void endReport();

/// How each of the two is written (report_output.cpp).
void writeFinding(int file, const Finding& finding);
void writeEnd(int file, const Summary& summary);
/// @return false: not all was written; errno tells why
[[nodiscard]] bool writeJson(int file, const Summary& summary);

}  // namespace hostcheck
