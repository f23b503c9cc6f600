// IO/PrecursorCsvWriter.h: the table of declared and determined precursors, one row per MS2 scan.
// Does:     writes the table under a temporary name; Complete gives it its final name, which marks
//           the run as finished.
// Owns:     the open temporary file. When destroyed before Complete, it leaves that file, so the
//           next run starts over.
// Throws:   a std::string: "Cannot open CSV File, Path: ...", "Cannot write " + temporary path,
//           "Cannot rename file: " + temporary path, "Cannot finish " + final path + reason when the
//           temporary file was removed or replaced.
// Not here: which scans get a row. The columns: docs/formats/precursor-csv.md.
#pragma once

#include <string>
#include <string_view>

#include "SpectrumFile.h"
#include "SpectrumRecords.h"
#include "UnfinishedFile.h"

namespace tarvek {

class PrecursorCsvWriter final : public SpectrumFile {
 public:
  /// mode "w+". Opens final_path + "_unfinished" and writes the header line. All notices name
  /// final_path; the start of the file gives no notice.
  PrecursorCsvWriter(const std::string& final_path, std::string_view mode,
                     NoticeTaker notice = TakeSilently);

  void WriteRow(const MS2Spectrum& scan);

  /// Finishes the file and moves it to the final path, replacing a file of that name.
  void Complete();

  /// Where the table is until then.
  [[nodiscard]] std::string TemporaryPath() const { return m_file.TemporaryPath(); }

 private:
  void CloseStream() override { m_file.Close(); }

  UnfinishedFile m_file;
  std::string m_row;  // reused from row to row
};

}  // namespace tarvek
