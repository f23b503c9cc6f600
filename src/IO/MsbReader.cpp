#include "MsbReader.h"

#include <limits>
#include <string_view>
#include <utility>

#include "Check.h"
#include "LittleEndian.h"
#include "ShownText.h"

namespace tarvek {
namespace {

constexpr std::size_t kRecordHeadBytes = 8;

}  // namespace

MsbReader::MsbReader(const std::string& base_path, NoticeTaker notice)
    : SpectrumReader(base_path + ".msb", "rb", "MSB", notice),
      m_table(LoadScanTable(base_path + ".mscsv", notice)) {}

void MsbReader::Fail(const char* what) const { throw FileFault(Path(), what); }

bool MsbReader::ReadNext() {
  if (m_at_end) return false;
  CountRecord();  // also at the end of the data: the log has always shown one too many
  const std::string_view head = m_bytes.Take(kRecordHeadBytes);
  if (head.size() < kRecordHeadBytes) {
    m_at_end = true;
    return false;
  }
  const std::int32_t scan_no = Int32At(head.data());
  const std::int32_t peak_count = Int32At(head.data() + 4);
  if (peak_count < 0 || peak_count > kMaxMsbPeaks) Fail("The peak num is too large!");
  std::vector<Peak> peaks = EmptyPeakList();
  ReadPeaks(static_cast<std::size_t>(peak_count), peaks);
  const ScanTableEntry* const entry = m_table.Find(scan_no);
  TARVEK_CHECK(entry != nullptr && entry->m_scan_no == scan_no, "ans.m_scan_no == scanNo",
               "MsbReader");
  if (peak_count != entry->m_peak_num) Fail("The peak num is not equal!");
  if (entry->m_precursor_scan != kNoPrecursorScan)
    QueueMs2(*entry, std::move(peaks));
  else
    QueueMs1(*entry, std::move(peaks));
  return true;
}

// All m/z come first, then all intensities. Peaks that do not ascend in m/z are sorted.
void MsbReader::ReadPeaks(std::size_t count, std::vector<Peak>& peaks) {
  const std::string_view arrays = m_bytes.Take(2 * sizeof(double) * count);
  if (arrays.size() < 2 * sizeof(double) * count)
    Fail("The MSB terminated unexpectly!");  // frozen, see docs/frozen-names.md
  const char* const mz = arrays.data();
  const char* const intensity = arrays.data() + sizeof(double) * count;
  peaks.resize(count);
  bool ascends = true;
  double previous_mz = -std::numeric_limits<double>::infinity();
  for (std::size_t i = 0; i < count; ++i) {
    peaks[i] = {RealAt(mz + sizeof(double) * i), RealAt(intensity + sizeof(double) * i)};
    ascends = ascends && previous_mz <= peaks[i].m_mz;
    previous_mz = peaks[i].m_mz;
  }
  if (!ascends) SortByMz(peaks);
}

void MsbReader::QueueMs1(const ScanTableEntry& entry, std::vector<Peak>&& peaks) {
  m_ms1.push_back({entry.m_scan_no, entry.m_rt, entry.m_ion_injection_time, entry.m_instrument_type,
                   std::move(peaks)});
}

void MsbReader::QueueMs2(const ScanTableEntry& entry, std::vector<Peak>&& peaks) {
  const Precursor declared{entry.m_mono_mz, entry.m_lower_charge};
  m_ms2.push_back({entry.m_scan_no,
                   entry.m_precursor_scan,
                   entry.m_activation_center,
                   entry.m_rt,
                   entry.m_ion_injection_time,
                   entry.m_activation_type,
                   entry.m_instrument_type,
                   {declared},
                   {declared},
                   std::move(peaks)});
}

std::vector<Peak> MsbReader::EmptyPeakList() {
  if (m_spare_peak_lists.empty()) return {};
  std::vector<Peak> peaks = std::move(m_spare_peak_lists.back());
  m_spare_peak_lists.pop_back();
  return peaks;
}

template <class Spectrum>
bool MsbReader::Take(std::deque<Spectrum>& queue, Spectrum& scan) {
  while (queue.empty())
    if (!ReadNext()) return false;
  if (scan.m_peaks.capacity() > 0) m_spare_peak_lists.push_back(std::move(scan.m_peaks));
  scan = std::move(queue.front());
  queue.pop_front();
  return true;
}

bool MsbReader::TakeMs1(MS1Spectrum& scan) { return Take(m_ms1, scan); }

bool MsbReader::TakeMs2(MS2Spectrum& scan) { return Take(m_ms2, scan); }

double MsbReader::FractionRead() const noexcept {
  return SizeBytes() <= 0
             ? 0.0
             : static_cast<double>(m_bytes.ConsumedBytes()) / static_cast<double>(SizeBytes());
}

}  // namespace tarvek
