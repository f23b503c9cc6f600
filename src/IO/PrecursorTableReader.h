// IO/PrecursorTableReader.h: the rows of a precursor table (.csv) as tarvek writes it.
// Does:     tells such a table from other files; gives its rows in their order, and for a damaged
//           one what is wrong.
// Owns:     the open file and the current line.
// Throws:   a std::string naming the file, for a row also its line.
// Not here: what the rows mean (score/Score.h, report/Files.h, check/Table.h). The columns:
//           docs/formats/precursor-csv.md.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "SpectrumRecords.h"
#include "TableReader.h"

namespace tarvek {

/// One row, m/z and charges with the signs that they have in the table.
struct PrecursorRow {
  std::string m_activation;
  std::string m_analyser;
  std::int32_t m_scan_no = 0;
  Precursor m_declared;                 // -1 and -1 when the input declared none
  std::vector<Precursor> m_determined;  // best score first
};

class PrecursorTableReader {
 public:
  /// Opens the file; whether it is a table of tarvek, HasHeader tells.
  explicit PrecursorTableReader(const std::string& path);

  [[nodiscard]] bool HasHeader() const noexcept { return m_has_header; }

  /// The next row; false at the end of the file. Throws for a row that is damaged, and at the first
  /// row for a file that is no precursor table.
  bool Next(PrecursorRow& row);

  /// The same in two steps, for those that go on behind a damaged row: moves to the next line, then
  /// reads it and says what is wrong with it; empty when nothing is.
  bool NextLine() { return m_lines.Next(m_line); }
  [[nodiscard]] std::string ReadRow(PrecursorRow& row) const;

  /// The current line, and its number from 1.
  [[nodiscard]] const std::string& Line() const noexcept { return m_line; }
  [[nodiscard]] std::int64_t Number() const noexcept { return m_lines.Number(); }

  /// Whether the current line ends in a line feed, as every line has that was written whole.
  [[nodiscard]] bool IsLineComplete() const noexcept { return m_lines.IsComplete(); }

 private:
  TextLines m_lines;
  std::string m_line;
  bool m_has_header = false;
};

/// Whether path is a file that begins as a precursor table does. However long its first line is,
/// no more than a block of it is read. False when it cannot be opened.
bool IsPrecursorTable(const std::string& path);

/// Why the table at path does not count as finished, "it is empty" for one; empty when it does: it
/// can be read and begins with the whole header.
std::string FlawOfTable(const std::string& path);

/// Whether there is a table at path that counts as finished.
bool IsFinishedTable(const std::string& path);

}  // namespace tarvek
