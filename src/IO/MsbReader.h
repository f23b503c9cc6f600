// IO/MsbReader.h: binary spectrum files (.msb) with their scan table (.mscsv).
// Does:     reads records in file order and queues each as an MS1 or MS2 scan, according to the
//           table.
// Owns:     the open file, the table and the queued scans.
// Throws:   a std::string: what opening and the table throw; as a FileFault (ShownText.h) "The peak num
//           is too large!", "The MSB terminated unexpectly!", "The peak num is not equal!". A record that the table does not
//           know fails an internal check.
// Not here: seeking; StartPos and EndPos of the table are not used. Records: docs/formats/msb.md.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "ReadAhead.h"
#include "ScanTable.h"
#include "SpectrumFile.h"
#include "SpectrumRecords.h"

namespace tarvek {

class MsbReader final : public SpectrumReader {
 public:
  /// Opens base_path + ".msb" and loads base_path + ".mscsv".
  explicit MsbReader(const std::string& base_path, NoticeTaker notice = TakeSilently);

  /// Reads one record into the queue of its level; false at the end of the data.
  bool ReadNext();

  /// Takes the oldest queued scan, reading records until it finds one; false when none is left.
  /// Discards what scan held, but reuses its capacity.
  bool TakeMs1(MS1Spectrum& scan);
  bool TakeMs2(MS2Spectrum& scan);

  /// Whether an MS1 scan is queued.
  [[nodiscard]] bool HasMs1() const noexcept { return !m_ms1.empty(); }

  [[nodiscard]] double FractionRead() const noexcept;

 private:
  [[noreturn]] void Fail(const char* what) const;
  void ReadPeaks(std::size_t count, std::vector<Peak>& peaks);
  void QueueMs1(const ScanTableEntry& entry, std::vector<Peak>&& peaks);
  void QueueMs2(const ScanTableEntry& entry, std::vector<Peak>&& peaks);
  std::vector<Peak> EmptyPeakList();
  template <class Spectrum>
  bool Take(std::deque<Spectrum>& queue, Spectrum& scan);

  ReadAhead m_bytes{Stream()};
  ScanTable m_table;
  bool m_at_end = false;
  std::deque<MS1Spectrum> m_ms1;
  std::deque<MS2Spectrum> m_ms2;
  std::vector<std::vector<Peak>> m_spare_peak_lists;  // kept for their capacity
};

}  // namespace tarvek
