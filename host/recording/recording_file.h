// The file that a recording is written to. It grows beside its place and takes that with the first call that is passed
// on to the host, whole, so that neither a run that asks nothing nor two runs at once spoil what is there. No file but
// a recording is ever replaced.
#pragma once

#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/output/json.h"

namespace host::recording {

/// A file that the run reads or keeps, and the option that named it.
struct RunFile {
  std::string option;
  std::string file;  ///< empty: not named
};

class RecordingFile {
 public:
  /// Begins the file.
  ///
  /// @param file     links are followed
  /// @param others   what it must not be
  /// @param repeats  as for firstLine
  /// @throws Refusal  it is one of those, no regular file, or neither empty nor a recording; or it cannot be written
  RecordingFile(const std::string& file, const std::vector<RunFile>& others, bool repeats);

  /// Removes what has not taken its place.
  ~RecordingFile();
  RecordingFile(const RecordingFile&) = delete;
  RecordingFile& operator=(const RecordingFile&) = delete;

  /// Writes a line, at once.
  void write(const Json& line);

  /// Puts the file in its place, unless it is there already.
  void takePlace();

  /// Writes the last line. Says it on standard error when the file never took its place.
  /// @return nothing, or why the file is not whole: "FILE: REASON"
  [[nodiscard]] std::optional<std::string> finish();

 private:
  struct CloseFile {
    void operator()(FILE* file) const { std::fclose(file); }
  };

  [[nodiscard]] bool isAt(const std::string& place) const;

  std::string name_;    // as it was given
  std::string target_;  // behind links
  std::string beside_;  // where the file is until it takes its place; else empty
  std::unique_ptr<FILE, CloseFile> file_;
  int error_ = 0;  // errno of the first write that failed
};

}  // namespace host::recording
