#include "report/Data.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <utility>

#include "EvidenceTable.h"
#include "FileUtils.h"
#include "MsTextReader.h"
#include "NumberText.h"
#include "PfReader.h"
#include "Platform.h"
#include "outputs/DeclaredWidth.h"
#include "report/Content.h"
#include "report/LeftOut.h"
#include "report/Purity.h"

namespace tarvek::tools {
namespace {

// The precursor table has six decimals, so its m/z differs from that of the input by up to half of
// the last one.
constexpr double kTableRounding = 7.5e-7;
constexpr std::array<int, kShifts> kShiftOrder = {0, -1, 1, -2, 2, -3, 3};
// Isotopes of another charge are so dense that one is near any m/z by chance.
constexpr std::array<int, 1> kNoShift = {0};

// Charges that are all 2 are taken for placeholders when this share of the scans, or more, have a best
// precursor of another charge; fewer scans do not decide.
constexpr double kOtherCharges = 0.1;
constexpr std::int64_t kScansForPlaceholders = 20;

bool IsSameInTable(const Precursor& a, const Precursor& b) {
  return a.m_charge == b.m_charge && std::fabs(a.m_mz - b.m_mz) < kTableRounding;
}

std::optional<DeclaredMatch> MatchWhere(const Precursor& declared,
                                        std::span<const Precursor> determined, double tol_ppm,
                                        bool same_charge, std::span<const int> shifts) {
  for (const int shift : shifts)
    for (std::size_t i = 0; i < determined.size(); ++i) {
      const Precursor& found = determined[i];
      if (found.m_charge == 0 || (found.m_charge == declared.m_charge) != same_charge) continue;
      const double expected_mz = IsotopeMz(declared.m_mz, shift, found.m_charge);
      if (WithinPpm(found.m_mz, expected_mz, tol_ppm)) return DeclaredMatch{i, shift};
    }
  return std::nullopt;
}

std::optional<JointFigures> JointFiguresOf(const RunFiles& files,
                                           const std::optional<RunRecord>& record) {
  if (!record || files.m_evidence.empty()) return std::nullopt;
  JointFigures figures;
  figures.m_decoy_scans = record->Count(kCountDecoyScans).value_or(0);
  figures.m_decoys = record->Count(kCountDecoys).value_or(0);
  EvidenceReader evidence(files.m_evidence);
  for (EvidenceRow row; evidence.Next(row); ++figures.m_precursors)
    figures.m_doubts += 1.0 - row.m_evidence.m_probability;
  return figures;
}

std::int64_t SizeOf(const std::string& path) {
  const std::optional<FileStamp> stamp = StampAt(path);
  if (!stamp) throw "Cannot tell the size of " + path;
  return stamp->m_bytes;
}

/// Builds a report step by step; each step fills in its part.
class ReportBuilder {
 public:
  ReportBuilder(const RunFiles& files, const ReportSettings& settings)
      : m_files(files), m_settings(settings), m_content(files) {
    m_report.m_name = files.m_name;
    m_report.m_tol_ppm = settings.m_tol_ppm;
    m_report.m_calibration = m_content.Correction();
    m_report.m_joint = JointFiguresOf(files, m_content.Record());
    m_report.m_scans = std::ssize(m_content.Rows());
  }

  RunReport Build() {
    ChooseWidth();
    FindDeclaredWidth();
    m_has_placeholders = LooksLikePlaceholders();
    for (const ReportRow& row : m_content.Rows()) CountRow(row);
    ReadSurveys();
    ReadFragments();
    FindTimes();
    MeasurePpm();
    CountLeftOut(m_content, m_times, HasSurveys(), m_report);
    ListSources();
    TakeRecord();
    ListOutputs();
    return std::move(m_report);
  }

 private:
  void TakeRecord() {
    if (!m_content.Record()) return;
    m_report.m_settings = m_content.Record()->m_settings;
    m_report.m_declared_widths = m_content.Record()->m_widths;
  }

  void ListOutputs() {
    std::vector<std::string> paths = {m_files.m_table, m_files.m_evidence, m_files.m_record,
                                      m_files.m_pf1};
    paths.insert(paths.end(), m_files.m_pf2.begin(), m_files.m_pf2.end());
    paths.insert(paths.end(), m_files.m_mgf.begin(), m_files.m_mgf.end());
    for (const std::string& path : paths)
      if (!path.empty())
        m_report.m_outputs.push_back(
            {std::string(FileNameOf(path)), SizeOf(path)});
  }

  void ChooseWidth() {
    m_report.m_knows_width = true;
    if (m_settings.m_isolation_width) {
      m_report.m_isolation_width = *m_settings.m_isolation_width;
      m_report.m_width_source = "as given on the command line";
    } else if (const auto width = RecordedWidth()) {
      m_report.m_isolation_width = *width;
      m_report.m_width_source = "as the record says";
    } else {
      m_report.m_knows_width = false;
      m_report.m_width_source = "not known, so tarvek's default";
    }
  }

  [[nodiscard]] std::optional<double> RecordedWidth() const {
    if (!m_content.Record()) return std::nullopt;
    const auto& settings = m_content.Record()->m_settings;
    const auto setting = settings.find("isolation_width");
    if (setting == settings.end()) return std::nullopt;
    const auto width = ScanReal(setting->second);
    if (width.m_status != NumberStatus::kOk || !(width.m_value > 0.0))
      throw m_files.m_record + ": the isolation_width '" + setting->second + "' is no width.";
    return width.m_value;
  }

  void FindDeclaredWidth() {
    if (m_content.Record()) TakeDeclared(m_content.Record()->CommonestWidth(), m_files.m_record);
    if (!m_report.m_declared_width && !m_files.m_marker.empty())
      TakeDeclared(ReadRunRecord(m_files.m_marker).CommonestWidth(), m_files.m_marker);
    if (!m_report.m_declared_width && !m_files.m_instrument.empty())
      TakeDeclared(DeclaredWidthOf(m_files.m_instrument), m_files.m_instrument);
  }

  void TakeDeclared(std::optional<double> width, const std::string& path) {
    m_report.m_declared_width = width;
    if (width) m_report.m_declared_width_source = FileNameOf(path);
  }

  // Where the charge is not declared, the table says 2. The input shows these scans; without it
  // they are assumed when the table says only 2 and many precursors have another charge.
  [[nodiscard]] bool LooksLikePlaceholders() const {
    if (m_content.HasInput()) return false;
    std::int64_t judged = 0;
    std::int64_t others = 0;
    for (const ReportRow& row : m_content.Rows()) {
      if (row.m_declared.m_charge == 0) continue;
      if (row.m_declared.m_charge != 2) return false;
      if (row.m_determined.empty() || IsKept(row)) continue;
      ++judged;
      if (row.m_determined.front().m_charge != 2) ++others;
    }
    return judged >= kScansForPlaceholders &&
           static_cast<double>(others) >= kOtherCharges * static_cast<double>(judged);
  }

  [[nodiscard]] bool IsWithoutCharge(const ReportRow& row) const {
    if (row.m_declared.m_charge == 0) return false;
    const InputScan* input = m_content.InputOf(row.m_scan_no);
    return input == nullptr ? m_has_placeholders : !input->m_has_charge;
  }

  void CountRow(const ReportRow& row) {
    ++m_report.m_scans_by_kind[row.m_kind];
    m_report.m_precursors += static_cast<std::int64_t>(row.m_determined.size());
    ++m_report.m_by_count.at(std::min(row.m_determined.size(), kPrecursorCounts - 1));
    if (row.m_declared.m_charge == 0 || !IsKept(row))
      for (const Precursor& precursor : row.m_determined)
        ++m_report.m_by_charge[precursor.m_charge];
    if (row.m_declared.m_charge == 0 || IsWithoutCharge(row)) {
      ++m_report.m_undeclared;
      if (row.m_declared.m_charge != 0) ++m_report.m_without_charge;
      return;
    }
    if (IsKept(row)) {
      ++m_report.m_kept;
      return;
    }
    const auto match = MatchDeclared(row.m_declared, row.m_determined, m_settings.m_tol_ppm);
    const int found_charge = match ? row.m_determined[match->m_index].m_charge : 0;
    ++m_report.m_charges[{row.m_declared.m_charge, found_charge}];
    if (match)
      ++m_report.m_by_shift.at(ShiftPlace(match->m_shift));
    else
      ++m_report.m_unmatched;
  }

  // The table has only the first declared precursor; the input shows whether there were others.
  [[nodiscard]] bool IsKept(const ReportRow& row) const {
    const InputScan* input = m_content.InputOf(row.m_scan_no);
    return input == nullptr ? IsKeptAsDeclared(row.m_determined, {&row.m_declared, 1})
                            : IsKeptAsDeclared(row.m_determined, input->m_declared);
  }

  // Without the input, several precursors may be the declared ones if the first one is.
  [[nodiscard]] bool MayBeKept(const ReportRow& row) const {
    return IsKept(row) ||
           (m_content.InputOf(row.m_scan_no) == nullptr && !row.m_determined.empty() &&
            IsSameInTable(row.m_determined.front(), row.m_declared));
  }

  void ReadSurveys() {
    PurityMeter purity(m_content, m_report);
    ForEachSurvey([&](MS1Spectrum& survey) {
      m_report.m_surveys.push_back({survey.m_rt, TotalIntensity(survey.m_peaks)});
      m_survey_times.emplace_back(survey.m_scan_no, survey.m_rt);
      purity.TakeSurvey(survey);
    });
    purity.Finish();
  }

  [[nodiscard]] bool HasSurveys() const { return !m_files.m_pf1.empty() || !m_files.m_ms1.empty(); }

  template <class Action>
  void ForEachSurvey(Action action) const {
    if (!m_files.m_pf1.empty()) {
      PfReader surveys(m_files.m_pf1);
      for (MS1Spectrum survey; surveys.ReadMs1(survey);) action(survey);
    } else if (!m_files.m_ms1.empty()) {
      Ms1TextReader surveys(m_files.m_ms1, "r");
      for (MS1Spectrum survey; surveys.ReadNext(survey);) action(survey);
    }
  }

  void ReadFragments() {
    std::vector<double> peak_counts;
    for (const std::string& path : m_files.m_pf2) {
      PfReader scans(path);
      for (MS2Spectrum scan; scans.ReadMs2(scan);)
        peak_counts.push_back(static_cast<double>(scan.m_peaks.size()));
    }
    m_report.m_median_ms2_peaks = Median(std::move(peak_counts));
  }

  // Times of the MS2 scans from the best available source.
  void FindTimes() {
    m_times = m_survey_times;
    if (m_content.HasInput()) {
      for (const InputScan& scan : m_content.Input())
        m_times.emplace_back(scan.m_scan_no, scan.m_rt_s);
      m_report.m_time_source = m_content.InputText();
    } else if (!m_files.m_mgf.empty()) {
      for (const std::string& path : m_files.m_mgf) AppendMgfTimes(path, m_times);
      m_report.m_time_source = "the MGF files";
    } else if (!m_survey_times.empty()) {
      m_report.m_time_source = "the surveys around each scan";
    }
    std::ranges::stable_sort(m_times, {}, &ScanTime::first);
    for (const ReportRow& row : m_content.Rows())
      if (const auto rt_s = TimeOfScan(m_times, row.m_scan_no))
        m_report.m_ms2_times_s.push_back(*rt_s);
    std::ranges::sort(m_report.m_ms2_times_s);
    std::ranges::stable_sort(m_report.m_surveys, {}, &TimedValue::m_rt_s);
  }

  void MeasurePpm() {
    std::vector<double> differences;
    for (const ReportRow& row : m_content.Rows()) {
      if (row.m_declared.m_charge == 0 || IsWithoutCharge(row) || MayBeKept(row)) continue;
      const auto match = MatchDeclared(row.m_declared, row.m_determined, m_settings.m_tol_ppm);
      if (!match || match->m_shift != 0) continue;
      const Precursor& found = row.m_determined[match->m_index];
      if (found.m_charge != row.m_declared.m_charge) continue;
      const double ppm = PpmError(found.m_mz, row.m_declared.m_mz);
      differences.push_back(ppm);
      if (const auto rt_s = TimeOfScan(m_times, row.m_scan_no))
        m_report.m_ppm.push_back({*rt_s, ppm});
    }
    m_report.m_median_ppm = Median(differences);
    for (double& ppm : differences) ppm = std::fabs(ppm);
    std::ranges::sort(differences);
    if (!differences.empty())
      m_report.m_absolute_ppm_95 =
          differences[(differences.size() * 95 + 99) / 100 - 1];  // the rank rounded up
  }

  void AddSourceFile(const std::string& name, const std::string& use, bool is_there) {
    m_report.m_sources.push_back({name, use, is_there});
  }

  void AddSource(const std::string& ending, const std::string& use, bool is_there) {
    AddSourceFile(m_files.m_name + ending, use, is_there);
  }

  void ListSources() {
    AddSource(".csv", "declared and determined precursors", true);
    AddSource(".pf1", "ion current and isolation purity", !m_files.m_pf1.empty());
    if (m_files.m_pf1.empty())
      AddSource(".ms1", "the same, in place of the .pf1 file", !m_files.m_ms1.empty());
    AddSource("_*.pf2", "peaks of the MS2 scans", !m_files.m_pf2.empty());
    const std::string of_input = "scans left out, centres of isolation windows, times";
    if (m_content.Kind() == InputKind::kTable)
      AddSourceFile(std::string(FileNameOf(m_files.m_scan_table)), of_input, true);
    else
      AddSource(".ms2", of_input, m_content.HasInput());
    if (!m_content.HasInput())
      AddSource("_*.mgf", "times of the MS2 scans", !m_files.m_mgf.empty());
    AddSource(std::string(kRunRecordEnding), "isolation widths, scans left out and why",
              m_content.Record().has_value());
    const std::string& declares_width = m_report.m_declared_width_source;
    if (!declares_width.empty() && declares_width != FileNameOf(m_files.m_record))
      AddSourceFile(declares_width, "declared isolation width", true);
  }

  const RunFiles& m_files;
  const ReportSettings& m_settings;
  RunContent m_content;
  bool m_has_placeholders = false;  // all charges of the table are assumed ones
  std::vector<ScanTime> m_survey_times;
  std::vector<ScanTime> m_times;  // of surveys and MS2 scans, ascending by scan number
  RunReport m_report;
};

std::optional<double> Percent(std::int64_t part, std::int64_t whole) {
  if (whole == 0) return std::nullopt;
  return 100.0 * static_cast<double>(part) / static_cast<double>(whole);
}

std::optional<double> TimesHundred(std::optional<double> share) {
  if (share) *share *= 100.0;
  return share;
}

std::optional<double> PerScan(const RunReport& report) {
  if (report.m_scans == 0) return std::nullopt;
  return static_cast<double>(report.m_precursors) / static_cast<double>(report.m_scans);
}

std::int64_t ChangedCharges(const RunReport& report) {
  std::int64_t changed = 0;
  for (const auto& [charges, scans] : report.m_charges)
    if (charges.second != 0 && charges.second != charges.first) changed += scans;
  return changed;
}

}  // namespace

std::optional<DeclaredMatch> MatchDeclared(const Precursor& declared,
                                           std::span<const Precursor> determined, double tol_ppm) {
  const auto same = MatchWhere(declared, determined, tol_ppm, true, kShiftOrder);
  return same ? same : MatchWhere(declared, determined, tol_ppm, false, kNoShift);
}

bool IsKeptAsDeclared(std::span<const Precursor> exported, std::span<const Precursor> declared) {
  return !exported.empty() && std::ranges::equal(exported, declared, IsSameInTable);
}

std::optional<double> TimeOfScan(std::span<const ScanTime> knots, std::int32_t scan_no) {
  if (knots.empty()) return std::nullopt;
  const auto above = std::ranges::lower_bound(knots, scan_no, {}, &ScanTime::first);
  if (above == knots.end()) return knots.back().second;
  if (above->first == scan_no || above == knots.begin()) return above->second;
  const auto below = std::prev(above);
  const double share = (double{static_cast<double>(scan_no)} - below->first) /
                       (static_cast<double>(above->first) - below->first);
  return below->second + share * (above->second - below->second);
}

std::optional<double> Median(std::vector<double> values) {
  if (values.empty()) return std::nullopt;
  std::ranges::sort(values);
  const std::size_t middle = values.size() / 2;
  return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2.0;
}

std::optional<double> LeftOutShare(const RunReport& report) {
  const std::int64_t all = report.m_scans + report.m_left_out_count;
  if (report.m_left_out_source.empty() || all == 0) return std::nullopt;
  return static_cast<double>(report.m_left_out_count) / static_cast<double>(all);
}

bool ExportedNothing(const RunReport& report) {
  return report.m_scans == 0 && report.m_left_out_count > 0;
}

std::int64_t MatchedScans(const RunReport& report) {
  std::int64_t sum = 0;
  for (const std::int64_t scans : report.m_by_shift) sum += scans;
  return sum;
}

RunReport ReadRunReport(const RunFiles& files, const ReportSettings& settings) {
  return ReportBuilder(files, settings).Build();
}

std::vector<KeyFigure> KeyFigures(const RunReport& report) {
  const std::int64_t matched = MatchedScans(report);
  const std::int64_t moved = matched - report.m_by_shift[ShiftPlace(0)];
  return {
      {"ms2_scans", "MS2 scans exported", "", 0, static_cast<double>(report.m_scans)},
      {"precursors", "precursors", "", 0, static_cast<double>(report.m_precursors)},
      {"precursors_per_scan", "precursors per scan", "", 2, PerScan(report)},
      {"isotope_corrected", "isotope corrected", "%", 1, Percent(moved, matched)},
      {"charge_corrected", "charge corrected", "%", 1, Percent(ChangedCharges(report), matched)},
      {"median_ppm", "median m/z difference", "ppm", 2, report.m_median_ppm},
      {"main_precursor_share", "purity (main precursor)", "%", 1,
       TimesHundred(report.m_median_main_share)},
      {"all_precursors_share", "window explained", "%", 1, TimesHundred(report.m_median_all_share)},
      {"left_out", "scans left out", "%", 1, TimesHundred(LeftOutShare(report))},
  };
}

}  // namespace tarvek::tools
