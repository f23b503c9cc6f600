#include "ReportData.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "FileUtils.h"
#include "MsTextReader.h"
#include "NumberText.h"
#include "QuietLibrary.h"

namespace tarvek::tools {
namespace {

constexpr int kIsotopesOfAnEnvelope = 8;
// The precursor table has six decimals: between the m/z of the input and that of the table, half of
// the last one.
constexpr double kTableRounding = 7.5e-7;
constexpr std::array<int, kShifts> kShiftOrder = {0, -1, 1, -2, 2, -3, 3};
// Isotopes of another charge lie so densely that one of them is near any m/z by chance.
constexpr std::array<int, 1> kNoShift = {0};

const char* const kActivationReason = "activation type not known";
const char* const kAnalyserReason = "analyser not known";
const char* const kPrecursorReason = "no usable precursor declared or determined";
const char* const kOtherReason = "not exported for another reason";
const char* const kGapReason = "number in no output";

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

// The peaks of mz within tol_ppm; borrows from peaks.
std::span<const Peak> PeaksAt(std::span<const Peak> peaks, double mz, double tol_ppm) {
  const double tol_mz = tol_ppm * mz / 1e6;
  const auto first = std::ranges::lower_bound(peaks, mz - tol_mz, {}, &Peak::m_mz);
  const auto last = std::ranges::upper_bound(first, peaks.end(), mz + tol_mz, {}, &Peak::m_mz);
  return {first, last};
}

double TotalIntensity(std::span<const Peak> peaks) {
  double sum = 0.0;
  for (const Peak& peak : peaks) sum += peak.m_intensity;
  return sum;
}

/// An exported scan with what the other files say of it.
struct PlacedRow {
  const ReportRow* m_row = nullptr;
  double m_centre_mz = 0.0;
  std::int32_t m_key = 0;  // the survey is the last one that is not above this scan number
};

template <std::size_t kBins>
void CountShare(std::array<std::int64_t, kBins>& bins, double share) {
  const auto bin = static_cast<std::size_t>(std::max(0.0, share) * static_cast<double>(kBins));
  ++bins.at(std::min(bin, kBins - 1));
}

/// What the scans of the input were read from.
enum class InputKind { kNone, kText, kTable };

/// Builds a report step by step; each step fills in its part.
class ReportBuilder {
 public:
  ReportBuilder(const RunFiles& files, const ReportSettings& settings)
      : m_files(files), m_settings(settings), m_rows(ReadReportRows(files.m_table)) {
    std::ranges::stable_sort(m_rows, {}, &ReportRow::m_scan_no);
    m_report.m_name = files.m_name;
    m_report.m_tol_ppm = settings.m_tol_ppm;
    m_report.m_scans = static_cast<std::int64_t>(m_rows.size());
  }

  RunReport Build() {
    ReadInput();
    ReadLog();
    for (const ReportRow& row : m_rows) CountRow(row);
    ReadSurveys();
    ReadFragments();
    FindTimes();
    MeasurePpm();
    FindLeftOut();
    ListSources();
    return std::move(m_report);
  }

 private:
  // The text is preferred: it tells all precursors that were declared.
  void ReadInput() {
    if (!m_files.m_ms2.empty()) {
      m_input_kind = InputKind::kText;
      m_input = ReadTextInput(m_files.m_ms2);
    } else if (!m_files.m_scan_table.empty()) {
      m_input_kind = InputKind::kTable;
      m_input = ReadTableInput(m_files.m_scan_table);
    }
  }

  [[nodiscard]] bool HasInput() const { return m_input_kind != InputKind::kNone; }

  [[nodiscard]] std::string InputText() const {
    return m_input_kind == InputKind::kText ? "the .ms2 file" : "the .mscsv table";
  }

  [[nodiscard]] const InputScan* InputOf(std::int32_t scan_no) const {
    const auto found = std::ranges::lower_bound(m_input, scan_no, {}, &InputScan::m_scan_no);
    return found != m_input.end() && found->m_scan_no == scan_no ? &*found : nullptr;
  }

  void ReadLog() {
    if (!m_files.m_log.empty()) m_log = ReadLogFacts(m_files.m_log, m_files.m_name);
    std::ranges::sort(m_log.m_without_precursor);
    if (m_settings.m_isolation_width) {
      m_report.m_isolation_width = *m_settings.m_isolation_width;
      m_report.m_width_source = "as given on the command line";
    } else if (m_log.m_isolation_width) {
      m_report.m_isolation_width = *m_log.m_isolation_width;
      m_report.m_width_source = "as the log says";
    } else {
      m_report.m_width_source = "tarvek's default, since no log tells it";
    }
  }

  void CountRow(const ReportRow& row) {
    ++m_report.m_scans_by_kind[row.m_kind];
    m_report.m_precursors += static_cast<std::int64_t>(row.m_determined.size());
    ++m_report.m_by_count.at(std::min(row.m_determined.size(), kPrecursorCounts - 1));
    if (row.m_declared.m_charge == 0) {
      ++m_report.m_undeclared;
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

  // The table names the first declared precursor alone; the input knows whether there were others.
  [[nodiscard]] bool IsKept(const ReportRow& row) const {
    const InputScan* input = InputOf(row.m_scan_no);
    return input == nullptr ? IsKeptAsDeclared(row.m_determined, {&row.m_declared, 1})
                            : IsKeptAsDeclared(row.m_determined, input->m_declared);
  }

  // Without the input, several precursors may be those declared when the first of them is.
  [[nodiscard]] bool MayBeKept(const ReportRow& row) const {
    return IsKept(row) || (InputOf(row.m_scan_no) == nullptr && !row.m_determined.empty() &&
                           IsSameInTable(row.m_determined.front(), row.m_declared));
  }

  // Every row with the centre of its window, in the order of their surveys.
  std::vector<PlacedRow> PlaceRows() {
    std::vector<PlacedRow> placed;
    for (const ReportRow& row : m_rows) {
      const InputScan* input = InputOf(row.m_scan_no);
      const bool has_centre = input != nullptr && input->m_centre_mz > 0.0;
      if (!has_centre && row.m_declared.m_mz <= 0.0) continue;
      if (!has_centre) m_report.m_declared_centres = true;
      placed.push_back({&row, has_centre ? input->m_centre_mz : row.m_declared.m_mz,
                        input != nullptr && input->m_survey > 0 ? input->m_survey : row.m_scan_no});
    }
    std::ranges::stable_sort(placed, {}, &PlacedRow::m_key);
    return placed;
  }

  // Passes over the surveys once and keeps one of them: when the next one is known, the rows in
  // between are measured in it.
  void ReadSurveys() {
    const std::vector<PlacedRow> placed = PlaceRows();
    auto next = placed.begin();
    PfScan former;
    bool has_former = false;
    const auto measure_until = [&](std::optional<std::int32_t> scan_no) {
      for (; next != placed.end() && (!scan_no || next->m_key < *scan_no); ++next)
        if (has_former) MeasureWindow(*next, former.m_peaks);
    };
    ForEachSurvey([&](PfScan& survey) {
      measure_until(survey.m_scan_no);
      m_report.m_surveys.push_back({survey.m_rt_s, TotalIntensity(survey.m_peaks)});
      m_knots.emplace_back(survey.m_scan_no, survey.m_rt_s);
      std::swap(former, survey);
      has_former = true;
    });
    measure_until(std::nullopt);
    m_report.m_median_main_share = Median(std::move(m_main_shares));
    m_report.m_median_all_share = Median(std::move(m_all_shares));
  }

  [[nodiscard]] bool HasSurveys() const { return !m_files.m_pf1.empty() || !m_files.m_ms1.empty(); }

  template <class Action>
  void ForEachSurvey(Action action) const {
    if (!m_files.m_pf1.empty()) {
      PfScans surveys(m_files.m_pf1, PfKind::kSurveys);
      for (PfScan survey; surveys.Next(survey);) action(survey);
    } else if (!m_files.m_ms1.empty()) {
      const QuietLibrary quiet;
      Ms1TextReader surveys(m_files.m_ms1, "r");
      for (MS1Spectrum scan; surveys.ReadNext(scan);) {
        PfScan survey{scan.m_scan_no, scan.m_rt, scan.m_peaks};
        action(survey);
      }
    }
  }

  void MeasureWindow(const PlacedRow& placed, std::span<const Peak> peaks) {
    const auto shares = SharesInWindow(peaks, placed.m_centre_mz, m_report.m_isolation_width / 2.0,
                                       placed.m_row->m_determined, m_settings.m_tol_ppm);
    if (!shares) {
      ++m_report.m_empty_windows;
      return;
    }
    ++m_report.m_windows;
    CountShare(m_report.m_main_share, shares->m_main);
    CountShare(m_report.m_all_share, shares->m_all);
    m_main_shares.push_back(shares->m_main);
    m_all_shares.push_back(shares->m_all);
  }

  void ReadFragments() {
    std::vector<double> peak_counts;
    for (const std::string& path : m_files.m_pf2) {
      PfScans scans(path, PfKind::kFragments);
      for (PfScan scan; scans.Next(scan);)
        peak_counts.push_back(static_cast<double>(scan.m_peaks.size()));
    }
    m_report.m_median_ms2_peaks = Median(std::move(peak_counts));
  }

  // Times of the MS2 scans from the best source there is.
  void FindTimes() {
    std::vector<ScanTime> times;
    if (HasInput()) {
      for (const InputScan& scan : m_input) times.emplace_back(scan.m_scan_no, scan.m_rt_s);
      m_report.m_time_source = InputText();
    } else if (!m_files.m_mgf.empty()) {
      for (const std::string& path : m_files.m_mgf) AppendMgfTimes(path, times);
      m_report.m_time_source = "the MGF files";
    } else if (!m_knots.empty()) {
      m_report.m_time_source = "the surveys around each scan";
    }
    m_knots.insert(m_knots.end(), times.begin(), times.end());
    std::ranges::stable_sort(m_knots, {}, &ScanTime::first);
    for (const ReportRow& row : m_rows)
      if (const auto rt_s = TimeOfScan(m_knots, row.m_scan_no))
        m_report.m_ms2_times_s.push_back(*rt_s);
    std::ranges::sort(m_report.m_ms2_times_s);
    std::ranges::stable_sort(m_report.m_surveys, {}, &TimedValue::m_rt_s);
  }

  void MeasurePpm() {
    std::vector<double> differences;
    for (const ReportRow& row : m_rows) {
      if (row.m_declared.m_charge == 0 || MayBeKept(row)) continue;
      const auto match = MatchDeclared(row.m_declared, row.m_determined, m_settings.m_tol_ppm);
      if (!match || match->m_shift != 0) continue;
      const Precursor& found = row.m_determined[match->m_index];
      if (found.m_charge != row.m_declared.m_charge) continue;
      const double ppm = PpmError(found.m_mz, row.m_declared.m_mz);
      differences.push_back(ppm);
      if (const auto rt_s = TimeOfScan(m_knots, row.m_scan_no))
        m_report.m_ppm.push_back({*rt_s, ppm});
    }
    m_report.m_median_ppm = Median(differences);
    for (double& ppm : differences) ppm = std::fabs(ppm);
    std::ranges::sort(differences);
    if (!differences.empty())
      m_report.m_absolute_ppm_95 =
          differences[(differences.size() * 95 + 99) / 100 - 1];  // the rank rounded up
  }

  void AddLeftOut(std::int32_t scan_no, const std::string& reason) {
    ++m_report.m_left_out_count;
    ++m_report.m_left_out_reasons[reason];
    if (m_report.m_left_out.size() < kMaxLeftOut)
      m_report.m_left_out.push_back({scan_no, TimeOfScan(m_knots, scan_no), reason});
  }

  [[nodiscard]] bool IsExported(std::int32_t scan_no) const {
    return std::ranges::binary_search(m_rows, scan_no, {}, &ReportRow::m_scan_no);
  }

  [[nodiscard]] bool IsWarnedOf(std::int32_t scan_no) const {
    return std::ranges::binary_search(m_log.m_without_precursor, scan_no);
  }

  [[nodiscard]] std::string ReasonOf(const InputScan& scan) const {
    if (std::ranges::find(kActivationTypes, scan.m_activation) == kActivationTypes.end())
      return kActivationReason;
    if (std::ranges::find(kInstrumentTypes, scan.m_analyser) == kInstrumentTypes.end())
      return kAnalyserReason;
    return scan.m_declared.empty() || IsWarnedOf(scan.m_scan_no) ? kPrecursorReason : kOtherReason;
  }

  void FindLeftOut() {
    if (HasInput()) {
      m_report.m_left_out_source = InputText();
      for (const InputScan& scan : m_input)
        if (!IsExported(scan.m_scan_no)) AddLeftOut(scan.m_scan_no, ReasonOf(scan));
    } else if (HasSurveys() && !m_knots.empty()) {
      m_report.m_left_out_source = "the scan numbers that are in no output";
      FindGaps();
    }
  }

  // The numbers of surveys and exported scans, ascending.
  [[nodiscard]] std::vector<std::int64_t> KnownNumbers() const {
    std::vector<std::int64_t> numbers;
    for (const ScanTime& knot : m_knots) numbers.push_back(knot.first);
    for (const ReportRow& row : m_rows) numbers.push_back(row.m_scan_no);
    std::ranges::sort(numbers);
    return numbers;
  }

  // The numbers in between. They may be of scans without peaks or of a higher MS level too.
  void FindGaps() {
    const std::vector<std::int64_t> known = KnownNumbers();
    for (std::size_t i = 1; i < known.size(); ++i)
      for (std::int64_t number = known[i - 1] + 1; number < known[i]; ++number) {
        if (m_report.m_left_out.size() == kMaxLeftOut) {  // no need to visit each any more
          m_report.m_left_out_count += known[i] - number;
          m_report.m_left_out_reasons[kGapReason] += known[i] - number;
          break;
        }
        const auto scan_no = static_cast<std::int32_t>(number);
        AddLeftOut(scan_no, IsWarnedOf(scan_no) ? kPrecursorReason : kGapReason);
      }
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
    if (m_input_kind == InputKind::kTable)
      AddSourceFile(std::string(FileNameOf(m_files.m_scan_table)), of_input, true);
    else
      AddSource(".ms2", of_input, HasInput());
    if (!HasInput()) AddSource("_*.mgf", "times of the MS2 scans", !m_files.m_mgf.empty());
    AddSourceFile("log", "isolation width, warnings of this run", m_log.m_has_run);
  }

  const RunFiles& m_files;
  const ReportSettings& m_settings;
  std::vector<ReportRow> m_rows;  // ascending by scan number
  InputKind m_input_kind = InputKind::kNone;
  std::vector<InputScan> m_input;  // ascending by scan number
  std::vector<ScanTime> m_knots;   // ascending by scan number once FindTimes is done
  std::vector<double> m_main_shares;
  std::vector<double> m_all_shares;
  LogFacts m_log;
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

std::optional<WindowShares> SharesInWindow(std::span<const Peak> peaks, double centre_mz,
                                           double half_width_mz,
                                           std::span<const Precursor> determined, double tol_ppm) {
  const double low_mz = centre_mz - half_width_mz;
  const double high_mz = centre_mz + half_width_mz;
  const auto first = std::ranges::lower_bound(peaks, low_mz, {}, &Peak::m_mz);
  const std::span<const Peak> window = {
      first, std::ranges::upper_bound(first, peaks.end(), high_mz, {}, &Peak::m_mz)};
  const double total = TotalIntensity(window);
  if (total <= 0.0) return std::nullopt;

  std::vector<bool> is_explained(window.size(), false);
  double main = 0.0;
  for (const Precursor& precursor : determined) {
    if (precursor.m_charge == 0) continue;
    double own = 0.0;
    std::span<const Peak> above = window;  // of a wide tolerance, a peak is that of one isotope
    for (int isotope = 0; isotope < kIsotopesOfAnEnvelope; ++isotope) {
      const double mz = IsotopeMz(precursor.m_mz, isotope, precursor.m_charge);
      const std::span<const Peak> found = PeaksAt(above, mz, tol_ppm);
      own += TotalIntensity(found);
      const auto place = static_cast<std::size_t>(found.data() - window.data());
      above = window.subspan(place + found.size());
      for (std::size_t i = 0; i < found.size(); ++i) is_explained[place + i] = true;
    }
    main = std::max(main, own);
  }
  double all = 0.0;
  for (std::size_t i = 0; i < window.size(); ++i)
    if (is_explained[i]) all += window[i].m_intensity;
  return WindowShares{main / total, all / total};
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
