// extractor/TemporaryOutput.h: an output that gets its name when it is complete.
// Does:     writes under the final name followed by "_unfinished" and renames at the end.
// Owns:     the temporary file, which it deletes unless it was committed.
// Throws:   std::string: "Cannot open ...", "Cannot write ...", "Cannot rename file: ...",
//           "Another run is writing ..." while another process has the temporary file.
// Not here: formats.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "OutputFile.h"
#include "Platform.h"

namespace tarvek::extractor {

class TemporaryOutput {
 public:
  explicit TemporaryOutput(const std::string& path);
  ~TemporaryOutput();
  TemporaryOutput(const TemporaryOutput&) = delete;
  TemporaryOutput& operator=(const TemporaryOutput&) = delete;

  void Write(std::string_view bytes) { m_file->Write(bytes); }
  [[nodiscard]] std::int64_t PositionBytes() const { return m_file->PositionBytes(); }

  /// Flushes and closes; every failed write is known afterwards.
  void Close();

  /// Gives the closed file its final name.
  void Commit();

  [[nodiscard]] const std::string& Path() const { return m_path; }

 private:
  std::string m_path;
  std::string m_temporary_path;
  FileLock m_lock;  // an extractor that outlived its killed run may still write there
  std::optional<OutputFile> m_file;
  bool m_is_committed = false;
};

}  // namespace tarvek::extractor
