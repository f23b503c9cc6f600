// A pair of .ms1 and .ms2 files is read twice: line by line for what the reader silently skips, and
// through that reader for what a run would get.
#include <algorithm>
#include <array>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "FileUtils.h"
#include "MsTextLook.h"
#include "MsTextReader.h"
#include "NumberText.h"
#include "StringUtils.h"
#include "TableReader.h"
#include "check/Account.h"
#include "check/Inputs.h"

namespace tarvek::tools {
namespace {

constexpr const char* kStartFromMzml =
    "Start from the mzML or raw file: tarvek extracts it in its own form.";

/// What the lines of one file say, before the reader.
struct TextLook {
  std::string m_extractor;            // of the header, empty without
  std::set<std::string> m_keys;       // of the "I" lines
  std::vector<std::int32_t> m_scans;  // their numbers; repeats in a row count once
  std::int64_t m_bad_peaks = 0;       // without a blank between m/z and intensity
  std::int64_t m_first_bad_line = 0;
  std::int64_t m_commas = 0;  // peak lines with a decimal comma
  std::int64_t m_first_comma_line = 0;
  std::unordered_set<std::int32_t> m_without_charge;  // scans without one in the first "Z" line
  bool m_ends_in_line = false;
  bool m_is_empty = true;
};

/// Reads the lines and keeps what is needed of the current block.
class TextLooker {
 public:
  TextLook Look(const std::string& path) {
    TextLines lines(path);
    for (std::string line; lines.Next(line);) Take(line, lines.Number());
    m_look.m_ends_in_line = !lines.IsComplete();
    return m_look;
  }

 private:
  void Take(std::string_view line, std::int64_t number) {
    m_look.m_is_empty = false;
    if (line.empty()) return;
    const char kind = line.front();
    if (IsDigit(kind)) TakePeak(line, number);
    if (kind == 'S') TakeScan(ParseInteger(TokenAt(line, '\t', 1)));
    if (kind == 'I') m_look.m_keys.emplace(TokenAt(line, '\t', 1));
    if (kind == 'H' && TokenAt(line, '\t', 1) == "Extractor")
      m_look.m_extractor = Trim(TokenAt(line, '\t', 2));
    if (kind == 'Z') TakeCharge(ParseInteger(TokenAt(line, '\t', 1)));
  }

  void TakePeak(std::string_view line, std::int64_t number) {
    if (line.find(' ') == std::string_view::npos && m_look.m_bad_peaks++ == 0)
      m_look.m_first_bad_line = number;
    if (line.find(',') != std::string_view::npos && m_look.m_commas++ == 0)
      m_look.m_first_comma_line = number;
  }

  void TakeScan(std::int32_t scan_no) {
    if (!m_look.m_scans.empty() && m_look.m_scans.back() == scan_no) return;
    m_look.m_scans.push_back(scan_no);
    m_has_charge_line = false;
  }

  void TakeCharge(std::int32_t charge) {
    if (charge < 1 && !m_has_charge_line && !m_look.m_scans.empty())
      m_look.m_without_charge.insert(m_look.m_scans.back());
    m_has_charge_line = true;
  }

  TextLook m_look;
  bool m_has_charge_line = false;  // of the present scan
};

template <std::size_t Count>
std::string MissingKeys(const TextLook& look, const std::array<const char*, Count>& keys) {
  std::string missing;
  for (const char* key : keys)
    if (!look.m_keys.contains(key)) missing += (missing.empty() ? "" : ", ") + std::string(key);
  return missing;
}

// Converters for other programs write RTime in minutes and none of the attributes needed here.
void ReportForeign(CheckReport& report, const std::string& path, const TextLook& look,
                   const std::string& missing) {
  if (look.m_scans.empty()) return;
  const std::string by = look.m_extractor.empty() ? "" : " by " + look.m_extractor;
  if (look.m_keys.contains("RTime"))
    report.Defect("foreign-text", path,
                  "It was written" + by + " for other programs: it has RTime in minutes" +
                      (missing.empty() ? "" : " and no " + missing) + ".",
                  kStartFromMzml);
  else if (!missing.empty())
    report.Defect("missing-attributes", path,
                  "None of its scans has " + missing +
                      ", without which scans are passed over or "
                      "the outputs are incomplete.",
                  kStartFromMzml);
}

void ReportLines(CheckReport& report, const std::string& path, const TextLook& look) {
  if (look.m_bad_peaks > 0)
    report.Defect("peak-separator", path,
                  std::to_string(look.m_bad_peaks) +
                      " peak lines have no blank between m/z and intensity and would be dropped.",
                  kStartFromMzml, {std::nullopt, look.m_first_bad_line});
  if (look.m_commas > 0)
    report.Defect("decimal-comma", path,
                  std::to_string(look.m_commas) +
                      " peak lines have a decimal comma; their numbers would be cut there.",
                  "Write the numbers with a decimal point.",
                  {std::nullopt, look.m_first_comma_line});
  if (look.m_ends_in_line)
    report.Warning("cut-off", path, "Its last line has no end, as if the file were cut off.",
                   "Copy or extract it again if it should be longer.");
}

// That a file is empty is told by the scans that are missing, that it has tabs by its lines.
void ReportOtherContent(CheckReport& report, const std::string& path, bool is_fragments,
                        const TextLook& look) {
  if (look.m_is_empty) return;
  const std::string flaw = FlawOfMsText(path, is_fragments ? MsLevel::kMs2 : MsLevel::kMs1, true);
  if (!flaw.empty())
    report.Defect("other-content", path, "It " + flaw + ".",
                  "Unpack it or write it again as plain text, or start from the mzML or raw file.");
}

/// What the lines of a file say, after its findings.
TextLook LookAtFile(CheckReport& report, const std::string& path, bool is_fragments) {
  const TextLook look = TextLooker().Look(path);
  ReportOtherContent(report, path, is_fragments, look);
  constexpr std::array<const char*, 2> kSurveyKeys = {"RetTime", "InstrumentType"};
  constexpr std::array<const char*, 5> kFragmentKeys = {
      "RetTime", "InstrumentType", "ActivationType", "ActivationCenter", "PrecursorScan"};
  ReportForeign(report, path, look,
                is_fragments ? MissingKeys(look, kFragmentKeys) : MissingKeys(look, kSurveyKeys));
  ReportLines(report, path, look);
  return look;
}

/// Adds to the account the scans that the reader skips because they have no peaks, in order with
/// the others.
class ScansWithoutPeaks {
 public:
  ScansWithoutPeaks(CheckAccount& account, const std::vector<std::int32_t>& scans,
                    bool is_fragments)
      : m_account(&account), m_scans(scans), m_is_fragments(is_fragments) {
    for (const std::int32_t scan : scans) ++m_left[scan];
  }

  void TakeDelivered(std::int32_t scan_no) {
    // A line with a zero byte may hide scans from the look. Those are not searched for each time.
    const auto left = m_left.find(scan_no);
    if (left == m_left.end() || left->second == 0) return;
    const auto place = std::ranges::find(m_scans, scan_no);
    LeaveOutUntil(place);
    --left->second;
    m_scans = {place + 1, m_scans.end()};
  }
  void TakeEnd() { LeaveOutUntil(m_scans.end()); }

 private:
  void LeaveOutUntil(std::span<const std::int32_t>::iterator end) {
    for (auto scan = m_scans.begin(); scan != end; ++scan) {
      --m_left[*scan];
      m_account->LeaveOut(m_is_fragments ? "MS2 scans without peaks" : "MS1 scans without peaks",
                          *scan, m_is_fragments);
    }
  }

  CheckAccount* m_account;
  std::span<const std::int32_t> m_scans;                  // that are still to come
  std::unordered_map<std::int32_t, std::int64_t> m_left;  // how often each is still to come
  bool m_is_fragments;
};

void TakeSurveys(CheckAccount& account, const std::string& path, const TextLook& look) {
  Ms1TextReader reader(path, "r");
  ScansWithoutPeaks without_peaks(account, look.m_scans, false);
  for (MS1Spectrum scan; reader.ReadNext(scan);) {
    without_peaks.TakeDelivered(scan.m_scan_no);
    account.TakeSurvey(scan.m_scan_no, scan.m_instrument_type == "FT", scan.m_rt, scan.m_peaks,
                       scan.m_instrument_type == "IT");
  }
  without_peaks.TakeEnd();
}

void TakeFragments(CheckAccount& account, const std::string& path, const TextLook& look) {
  Ms2TextReader reader(path, "r");
  ScansWithoutPeaks without_peaks(account, look.m_scans, true);
  for (MS2Spectrum scan; reader.ReadNext(scan);) {
    without_peaks.TakeDelivered(scan.m_scan_no);
    FragmentFacts facts = FactsOf(scan);
    // The reader gives 2 where no charge is declared.
    if (look.m_without_charge.contains(scan.m_scan_no)) facts.m_charge = 0;
    account.TakeFragment(facts, scan.m_peaks);
  }
  without_peaks.TakeEnd();
}

}  // namespace

void CheckTextInput(CheckReport& report, const std::string& ms1, const CheckOptions& options) {
  const std::string base_path = ms1.substr(0, ms1.rfind('.'));
  const std::string ms2 = base_path + ".ms2";
  CheckRunName(report, ms1, std::string(FileNameOf(base_path)));
  if (!HasBothHalves(report, ms1, ms2)) return;
  CheckAccount account(ms1, "text pair", {});
  const auto read = [&](const std::string& path, bool is_fragments) {
    return ReadOrReport(report, path, "Check that the file is there and can be read.", [&] {
      const TextLook look = LookAtFile(report, path, is_fragments);
      if (is_fragments)
        TakeFragments(account, path, look);
      else
        TakeSurveys(account, path, look);
    });
  };
  if (read(ms1, false) && read(ms2, true)) account.Report(report, options.m_settings);
}

}  // namespace tarvek::tools
