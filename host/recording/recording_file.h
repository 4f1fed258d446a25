// The file that a recording is written to. It destroys nothing: an older recording stays in its place until the first
// call of the new one is written, and no other file is ever replaced.
#pragma once

#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/json.h"

namespace host::recording {

/// A file that the run reads or keeps, and the option that named it.
struct RunFile {
  std::string option;
  std::string file;  ///< empty: not named
};

class RecordingFile {
 public:
  /// Begins the file, or one beside the older recording that it will replace.
  ///
  /// @param file   links are followed
  /// @param others  what it must not be
  /// @throws Refusal  it is one of those, no regular file, or neither empty nor a recording; or it cannot be written
  RecordingFile(const std::string& file, const std::vector<RunFile>& others);

  /// Removes what holds no call when there is an older recording.
  ~RecordingFile();
  RecordingFile(const RecordingFile&) = delete;
  RecordingFile& operator=(const RecordingFile&) = delete;

  /// Writes a call as a line, at once.
  void writeCall(const Json& call);

  /// Writes the last line.
  /// @return nothing, or why the file is not whole: "FILE: REASON"
  [[nodiscard]] std::optional<std::string> finish();

 private:
  struct CloseFile {
    void operator()(FILE* file) const { std::fclose(file); }
  };

  void writeLine(const Json& line);

  std::string name_;    // as it was given
  std::string target_;  // behind links
  std::string beside_;  // the new file while the older one is in its place; else empty
  std::unique_ptr<FILE, CloseFile> file_;
  int error_ = 0;  // errno of the first write that failed
};

}  // namespace host::recording
