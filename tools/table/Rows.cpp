#include "table/Rows.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <span>
#include <unordered_map>
#include <utility>

#include "Charge.h"
#include "EvidenceTable.h"
#include "FileUtils.h"
#include "InstrumentFile.h"
#include "MsTextReader.h"
#include "PfReader.h"
#include "PrecursorTable.h"
#include "PrecursorTableReader.h"
#include "SpectrumRecords.h"
#include "outputs/SameIon.h"
#include "outputs/SpectrumNumbers.h"
#include "report/Content.h"
#include "report/Files.h"
#include "report/Purity.h"
#include "score/IsotopeShift.h"

namespace tarvek::tools {
namespace {

constexpr double kSecondsPerMinute = 60.0;

Precursor WithoutSigns(const Precursor& precursor) {
  return {std::fabs(precursor.m_mz), ChargeWithoutSign(precursor.m_charge)};
}

/// The isolation window and the time of a scan.
struct ScanWindow {
  std::optional<double> m_centre_mz;
  std::optional<double> m_width_mz;
  std::optional<double> m_time_s;
};
using ScanWindows = std::unordered_map<std::int32_t, ScanWindow>;

/// Collects the windows that an instrument file declares.
class WindowCollector final : public extractor::ScanConsumer {
 public:
  explicit WindowCollector(const SpectrumNumbers& numbers) : m_numbers(numbers) {}

  void OnDeclaredCount(std::int64_t) override {}
  bool WantsPeaks(const extractor::ExtractedScan&) override { return false; }
  void OnScan(const extractor::ExtractedScan& scan, std::vector<Peak>&) override {
    if (scan.m_ms_level != 2) return;
    const auto number = m_numbers.Of(scan.m_position, scan.m_id);
    if (!number) return;
    ScanWindow window;
    if (!scan.m_precursors.empty()) window.m_centre_mz = scan.m_precursors.front().m_target_mz;
    window.m_width_mz = extractor::IsolationWidth(scan);
    window.m_time_s = scan.m_rt_seconds;
    m_windows.emplace(*number, window);
  }

  [[nodiscard]] ScanWindows Windows() && { return std::move(m_windows); }

 private:
  const SpectrumNumbers& m_numbers;
  ScanWindows m_windows;
};

ScanWindows WindowsOf(const RunFiles& files) {
  const std::string table = files.m_table;
  const std::string base = table.substr(0, table.size() - std::string_view(".csv").size());
  const SpectrumNumbers numbers(base + std::string(kNativeIdEnding));
  WindowCollector collector(numbers);
  extractor::ReadInstrumentFile(
      files.m_instrument, collector, [](const std::string&) {},
      [](const extractor::ReadingState&) {});
  return std::move(collector).Windows();
}

/// The width that all MS2 scans of the run declare; std::nullopt when there are several or none.
std::optional<double> OnlyWidth(const RunRecord& record) {
  return record.m_widths.size() == 1 ? record.CommonestWidth() : std::nullopt;
}

/// The evidence of a run by scan.
using Evidence = std::unordered_map<std::int32_t, std::vector<EvidenceRow>>;

Evidence ReadEvidence(const std::string& path) {
  Evidence evidence;
  EvidenceReader reader(path);
  for (EvidenceRow row; reader.Next(row);) {
    std::vector<EvidenceRow>& of_scan = evidence[row.m_scan_no];
    if (of_scan.size() == kMostTablePrecursors) reader.FailForTooMany();
    of_scan.push_back(row);
  }
  return evidence;
}

double NeutralMass(const Precursor& precursor) {
  const int charge = ChargeWithoutSign(precursor.m_charge);
  const double proton_da = precursor.m_charge < 0 ? -kProtonMass : kProtonMass;
  return charge * (std::fabs(precursor.m_mz) - proton_da);
}

/// The isotope shift between two m/z of one charge with the smallest error within the tolerance.
std::optional<int> ShiftBetween(double mz, double declared_mz, int charge, double tol_ppm) {
  std::optional<int> nearest;
  double nearest_ppm = tol_ppm;
  for (int shift = -kMaxShift; shift <= kMaxShift; ++shift) {
    const double ppm = std::fabs(PpmError(mz, IsotopeMz(declared_mz, shift, charge)));
    if (ppm > nearest_ppm) continue;
    nearest = shift;
    nearest_ppm = ppm;
  }
  return nearest;
}

/// With another charge only the declared m/z itself counts.
void CompareWithDeclared(const Precursor& declared, double tol_ppm, PrecursorFact& row) {
  const int charge = ChargeWithoutSign(row.m_charge);
  if (charge == 0) return;
  const bool is_same_charge = charge == ChargeWithoutSign(declared.m_charge);
  const auto shift = ShiftBetween(row.m_mz, declared.m_mz, charge, tol_ppm);
  if (!shift || (!is_same_charge && *shift != 0)) return;
  row.m_isotope_shift = shift;
  row.m_ppm = PpmError(row.m_mz, IsotopeMz(declared.m_mz, *shift, charge));
}

/// Everything of one run except its surveys.
class RowReader {
 public:
  RowReader(const RunFiles& files, const RowSettings& settings)
      : m_files(files), m_settings(settings), m_content(files) {
    if (m_content.Record()) {
      m_hash = SettingsHash(*m_content.Record());
      m_only_width = OnlyWidth(*m_content.Record());
    }
    if (!files.m_evidence.empty()) m_evidence = ReadEvidence(files.m_evidence);
    const bool needs_windows = !m_content.HasInput() || !m_only_width;
    if (needs_windows && !files.m_instrument.empty()) m_windows = WindowsOf(files);
    if (!m_content.HasInput() && m_windows.empty()) {
      std::vector<ScanTime> times;
      for (const std::string& path : files.m_mgf) AppendMgfTimes(path, times);
      for (const auto& [scan_no, time_s] : times) m_windows[scan_no].m_time_s = time_s;
    }
  }

  [[nodiscard]] const RunContent& Content() const noexcept { return m_content; }

  void ForEachScan(const std::function<void(const PrecursorRow&)>& take) const {
    PrecursorTableReader reader(m_files.m_table);
    if (!reader.HasHeader()) throw m_files.m_table + " is not a precursor table of tarvek.";
    for (PrecursorRow read; reader.Next(read);) take(read);
  }

  /// Gives take the rows of a scan without their purities.
  void ForEachRow(const PrecursorRow& read, const std::function<void(PrecursorFact&)>& take) const {
    const PrecursorFact scan = FactOf(read);
    const bool has_charge = scan.m_declared_charge.has_value();
    const Precursor declared = DeclaredOf(read);
    for (std::size_t i = 0; i < read.m_determined.size(); ++i) {
      PrecursorFact row = scan;
      row.m_rank = static_cast<int>(i) + 1;
      row.m_mz = std::fabs(read.m_determined[i].m_mz);
      row.m_charge = read.m_determined[i].m_charge;
      row.m_neutral_mass_da = NeutralMass(read.m_determined[i]);
      if (has_charge) CompareWithDeclared(declared, m_settings.m_tol_ppm, row);
      AddEvidence(read.m_determined[i], row);
      take(row);
    }
  }

  [[nodiscard]] ScanWindow WindowOf(std::int32_t scan_no) const {
    ScanWindow window;
    const auto found = m_windows.find(scan_no);
    if (found != m_windows.end()) window = found->second;
    if (const InputScan* const input = m_content.InputOf(scan_no)) {
      if (input->m_centre_mz > 0.0) window.m_centre_mz = input->m_centre_mz;
      window.m_time_s = input->m_rt_s;
    }
    if (!window.m_width_mz) window.m_width_mz = m_only_width;
    return window;
  }

 private:
  /// The m/z of the input on the scale of the outputs.
  [[nodiscard]] Precursor Calibrated(Precursor declared, const ScanWindow& window) const {
    const auto& correction = m_content.Correction();
    if (correction && correction->IsOn())
      declared.m_mz =
          WithoutBias(declared.m_mz, correction->SurveyPpm(window.m_time_s.value_or(0.0)));
    return declared;
  }

  [[nodiscard]] bool IsKept(const PrecursorRow& read, const Precursor& declared) const {
    const InputScan* const input = m_content.InputOf(read.m_scan_no);
    return input != nullptr
               ? std::ranges::equal(read.m_determined, input->m_declared, IsSameIon)
               : std::ranges::equal(read.m_determined, std::span(&declared, 1), IsSameIon);
  }

  [[nodiscard]] Precursor DeclaredOf(const PrecursorRow& read) const {
    return Calibrated(WithoutSigns(read.m_declared), WindowOf(read.m_scan_no));
  }

  /// What the rows of a scan have in common.
  [[nodiscard]] PrecursorFact FactOf(const PrecursorRow& read) const {
    PrecursorFact scan;
    scan.m_run = m_files.m_name;
    scan.m_settings_hash = m_hash;
    scan.m_scan_no = read.m_scan_no;
    scan.m_activation = read.m_activation;
    scan.m_analyser = read.m_analyser;
    const ScanWindow window = WindowOf(read.m_scan_no);
    scan.m_isolation_mz = window.m_centre_mz;
    scan.m_isolation_width = window.m_width_mz;
    if (window.m_time_s) scan.m_time_min = *window.m_time_s / kSecondsPerMinute;
    const bool has_declared = read.m_declared.m_mz > 0.0;
    const InputScan* const input = m_content.InputOf(read.m_scan_no);
    const bool has_charge = has_declared && (input == nullptr || input->m_has_charge);
    if (has_declared) scan.m_declared_mz = read.m_declared.m_mz;
    if (has_charge) scan.m_declared_charge = read.m_declared.m_charge;
    scan.m_is_determined = m_evidence ? m_evidence->contains(read.m_scan_no)
                                      : !(has_declared && IsKept(read, DeclaredOf(read)));
    return scan;
  }

  void AddEvidence(const Precursor& precursor, PrecursorFact& row) const {
    if (!m_evidence) return;
    const auto found = m_evidence->find(row.m_scan_no);
    if (found == m_evidence->end()) return;
    for (const EvidenceRow& evidence : found->second)
      if (IsSameIon(evidence.m_precursor, precursor)) {
        row.m_probability = evidence.m_evidence.m_probability;
        row.m_share = evidence.m_evidence.m_share;
        return;
      }
  }

  const RunFiles& m_files;
  const RowSettings& m_settings;
  RunContent m_content;
  std::string m_hash;
  std::optional<double> m_only_width;
  std::optional<Evidence> m_evidence;
  ScanWindows m_windows;
};

/// Finds the purities, survey by survey. A table may have a million rows: only a few bytes are kept of
/// each.
class PurityFinder {
 public:
  PurityFinder(const RowReader& rows, const RowSettings& settings)
      : m_rows(rows), m_tol_ppm(settings.m_tol_ppm) {
    m_rows.ForEachScan([this](const PrecursorRow& read) { Place(read); });
    std::ranges::stable_sort(m_placed, {}, &PlacedRow::m_survey);
  }

  /// The surveys in the order of their numbers.
  void TakeSurvey(const MS1Spectrum& survey) {
    FillBefore(survey.m_scan_no);
    m_peaks = survey.m_peaks;
    m_has_survey = true;
  }
  void Finish() { FillBefore(std::numeric_limits<std::int64_t>::max()); }

  /// By the place of the row.
  [[nodiscard]] std::span<const std::optional<double>> Purities() const noexcept {
    return m_purities;
  }

 private:
  struct PlacedRow {
    std::int64_t m_survey = 0;  // the last one not above
    Precursor m_precursor;      // without signs
    std::int32_t m_scan_no = 0;
    std::size_t m_place = 0;
  };

  void Place(const PrecursorRow& read) {
    const std::size_t first = m_purities.size();
    m_purities.resize(first + read.m_determined.size());
    const ScanWindow window = m_rows.WindowOf(read.m_scan_no);
    if (!window.m_centre_mz || !window.m_width_mz) return;
    const InputScan* const input = m_rows.Content().InputOf(read.m_scan_no);
    const bool has_survey = input != nullptr && input->m_survey > 0;
    for (std::size_t i = 0; i < read.m_determined.size(); ++i)
      m_placed.push_back({has_survey ? input->m_survey : read.m_scan_no,
                          WithoutSigns(read.m_determined[i]), read.m_scan_no, first + i});
  }

  void FillBefore(std::int64_t scan_no) {
    for (; m_next < m_placed.size() && m_placed[m_next].m_survey < scan_no; ++m_next)
      if (m_has_survey) Fill(m_placed[m_next]);
  }

  void Fill(const PlacedRow& row) {
    const ScanWindow window = m_rows.WindowOf(row.m_scan_no);
    const auto shares = SharesInWindow(m_peaks, *window.m_centre_mz, *window.m_width_mz / 2.0,
                                       {&row.m_precursor, 1}, m_tol_ppm);
    if (shares) m_purities[row.m_place] = shares->m_main;
  }

  const RowReader& m_rows;
  double m_tol_ppm;
  std::vector<std::optional<double>> m_purities;
  std::vector<PlacedRow> m_placed;
  std::size_t m_next = 0;
  std::vector<Peak> m_peaks;
  bool m_has_survey = false;
};

void FindPurities(const RunFiles& files, PurityFinder& finder) {
  if (!files.m_pf1.empty()) {
    PfReader surveys(files.m_pf1);
    for (MS1Spectrum survey; surveys.ReadMs1(survey);) finder.TakeSurvey(survey);
  } else if (!files.m_ms1.empty()) {
    Ms1TextReader surveys(files.m_ms1, "r");
    for (MS1Spectrum survey; surveys.ReadNext(survey);) finder.TakeSurvey(survey);
  }
  finder.Finish();
}

}  // namespace

void ForEachPrecursor(const std::string& base_path, const RowSettings& settings,
                      const std::function<void(const PrecursorFact&)>& take) {
  const RunFiles files = FindRunFiles(base_path, settings.m_input_folder);
  const RowReader rows(files, settings);
  PurityFinder finder(rows, settings);
  FindPurities(files, finder);
  std::size_t place = 0;
  rows.ForEachScan([&](const PrecursorRow& read) {
    rows.ForEachRow(read, [&](PrecursorFact& row) {
      if (place < finder.Purities().size()) row.m_purity = finder.Purities()[place++];
      take(row);
    });
  });
}

std::string SettingsHash(const RunRecord& record) {
  if (record.m_settings.empty()) return {};
  std::uint64_t hash = 0xCBF29CE484222325u;
  const auto take = [&hash](std::string_view text) {
    for (const char c : text)
      hash = (hash ^ static_cast<unsigned char>(c)) * std::uint64_t{0x100000001B3u};
  };
  for (const auto& [key, value] : record.m_settings) {
    take(key);
    take("\t");
    take(value);
    take("\n");
  }
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  for (int shift = 60; shift >= 0; shift -= 4) text += kDigits[hash >> shift & 15u];
  return text;
}

}  // namespace tarvek::tools
