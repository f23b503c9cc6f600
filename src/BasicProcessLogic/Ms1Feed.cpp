#include "Ms1Feed.h"

#include <algorithm>
#include <string>

#include "Check.h"
#include "Logger.h"
#include "NumberText.h"

namespace tarvek {
namespace {

// The scan at this place from the back shows whether the store has five scans beyond the precursor
// scan.
constexpr std::size_t kLookAheadPlace = 6;
constexpr std::size_t kMinScansToAdvance = 11;

// Counted from the back of the store.
constexpr std::size_t kNeverPacked = 4 * kWindowScans;

// Empties a list and frees its memory, which assigning {} does not.
void Release(std::vector<Peak>& peaks) { std::vector<Peak>().swap(peaks); }

std::size_t BytesOf(const MS1Spectrum& scan) { return scan.m_peaks.size() * sizeof(Peak); }

}  // namespace

void ReportProgress(const char* message, std::int64_t count, std::int64_t step) {
  if (count <= 0 || count % step != 0) return;
  std::string text = message;
  AppendInteger(text, count);
  logInfo(text);
}

Ms1Feed::Ms1Feed(SpectrumSource& source, PfWriter* pf1, std::size_t capacity, PeakDigits digits,
                 std::size_t max_bytes)
    : m_source(&source), m_pf1(pf1), m_store(capacity), m_digits(digits), m_max_bytes(max_bytes) {}

void Ms1Feed::AdvanceTo(std::int32_t precursor_scan) {
  while (m_store.size() >= kMinScansToAdvance &&
         m_store[m_store.size() - kLookAheadPlace].m_scan_no < precursor_scan) {
    if (!readNextMs1()) break;
  }
  UnpackAround(precursor_scan);
}

void Ms1Feed::Drain() {
  while (readNextMs1()) {
  }
}

// At the end of the input each call drops one scan from the store and returns false.
bool Ms1Feed::readNextMs1() {
  if (!m_source->NextMs1(m_current)) {
    if (!m_store.empty()) DropOldest();
    return false;
  }
  ++m_read_count;
  if (m_pf1 != nullptr) m_pf1->WriteMs1(m_current);
  if (m_source->IsHighResolution(m_current)) Keep(m_current);
  ReportProgress("Extracting MS1, Scan Num = ", m_source->ReportedMs1Count());
  return true;
}

// The copy has room for its peaks only; the reader's record keeps its capacity for the next scan.
void Ms1Feed::Keep(const MS1Spectrum& scan) {
  TARVEK_CHECK(!m_store.empty(), "ms1Store.size() > 0", "BasicProcessLogic");
  DropOldest();
  m_store.push_back(scan);
  m_bytes += BytesOf(scan);
  PackOldest();
}

void Ms1Feed::DropOldest() {
  PackAgain();
  m_bytes -= BytesOf(m_store.front());
  m_store.pop_front();
  if (!m_packed.empty()) m_packed.pop_front();
}

void Ms1Feed::PackOldest() {
  while (m_bytes > m_max_bytes && m_packed.size() + kNeverPacked < m_store.size()) {
    MS1Spectrum& scan = m_store[m_packed.size()];
    PackedPeaks& packed = m_packed.emplace_back();
    if (scan.m_peaks.empty() || !packed.Pack(scan.m_peaks, m_digits)) continue;
    m_bytes -= BytesOf(scan);
    Release(scan.m_peaks);
  }
}

void Ms1Feed::UnpackAround(std::int32_t scan_no) {
  PackAgain();
  if (m_packed.empty()) return;
  const auto found = std::ranges::lower_bound(m_store, scan_no, {}, &MS1Spectrum::m_scan_no);
  const auto place = static_cast<std::size_t>(found - m_store.begin());
  const std::size_t end = std::min(place + kWindowScans, m_packed.size());
  for (std::size_t i = place - std::min(place, kWindowScans); i < end; ++i) {
    if (m_packed[i].IsEmpty()) continue;
    m_packed[i].Unpack(m_store[i].m_peaks);
    m_opened.push_back(i);
  }
}

void Ms1Feed::PackAgain() {
  for (const std::size_t i : m_opened) Release(m_store[i].m_peaks);
  m_opened.clear();
}

}  // namespace tarvek
