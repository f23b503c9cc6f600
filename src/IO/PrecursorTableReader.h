// IO/PrecursorTableReader.h: the rows of a precursor table (.csv) as tarvek writes it.
// Does:     tells such a table from other files; gives its rows in order, and the fault of a
//           damaged one.
// Owns:     the open file and the current line.
// Throws:   a std::string that names the file, and the line of a faulty row.
// Not here: what the rows mean (score/Score.h, report/Files.h, check/Table.h). The columns:
//           docs/formats/precursor-csv.md.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "SpectrumRecords.h"
#include "TableReader.h"

namespace tarvek {

/// One row, with m/z and charges signed as in the table.
struct PrecursorRow {
  std::string m_activation;
  std::string m_analyser;
  std::int32_t m_scan_no = 0;
  Precursor m_declared;                 // -1 and -1 when the input declared none
  std::vector<Precursor> m_determined;  // best score first
};

class PrecursorTableReader {
 public:
  /// Opens the file; HasHeader says whether it is a table of tarvek.
  explicit PrecursorTableReader(const std::string& path);

  [[nodiscard]] bool HasHeader() const noexcept { return m_has_header; }

  /// The next row; false at the end of the file. Throws for a damaged row, and at the first row for
  /// a file that is not a precursor table.
  bool Next(PrecursorRow& row);

  /// The same in two steps, for callers that continue after a damaged row: NextLine moves to the
  /// next line; ReadRow parses it and returns its fault, empty without one.
  bool NextLine() { return m_lines.Next(m_line); }
  [[nodiscard]] std::string ReadRow(PrecursorRow& row) const;

  /// Throws an error about the current line.
  [[noreturn]] void Fail(const std::string& what) const { m_lines.Fail(what); }

  /// The current line, and its number from 1.
  [[nodiscard]] const std::string& Line() const noexcept { return m_line; }
  [[nodiscard]] std::int64_t Number() const noexcept { return m_lines.Number(); }

  /// Whether the current line ends in a line feed; every line that was written whole does.
  [[nodiscard]] bool IsLineComplete() const noexcept { return m_lines.IsComplete(); }

 private:
  TextLines m_lines;
  std::string m_line;
  bool m_has_header = false;
};

/// Whether the file at path begins like a precursor table. Reads at most one block, however long
/// the first line is. False when the file cannot be opened.
bool IsPrecursorTable(const std::string& path);

/// Why the table at path does not count as finished, "it is empty" for one; empty when it does: it
/// can be read, begins with the whole header, and, where there is a record next to it, ends with a
/// line end and has as many rows as that counts.
std::string FlawOfTable(const std::string& path);

/// Whether there is a table at path that counts as finished.
bool IsFinishedTable(const std::string& path);

}  // namespace tarvek
