#include "report/Files.h"

#include <algorithm>
#include <cmath>
#include <string_view>

#include "Charge.h"
#include "EvidenceTable.h"
#include "FileUtils.h"
#include "InputFormats.h"
#include "MgfText.h"
#include "MsTextReader.h"
#include "NumberText.h"
#include "PrecursorTable.h"
#include "PrecursorTableReader.h"
#include "RunDriver.h"
#include "ScanTable.h"
#include "StringUtils.h"
#include "TableReader.h"
#include "outputs/OutputNames.h"
#include "outputs/RunOutcome.h"

namespace tarvek::tools {
namespace {

std::string IfThere(std::string path) { return IsThere(path) ? std::move(path) : std::string(); }

// The files "BASE_<activation><analyser>" + ending. Each name is tried: a listing cannot tell the
// files of the run "a_b" from those of the run "a".
std::vector<std::string> KeyedFiles(const std::string& base_path, std::string_view ending) {
  std::vector<std::string> paths;
  for (const std::string_view activation : kActivationTypes)
    for (const std::string_view analyser : kInstrumentTypes) {
      std::string path = base_path + "_";
      path.append(activation).append(analyser).append(ending);
      if (IsThere(path)) paths.push_back(std::move(path));
    }
  return paths;
}

Precursor WithoutSigns(const Precursor& precursor) {
  return {std::fabs(precursor.m_mz), ChargeWithoutSign(precursor.m_charge)};
}

ReportRow WithoutSigns(const PrecursorRow& read) {
  ReportRow row;
  row.m_kind = read.m_activation + " " + read.m_analyser;
  row.m_scan_no = read.m_scan_no;
  // "-1.000000, -1" says that nothing was declared; the m/z of a declared ion has no sign.
  if (read.m_declared.m_mz > 0.0) row.m_declared = WithoutSigns(read.m_declared);
  for (const Precursor& precursor : read.m_determined)
    row.m_determined.push_back(WithoutSigns(precursor));
  return row;
}

// The .mscsv table of an input; its name may end in the format that it was extracted from. Empty
// without one.
std::string ScanTableOf(const std::string& input) {
  constexpr std::string_view kEnding = ".mscsv";
  if (IsThere(input + std::string(kEnding))) return input + std::string(kEnding);
  for (const std::string_view format : kInstrumentFormats) {
    std::string path = input + '.';
    path.append(format).append(kEnding);
    if (IsThere(path)) return path;
  }
  return {};
}

// The instrument file of an input; empty without one that can be read here.
std::string InstrumentFileOf(const std::string& input) {
  for (const char* ending : {".mzML", ".mzXML", ".mzML.gz", ".mzXML.gz"})
    if (IsThere(input + ending)) return input + ending;
  return {};
}

// The scans without a charge in the first "Z" line, ascending. The reader of these files returns 2
// for them, so that they cannot be told from scans with charge 2.
std::vector<std::int32_t> ScansWithoutCharge(const std::string& ms2_path) {
  std::vector<std::int32_t> scans;
  TextLines lines(ms2_path);
  std::int32_t scan_no = 0;
  bool is_first = false;
  for (std::string line; lines.Next(line);) {
    if (line.starts_with('S')) {
      const std::int32_t next = ParseInteger(TokenAt(line, '\t', 1));
      is_first = is_first || next != scan_no;
      scan_no = next;
    } else if (line.starts_with('Z') && is_first) {
      is_first = false;
      if (ParseInteger(TokenAt(line, '\t', 1)) < 1) scans.push_back(scan_no);
    }
  }
  std::ranges::sort(scans);
  return scans;
}

// Those that can be exported unchanged.
std::vector<Precursor> UsableOf(const std::vector<Precursor>& declared) {
  std::vector<Precursor> usable;
  for (const Precursor& precursor : declared)
    if (IsUsable(precursor)) usable.push_back(WithoutSigns(precursor));
  return usable;
}

void SortByScan(std::vector<InputScan>& scans) {
  std::ranges::stable_sort(scans, {}, &InputScan::m_scan_no);
}

}  // namespace

RunFiles FindRunFiles(const std::string& base_path, const std::string& input_folder) {
  const std::string base = base_path.ends_with(kTableEnding)
                               ? base_path.substr(0, base_path.size() - kTableEnding.size())
                               : base_path;
  RunFiles files;
  files.m_name = FileNameOf(base);
  files.m_table = base + std::string(kTableEnding);
  if (!IsThere(files.m_table))
    throw files.m_table + " is not there" +
        (IsUnfinishedRun(base) ? ": the run did not finish, its table still ends in _unfinished."
                               : ".");
  const std::string inputs = input_folder.empty() ? FolderOf(base) : input_folder;
  const std::string input = JoinPath({inputs, files.m_name});
  files.m_pf1 = IfThere(base + ".pf1");
  files.m_pf2 = KeyedFiles(base, ".pf2");
  files.m_mgf = KeyedFiles(base, ".mgf");
  files.m_ms1 = IfThere(input + ".ms1");
  files.m_ms2 = IfThere(input + ".ms2");
  files.m_scan_table = ScanTableOf(input);
  files.m_record = IfThere(base + std::string(kRunRecordEnding));
  files.m_evidence = IfThere(base + kEvidenceEnding);
  files.m_marker = IfThere(input + ".morvex");
  files.m_instrument = InstrumentFileOf(input);
  return files;
}

std::vector<ReportRow> ReadReportRows(const std::string& path) {
  PrecursorTableReader reader(path);
  if (!reader.HasHeader()) throw path + " is not a precursor table of tarvek.";
  std::vector<ReportRow> rows;
  for (PrecursorRow row; reader.Next(row);) rows.push_back(WithoutSigns(row));
  return rows;
}

std::vector<InputScan> ReadTextInput(const std::string& ms2_path) {
  const std::vector<std::int32_t> without_charge = ScansWithoutCharge(ms2_path);
  Ms2TextReader reader(ms2_path, "r");
  std::vector<InputScan> scans;
  for (MS2Spectrum scan; reader.ReadNext(scan);)
    scans.push_back({scan.m_scan_no, scan.m_precursor_scan, scan.m_activation_center, scan.m_rt,
                     scan.m_activation_type, scan.m_instrument_type,
                     UsableOf(scan.m_orig_precursors),
                     !std::ranges::binary_search(without_charge, scan.m_scan_no)});
  SortByScan(scans);
  return scans;
}

std::vector<InputScan> ReadTableInput(const std::string& mscsv_path) {
  const ScanTable table = LoadScanTable(mscsv_path);
  std::vector<InputScan> scans;
  for (const ScanTableEntry& entry : table.Rows()) {
    if (entry.m_scan_no == 0 || entry.m_precursor_scan == -1) continue;
    scans.push_back({entry.m_scan_no, entry.m_precursor_scan, entry.m_activation_center, entry.m_rt,
                     entry.m_activation_type, entry.m_instrument_type,
                     UsableOf({{entry.m_mono_mz, entry.m_lower_charge}}), true});
  }
  return scans;
}

void AppendMgfTimes(const std::string& path, std::vector<ScanTime>& times) {
  TextLines lines(path);
  std::int32_t scan_no = 0;
  bool is_titled = false;
  for (std::string line; lines.Next(line);) {
    const auto [token, text] = ReadMgfLine(line);
    if (token == MgfToken::kTitle) {
      const auto title = ParseMgfTitle(text);
      if (!title) lines.Fail("no scan number in the title.");
      scan_no = title->m_scan_no;
      is_titled = true;
    } else if (is_titled && token == MgfToken::kTime) {
      if (times.empty() || times.back().first != scan_no)
        times.emplace_back(scan_no, lines.Real(text));
      is_titled = false;
    }
  }
}

}  // namespace tarvek::tools
