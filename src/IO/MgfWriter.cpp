#include "MgfWriter.h"

#include <cmath>
#include <cstdlib>
#include <utility>

#include "MgfText.h"
#include "NumberText.h"

namespace tarvek {
namespace {

constexpr int kRetentionTimeDecimals = 7;
constexpr int kMzDecimals = 6;

}  // namespace

MgfWriter::MgfWriter(const std::string& path, std::string_view mode, std::string title,
                     PeakDigits digits, NoticeTaker notice, Naming naming)
    : SpectrumWriter(path, mode, "MGF", notice, naming),
      m_title(std::move(title)),
      m_digits(digits) {}

void MgfWriter::WriteMs2(const MS2Spectrum& scan) {
  CountRecord();
  if (scan.m_precursors.empty()) return;
  // Equal for every precursor, and by far the largest part of a block.
  m_peak_lines.clear();
  if (scan.m_peak_lines.empty()) AppendPeakLines(m_peak_lines, scan.m_peaks, m_digits);
  const std::string& peak_lines = scan.m_peak_lines.empty() ? m_peak_lines : scan.m_peak_lines;
  for (std::size_t i = 0; i < scan.m_precursors.size(); ++i) {
    m_block_start.clear();
    AppendMgfStart(m_block_start, {.m_title = m_title,
                                   .m_scan_no = scan.m_scan_no,
                                   .m_index = i,
                                   .m_precursor = scan.m_precursors[i],
                                   .m_rt = scan.m_rt});
    Stream().Write(m_block_start);
    Stream().Write(peak_lines);
    Stream().Write(kMgfBlockEnd);
  }
}

// A negative ion shows its sign in the TITLE and after CHARGE only.
void AppendMgfStart(std::string& text, const MgfBlockStart& start) {
  const std::int64_t charge = start.m_precursor.m_charge;
  text.append(MgfBeginning(MgfToken::kBegin)).push_back('\n');
  AppendMgfTitle(text, {start.m_title, start.m_scan_no, start.m_precursor.m_charge,
                        static_cast<std::int32_t>(start.m_index)});
  if (start.m_has_charge) {
    text.append(MgfBeginning(MgfToken::kCharge));
    AppendInteger(text, std::abs(charge));
    text.append(charge < 0 ? "-\n" : "+\n");
  }
  text.append(MgfBeginning(MgfToken::kTime));
  AppendFixed(text, start.m_rt, kRetentionTimeDecimals);
  text.append("\n").append(MgfBeginning(MgfToken::kPepmass));
  AppendFixed(text, std::fabs(start.m_precursor.m_mz), kMzDecimals);
  text.push_back('\n');
}

}  // namespace tarvek
