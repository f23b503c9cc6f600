// IO/PfReader.h: scans from .pf1 and .pf2 files, and their indexes.
// Does:     reads from front to back without the index, so that files beyond 2 GiB need nothing
//           special. Two policies: ReadNext reads to the end of the file, whatever count the header
//           gives, and tells a damaged record from a whole one; ReadMs1 and ReadMs2 reject
//           everything that PfWriter would not write.
// Owns:     the open file.
// Throws:   a std::string: "Cannot open PF File, Path: ...", "Cannot relocate in " + path; ReadMs1
//           and ReadMs2 also the path and the fault; what File::Read throws.
// Not here: the records, which docs/formats/pf.md describes.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform.h"
#include "ReadAhead.h"
#include "SpectrumRecords.h"

namespace tarvek {

/// A record of either file; a survey record has its retention time and charge 1 as a precursor.
struct PfRecord {
  std::int64_t m_offset_bytes = 0;
  std::int32_t m_scan_no = 0;
  std::vector<Peak> m_peaks;
  std::vector<Precursor> m_precursors;
};

enum class PfPeaks { kRead, kStepOver };

class PfReader {
 public:
  /// Opens the file and reads its header.
  explicit PfReader(const std::string& path);

  /// False when the file ends inside its header; then it has no records.
  [[nodiscard]] bool HasHeader() const noexcept { return m_has_header; }
  [[nodiscard]] const std::string& Title() const noexcept { return m_title; }
  [[nodiscard]] std::int32_t Count() const noexcept { return m_count; }

  [[nodiscard]] bool AtEnd() const noexcept { return BytesLeft() == 0; }

  /// Refills record; false when the file ends inside it, with record filled up to there.
  bool ReadNext(PfRecord& record, PfPeaks peaks = PfPeaks::kRead);

  /// The next survey or MS2 scan; false after the last one. Sets only scan number, peaks and
  /// retention time or precursors, because the file has no other fields.
  bool ReadMs1(MS1Spectrum& scan);
  bool ReadMs2(MS2Spectrum& scan);

 private:
  [[nodiscard]] std::int64_t BytesLeft() const noexcept {
    return m_size_bytes - m_bytes.ConsumedBytes();
  }
  std::optional<std::string_view> Bytes(std::int64_t count);
  std::optional<std::string_view> Items(std::int64_t item_bytes);
  std::optional<std::int32_t> Integer();
  bool ReadHeader();
  bool ReadPeaks(std::vector<Peak>& peaks);
  bool StepOverPeaks();
  bool ReadPrecursors(std::vector<Precursor>& precursors);
  bool ReadCounted();
  [[noreturn]] void FailAsDamaged() const;

  std::string m_path;
  File m_file;
  ReadAhead m_bytes{m_file};
  std::int64_t m_size_bytes;
  std::int32_t m_count = 0;
  std::int64_t m_read = 0;  // scans, by ReadMs1 and ReadMs2
  std::string m_title;
  bool m_has_header;
  PfRecord m_record;  // reused by ReadMs1 and ReadMs2
};

struct PfIndexEntry {
  std::int32_t m_scan_no = 0;
  std::int32_t m_offset_bytes = 0;  // its low 32 bits
};

struct PfIndex {
  std::vector<PfIndexEntry> m_entries;
  bool m_is_whole = true;  // false: the file ends inside an entry
};

/// The index of the data file at path.
std::string PfIndexPath(const std::string& path);
PfIndex ReadPfIndex(const std::string& index_path);

/// An offset in the form of the index, which has 32 bits for it: from 2^31 on it wraps.
constexpr std::int32_t PfIndexOffset(std::int64_t offset_bytes) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(offset_bytes));
}
constexpr bool IsWrappedInPfIndex(std::int64_t offset_bytes) {
  return offset_bytes > std::numeric_limits<std::int32_t>::max();
}

}  // namespace tarvek
