#include "Ms1Feed.h"

#include <string>

#include "Check.h"
#include "Logger.h"
#include "NumberText.h"

namespace tarvek {
namespace {

// The scan at this place from the back tells whether five scans beyond the precursor scan are
// there.
constexpr std::size_t kLookAheadPlace = 6;
constexpr std::size_t kMinScansToAdvance = 11;

}  // namespace

void ReportProgress(const char* message, std::int64_t count, std::int64_t step) {
  if (count <= 0 || count % step != 0) return;
  std::string text = message;
  AppendInteger(text, count);
  logInfo(text);
}

Ms1Feed::Ms1Feed(SpectrumSource& source, PfWriter* pf1, std::size_t capacity)
    : m_source(&source), m_pf1(pf1), m_store(capacity) {}

void Ms1Feed::AdvanceTo(std::int32_t precursor_scan) {
  while (m_store.size() >= kMinScansToAdvance &&
         m_store[m_store.size() - kLookAheadPlace].m_scan_no < precursor_scan) {
    if (!readNextMs1()) break;
  }
}

void Ms1Feed::Drain() {
  while (readNextMs1()) {
  }
}

// At the end of the input each call takes one scan out of the store and returns false.
bool Ms1Feed::readNextMs1() {
  if (!m_source->NextMs1(m_current)) {
    if (!m_store.empty()) m_store.pop_front();
    return false;
  }
  ++m_read_count;
  if (m_pf1 != nullptr) m_pf1->WriteMs1(m_current);
  if (m_source->IsHighResolution(m_current)) Keep(m_current);
  ReportProgress("Extracting MS1, Scan Num = ", m_source->ReportedMs1Count());
  return true;
}

// The copy holds just its peaks, while the reader's record keeps its capacity for the next scan.
void Ms1Feed::Keep(const MS1Spectrum& scan) {
  TARVEK_CHECK(!m_store.empty(), "ms1Store.size() > 0", "BasicProcessLogic");
  m_store.pop_front();
  m_store.push_back(scan);
}

}  // namespace tarvek
