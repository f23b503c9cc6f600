// IO/ScanTable.h: the .mscsv table that accompanies a binary spectrum file.
// Does:     reads one row of attributes per scan and finds it by scan number; writes the same.
// Owns:     its entries.
// Throws:   a std::string: "Cannot open MSCSV File, Path: ..."; as a FileFault (ShownText.h) "mscsv file
//           is empty!", "mscsv file has no column " + name + "!", "invalid stoi argument" and its
//           kind; a message naming file and line for a scan number that no run has.
// Not here: the peaks (MsbReader.h). Columns: docs/formats/msb.md.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "Notice.h"
#include "SpectrumRecords.h"

namespace tarvek {

/// Entries by scan number. A number below Size() without a row has the default entry, all numbers 0.
class ScanTable {
 public:
  ScanTable() = default;

  /// rows are in file order, with scan numbers of 0 or more. Of rows with the same scan number the
  /// last one counts.
  explicit ScanTable(std::vector<ScanTableEntry> rows);

  /// One more than the largest scan number; 0 without rows.
  [[nodiscard]] std::size_t Size() const noexcept;

  /// All rows of the table, ascending by scan number; borrows from this.
  [[nodiscard]] std::span<const ScanTableEntry> Rows() const noexcept { return m_rows; }

  /// The entry at a scan number; null when the number is outside the table. O(1) where the rows have
  /// consecutive numbers, else O(log n).
  [[nodiscard]] const ScanTableEntry* Find(std::int32_t scan_no) const;

 private:
  std::vector<ScanTableEntry> m_rows;  // ascending in scan number, each number once
};

/// The line of column names.
std::string ScanTableHeader();

/// Appends the row of a scan with its line feed. m/z have mz_decimals decimals, except that of the
/// precursor, which is exact because the outputs round it.
void AppendScanTableRow(std::string& text, const ScanTableEntry& entry, int mz_decimals);

/// Reads the table at path, with the notices of every spectrum file.
ScanTable LoadScanTable(const std::string& path, NoticeTaker notice = TakeSilently);

}  // namespace tarvek
