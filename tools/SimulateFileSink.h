// tools/SimulateFileSink.h: what the sinks that write a run to files have in common.
// Does:     files under temporary names, the table of the truth, the final names all at the end.
// Owns:     each object its file.
// Throws:   a std::string of the file helpers naming the path.
// Not here: the scans (SimulateMsbSink.h, SimulateMzmlSink.h); the text of a row of the truth
//           (SimulateTextSink.h).
#pragma once

#include <initializer_list>
#include <optional>
#include <span>
#include <string>

#include "OutputFile.h"
#include "SimulateSink.h"

namespace tarvek::tools {

/// A file that is called path + "_unfinished" until TakeName; one that never took its name is
/// removed in the end.
class UnfinishedFile {
 public:
  /// kind is the purpose word of OpenFile's message.
  UnfinishedFile(std::string path, const std::string& kind);
  ~UnfinishedFile();
  UnfinishedFile(const UnfinishedFile&) = delete;
  UnfinishedFile& operator=(const UnfinishedFile&) = delete;

  [[nodiscard]] OutputFile& File() noexcept { return *m_file; }
  [[nodiscard]] const std::string& Path() const noexcept { return m_path; }
  [[nodiscard]] std::string TemporaryPath() const { return m_path + "_unfinished"; }

  /// Renames the closed file, replacing an existing one.
  void TakeName();

 private:
  std::string m_path;
  std::optional<OutputFile> m_file;  // closed before it is deleted
  bool m_has_name = false;
};

/// OUTBASE.truth.tsv, the same for every format of the scans; docs/simulator.md describes it.
class TruthFile {
 public:
  explicit TruthFile(const std::string& out_base);

  void Write(std::span<const TruthRow> rows);

  /// Closes the files of the scans and the table, deletes an old table, which must not stand beside
  /// new scans, and gives all files their names, the table last.
  void CompleteWith(std::initializer_list<UnfinishedFile*> scan_files);

 private:
  UnfinishedFile m_file;
  std::string m_text;
};

/// Appends the shortest decimal text that reads back as value, which is finite.
void AppendExactReal(std::string& text, double value);

}  // namespace tarvek::tools
