// What a run has to report beside its result: failed operations, a refusal, notes. Each is told to people at once and
// kept for the document.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/disks/disk_record.h"
#include "host/exit_status.h"
#include "host/output/json.h"
#include "host/refusal.h"

namespace host {

class Report {
 public:
  /// @param forPrograms  standard output is for a document alone: notes go into it and to standard error
  explicit Report(bool forPrograms) : forPrograms_(forPrograms) {}

  /// From now on notes go to standard error: what is written to standard output is a file for programs.
  void keepOutputForPrograms() { forPrograms_ = true; }

  /// An operation on a disk failed: one line on standard error, and the record keeps it.
  void failed(DiskRecord& record, const std::string& operation, const std::string& text);

  /// The command as a whole failed.
  void refused(const Refusal& refusal);

  /// The same, and nothing that follows is reported any more: it would be a consequence that misleads.
  void refusedForGood(const Refusal& refusal);

  /// Something that people should know before or while the program acts.
  void note(const std::string& text);

  [[nodiscard]] ExitStatus exitStatus() const { return status_; }

  /// Keys "exitStatus", "errors" and "notes".
  void addTo(Json& document) const;

 private:
  bool forPrograms_;
  bool isOver_ = false;  // nothing more is reported
  ExitStatus status_ = ExitStatus::done;
  std::vector<Refusal> refusals_;
  std::vector<std::string> notes_;
};

/// One line on standard error: the program's name and the text.
void complain(const std::string& text);

}  // namespace host
