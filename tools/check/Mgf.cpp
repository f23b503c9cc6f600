#include "check/Mgf.h"

#include <optional>
#include <set>
#include <string_view>

#include "MgfText.h"
#include "NumberText.h"
#include "TableReader.h"

namespace tarvek::tools {
namespace {

class MgfLooker {
 public:
  MgfLooker(CheckReport& report, const std::string& path) : m_report(&report), m_path(path) {}

  MgfContent Look() {
    TextLines lines(m_path);
    for (std::string line; lines.Next(line);) {
      m_line = lines.Number();
      Take(ReadMgfLine(line));
    }
    if (m_in_block)
      Defect("mgf-end", "The file ends inside the block that begins in line " +
                            std::to_string(m_block.m_line) + ".");
    if (m_begins != m_ends)
      Defect("mgf-balance", std::to_string(m_begins) + " BEGIN IONS stand against " +
                                std::to_string(m_ends) + " END IONS.");
    return std::move(m_content);
  }

 private:
  void Take(const MgfLine& line) {
    if (line.m_token == MgfToken::kBegin) return Begin();
    if (line.m_token == MgfToken::kEnd) return End();
    if (!m_in_block) return;
    if (line.m_token == MgfToken::kPeak) ++m_peaks;
    if (line.m_token == MgfToken::kTitle) TakeTitle(line.m_text);
    if (line.m_token == MgfToken::kPepmass) m_block.m_precursor.m_mz = ParseReal(line.m_text);
    if (line.m_token == MgfToken::kCharge)
      m_block.m_precursor.m_charge = ScanMgfCharge(line.m_text).m_value;
  }

  void Begin() {
    ++m_begins;
    if (m_in_block) Defect("mgf-end", "A block begins inside another, whose END IONS is missing.");
    m_in_block = true;
    m_has_title = false;
    m_peaks = 0;
    m_block = {};
    m_block.m_line = m_line;
  }

  void End() {
    ++m_ends;
    if (!m_in_block) Defect("mgf-begin", "A block ends that has no BEGIN IONS.");
    m_in_block = false;
    if (!m_has_title) Defect("mgf-title", "A block has no title of the form run.scan.scan.charge.");
    if (m_block.m_precursor.m_mz <= 0.0) Defect("mgf-pepmass", "A block has no PEPMASS.");
    if (m_peaks == 0) Defect("mgf-peaks", "A block has no peaks.");
    m_content.m_blocks.push_back(m_block);
  }

  void TakeTitle(std::string_view text) {
    const auto title = ParseMgfTitle(text);
    if (!title) return;
    m_has_title = true;
    m_block.m_scan_no = title->m_scan_no;
    if (m_content.m_blocks.empty()) m_content.m_run_name = title->m_run;
  }

  // One finding of each kind; the others of a damaged file say the same.
  void Defect(const std::string& code, const std::string& meaning) {
    m_content.m_is_whole = false;
    if (!m_reported.insert(code).second) return;
    m_report->Defect(code, m_path, meaning, kRunOrAskAgain, {std::nullopt, m_line});
  }

  CheckReport* m_report;
  std::string m_path;
  MgfContent m_content;
  std::set<std::string> m_reported;
  CheckedBlock m_block;
  bool m_in_block = false;
  bool m_has_title = false;
  std::int64_t m_peaks = 0;
  std::int64_t m_begins = 0;
  std::int64_t m_ends = 0;
  std::int64_t m_line = 0;
};

}  // namespace

MgfContent CheckMgf(CheckReport& report, const std::string& path) {
  return MgfLooker(report, path).Look();
}

}  // namespace tarvek::tools
