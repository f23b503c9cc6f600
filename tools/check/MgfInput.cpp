// An MGF input is read twice: line by line for what each block says, and through the reader of a
// run for the scans that it makes of the blocks.
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_set>

#include "MgfReader.h"
#include "MgfText.h"
#include "NumberText.h"
#include "StringUtils.h"
#include "TableReader.h"
#include "check/Inputs.h"

namespace tarvek::tools {
namespace {

constexpr const char* kTitleAdvice = "Write titles of the form run.scan.scan.charge.dta.";

/// Blocks of one kind, and where the first of them is.
struct Blocks {
  std::int64_t m_count = 0;
  std::int64_t m_first_line = 0;

  void Add(std::int64_t line) {
    if (m_count++ == 0) m_first_line = line;
  }
  [[nodiscard]] FindingPlace Place() const { return {std::nullopt, m_first_line}; }
};

/// What the lines of an MGF input say; its reader finds the defects.
struct MgfLook {
  std::int64_t m_blocks = 0;
  std::string m_run;  // of the first title
  bool m_ends_inside = false;
  Blocks m_bad_titles;  // without a scan
  Blocks m_without_charge;
  Blocks m_merged;       // that have the scan number of the block before
  Blocks m_other_peaks;  // of these, with other peaks than that block
  std::map<std::int32_t, std::string> m_why_unusable;  // scans without a usable peak line
};

/// Reads the lines and keeps what is needed of the current block.
class MgfLooker {
 public:
  MgfLook Look(const std::string& path) {
    TextLines lines(path);
    for (std::string line; lines.Next(line);) Take(ReadMgfLine(line), lines.Number());
    return std::move(m_look);
  }

 private:
  struct Block {
    std::optional<std::int32_t> m_scan_no;
    bool m_has_charge = false;
    std::int64_t m_peaks = 0;
    bool m_has_tabs = false;
    std::size_t m_hash = 0;  // of the peak lines
  };

  void Take(const MgfLine& line, std::int64_t number) {
    switch (line.m_token) {
      case MgfToken::kPeak:
        return TakePeak(line.m_text);
      case MgfToken::kBegin:
        m_look.m_ends_inside = true;
        return;
      case MgfToken::kTitle:
        m_look.m_ends_inside = true;
        return TakeTitle(line.m_text, number);
      case MgfToken::kCharge:
        m_block.m_has_charge = ScanMgfCharge(line.m_text).m_value != 0;
        return;
      case MgfToken::kEnd:
        return End(number);
      default:
        return;
    }
  }

  void TakePeak(std::string_view line) {
    ++m_block.m_peaks;
    m_block.m_has_tabs = m_block.m_has_tabs || (line.find('\t') != std::string_view::npos &&
                                                line.find(' ') == std::string_view::npos);
    m_block.m_hash = m_block.m_hash * 31 + std::hash<std::string_view>()(line);
  }

  void TakeTitle(std::string_view text, std::int64_t number) {
    if (m_look.m_run.empty())
      if (const auto title = ParseMgfTitle(text)) m_look.m_run = title->m_run;
    const auto scan_no = ScanMgfScanNumber(text);
    if (scan_no.m_status == NumberStatus::kOk)
      m_block.m_scan_no = scan_no.m_value;
    else
      m_look.m_bad_titles.Add(number);
  }

  void End(std::int64_t number) {
    ++m_look.m_blocks;
    m_look.m_ends_inside = false;
    if (!m_block.m_has_charge) m_look.m_without_charge.Add(number);
    const bool is_merged = m_block.m_scan_no && m_block.m_scan_no == m_before.m_scan_no;
    if (is_merged) {
      m_look.m_merged.Add(number);
      if (m_block.m_hash != m_before.m_hash) m_look.m_other_peaks.Add(number);
    }
    if (m_block.m_scan_no)
      m_look.m_why_unusable.try_emplace(*m_block.m_scan_no, m_block.m_peaks == 0 ? "no peaks"
                                                            : m_block.m_has_tabs
                                                                ? "tabs between m/z and intensity"
                                                                : "peaks without intensity");
    m_before = m_block;
    m_block = {};
  }

  MgfLook m_look;
  Block m_block;
  Block m_before;
};

/// Reads the whole file as a run would, to find whatever would end the run. Subtracts the scans
/// that it gets from the unusable ones.
std::int64_t CountScans(const std::string& path, MgfLook& look) {
  MgfReader reader(path, "r");
  std::int64_t count = 0;
  for (MS2Spectrum scan; reader.ReadNext(scan); ++count) look.m_why_unusable.erase(scan.m_scan_no);
  return count;
}

void ReportTitles(CheckReport& report, const std::string& path, const MgfLook& look) {
  if (look.m_bad_titles.m_count > 0)
    report.Defect("mgf-title", path,
                  ShareText(look.m_bad_titles.m_count, look.m_blocks, "blocks") +
                      " have a title without a scan number.",
                  kTitleAdvice, look.m_bad_titles.Place());
  if (look.m_run.find('.') != std::string::npos)
    report.Warning("dotted-name", path,
                   "The run name '" + look.m_run +
                       "' in its titles has dots, which move the scan number out of the second "
                       "field.",
                   "Write the titles with underscores in place of the dots of the run name.");
}

void ReportMerged(CheckReport& report, const std::string& path, const MgfLook& look) {
  if (look.m_merged.m_count == 0) return;
  const std::string meaning =
      ShareText(look.m_merged.m_count, look.m_blocks, "blocks") +
      " have the scan number of the block before and become one scan with it";
  if (look.m_other_peaks.m_count == 0)
    report.Note("merged-blocks", path, meaning + ", which gets their precursors.",
                "Nothing needs to be done where they are precursors of one scan.",
                look.m_merged.Place());
  else
    report.Warning("merged-blocks", path,
                   meaning + "; " + std::to_string(look.m_other_peaks.m_count) +
                       " of them have peaks of their own, which are lost.",
                   "Give each spectrum a scan number of its own in its title.",
                   look.m_other_peaks.Place());
}

void ReportCharges(CheckReport& report, const std::string& path, const MgfLook& look) {
  if (look.m_without_charge.m_count == 0) return;
  report.Note("no-charge", path,
              ShareText(look.m_without_charge.m_count, look.m_blocks, "blocks") +
                  " declare no charge, for which that of the block before in the same scan or 2 is "
                  "assumed.",
              "Nothing needs to be done, or write CHARGE where it is known.",
              look.m_without_charge.Place());
}

LeftOutScans Unusable(const MgfLook& look) {
  LeftOutScans left_out;
  for (const auto& [scan_no, why] : look.m_why_unusable) {
    LeftOut& scans = left_out[why];
    if (scans.m_count++ == 0) scans.m_first_scan = scan_no;
  }
  return left_out;
}

}  // namespace

void CheckMgfInput(CheckReport& report, const std::string& path) {
  ReadOrReport(report, path, kTitleAdvice, [&] {
    MgfLook look = MgfLooker().Look(path);
    CheckedItem item{path, "MGF input", {{"blocks", "blocks", look.m_blocks}}, {}};
    report.Warning("mgf-input", path,
                   "MGF holds no MS1 scans, so that a run only writes it again as PF2.",
                   "Start from the mzML or raw file to have precursors determined.");
    if (look.m_ends_inside)
      report.Warning("cut-off", path, "It ends inside a block, as if the file were cut off.",
                     "Copy it again if it should be longer.");
    ReportTitles(report, path, look);
    ReportMerged(report, path, look);
    ReportCharges(report, path, look);
    if (look.m_bad_titles.m_count > 0) look.m_why_unusable.clear();  // the reader stops early
    std::optional<std::int64_t> scans;
    const bool is_read =
        ReadOrReport(report, path, kTitleAdvice, [&] { scans = CountScans(path, look); });
    if (scans) item.m_facts.push_back({"scans", "scans with peaks", *scans});
    if (is_read) item.m_left_out = Unusable(look);
    report.AddItem(std::move(item));
    if (scans && *scans == 0)
      report.Defect("no-ms2", path, "It holds no scan with peaks.", "Use another file.");
  });
}

}  // namespace tarvek::tools
