// IO/EvidenceTable.h: the evidence for each precursor that was determined together with others.
// Does:     writes and reads the tab-separated table BASE.precursors.tsv.
// Owns:     the writer the unfinished file, which gets its final name only in Complete; the reader
//           the open file.
// Throws:   what UnfinishedFile and TableReader throw.
// Not here: which precursors get a row. The columns: docs/formats/precursors.md.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "SpectrumRecords.h"
#include "TableReader.h"
#include "UnfinishedFile.h"

namespace tarvek {

/// The suffix of the table's file name, after the base name.
inline constexpr const char* kEvidenceEnding = ".precursors.tsv";

struct EvidenceRow {
  std::int32_t m_scan_no = 0;
  Precursor m_precursor;  // m/z and charge are both negative for negative ions
  PrecursorEvidence m_evidence;
};

class EvidenceWriter {
 public:
  explicit EvidenceWriter(const std::string& final_path);

  void Write(const EvidenceRow& row);

  /// A row for each precursor of scan that has evidence.
  void Write(const MS2Spectrum& scan);

  void Close() { m_file.Close(); }
  void Complete() { m_file.TakeName(); }

 private:
  UnfinishedFile m_file;
  std::string m_text;  // reused from row to row
};

class EvidenceReader {
 public:
  explicit EvidenceReader(const std::string& path);

  /// The next row; false at the end of the file.
  bool Next(EvidenceRow& row);

  /// Throws the error that the scan of the current row has too many rows.
  [[noreturn]] void FailForTooMany() const { m_rows.Fail("more precursors than any scan has."); }

 private:
  TableReader m_rows;
  std::array<std::size_t, 5> m_places;
};

}  // namespace tarvek
