#include "MgfWriter.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <utility>

#include "MgfText.h"
#include "NumberText.h"
#include "PeakLineFormat.h"

namespace tarvek {
namespace {

constexpr int kRetentionTimeDecimals = 7;
constexpr int kMzDecimals = 6;

}  // namespace

MgfWriter::MgfWriter(const std::string& path, std::string_view mode, std::string title)
    : SpectrumWriter(path, mode, "MGF"), m_title(std::move(title)) {}

void MgfWriter::WriteMs2(const MS2Spectrum& scan) {
  CountRecord();
  if (scan.m_precursors.empty()) return;
  // The same for every precursor, and by far the largest part of a block.
  m_peak_lines.clear();
  AppendPeakLines(m_peak_lines, scan.m_peaks);
  for (std::size_t i = 0; i < scan.m_precursors.size(); ++i) {
    m_block_start.clear();
    AppendBlockStart(scan, i);
    Stream().Write(m_block_start);
    Stream().Write(m_peak_lines);
    Stream().Write(kMgfEnd);
    Stream().Write("\n");
  }
}

// The lines before the peaks. A negative ion shows its sign in the TITLE and after CHARGE only.
void MgfWriter::AppendBlockStart(const MS2Spectrum& scan, std::size_t precursor_index) {
  const Precursor& precursor = scan.m_precursors[precursor_index];
  const std::int64_t charge = precursor.m_charge;
  std::string& text = m_block_start;
  text.append(kMgfBegin).push_back('\n');
  AppendMgfTitle(text, {m_title, scan.m_scan_no, precursor.m_charge,
                        static_cast<std::int32_t>(precursor_index)});
  text.append(kMgfCharge);
  AppendInteger(text, std::abs(charge));
  text.append(charge < 0 ? "-\n" : "+\n").append(kMgfTime);
  AppendFixed(text, scan.m_rt, kRetentionTimeDecimals);
  text.append("\n").append(kMgfPepmass);
  AppendFixed(text, std::fabs(precursor.m_mz), kMzDecimals);
  text.push_back('\n');
}

}  // namespace tarvek
