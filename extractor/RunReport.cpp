#include "RunReport.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "NumberText.h"
#include "Platform.h"
#include "ShownText.h"

namespace tarvek::extractor {
namespace {

// A damaged file must not fill the memory with ever more texts.
constexpr std::size_t kMaxKeys = 100;
// Longer names from the file are cut in the texts that are counted.
constexpr std::size_t kMaxShownName = 200;

constexpr std::int64_t kBytesPerMb = 1'000'000;

std::string Megabytes(std::int64_t bytes) {
  return Fixed(static_cast<double>(bytes) / static_cast<double>(kBytesPerMb), 1) + " MB";
}

// The evidence for the analyser of a scan, to follow its word.
std::string HowKnown(const ExtractedScan& scan, AnalyserStep step) {
  switch (step) {
    case AnalyserStep::kUser:
      return "as you say";
    case AnalyserStep::kScan:
      return "from the configuration that each scan names";
    case AnalyserStep::kFilter:
      return "from the filter line";
    case AnalyserStep::kConfiguration:
      return "from the instrument configuration";
    case AnalyserStep::kDetector:
      return "from the inductive detector";
    case AnalyserStep::kModel:
      return "from the instrument model \"" +
             Shown(ShownModel(*scan.m_configuration), kMaxShownName) + "\"";
    case AnalyserStep::kPeaks:
      return "from the look of the peaks";
    case AnalyserStep::kAssumed:
    case AnalyserStep::kUndecided:
      break;
  }
  return "assumed";
}

// "FTMS from the filter line"; with counts when there are several.
std::string Joined(const std::map<std::string, std::int64_t>& counts) {
  if (counts.size() == 1) return counts.begin()->first;
  std::string text;
  for (const auto& [key, count] : counts)
    text += (text.empty() ? "" : " and ") + std::to_string(count) + " " + key;
  return text;
}

// The reason for most scans.
std::string LargestOf(const std::map<std::string, std::int64_t>& counts) {
  const auto largest =
      std::ranges::max_element(counts, {}, [](const auto& reason) { return reason.second; });
  return largest->first + ", " + std::to_string(largest->second) + " scans";
}

std::int64_t SumOf(const std::map<std::string, std::int64_t>& counts) {
  std::int64_t sum = 0;
  for (const auto& [key, count] : counts) sum += count;
  return sum;
}

}  // namespace

RunReport::RunReport(std::ostream& out, std::string name)
    : m_out(&out),
      m_name(std::move(name)),
      m_start_ms(MonotonicMilliseconds()),
      m_last_line_ms(m_start_ms) {}

void RunReport::Add(Counts& counts, const std::string& key, std::int64_t count) {
  const bool is_full = counts.size() >= kMaxKeys && !counts.contains(key);
  counts[is_full ? "other" : key] += count;
}

void RunReport::StartReading() { m_tally = {}; }

void RunReport::Note(const std::string& what, std::int64_t count) {
  Add(m_tally.m_notes, what, count);
}

void RunReport::Count(const ExtractedScan& scan, const OutputScan& output) {
  ++m_tally.m_spectra;
  if (scan.m_faims_volts) Add(m_tally.m_voltages, Fixed(*scan.m_faims_volts, 1), 1);
  if (output.m_kind == ScanKind::kLeftOut) {
    Add(m_tally.m_left_out, output.m_why_left_out, 1);
    if (scan.m_is_mass_spectrum && scan.m_ms_level == 1)
      Add(m_tally.m_ms1.m_left_out, output.m_why_left_out, 1);
    if (scan.m_is_mass_spectrum && scan.m_ms_level == 2)
      Add(m_tally.m_ms2.m_left_out, output.m_why_left_out, 1);
    return;
  }
  ++m_tally.m_written;
  CountAnalyser(scan, output);
  if (!scan.m_rt_seconds) Note("scans without retention time");
  if (output.m_kind == ScanKind::kSurvey)
    Add(m_tally.m_surveys, output.m_instrument, 1);
  else
    CountFragment(scan, output);
}

void RunReport::CountAnalyser(const ExtractedScan& scan, const OutputScan& output) {
  LevelCounts& counts = output.m_kind == ScanKind::kSurvey ? m_tally.m_ms1 : m_tally.m_ms2;
  ++counts.m_written;
  if (output.m_analyser_step == AnalyserStep::kAssumed) ++counts.m_assumed;
  Add(counts.m_analysers, output.m_instrument + " " + HowKnown(scan, output.m_analyser_step), 1);
}

void RunReport::CountFragment(const ExtractedScan& scan, const OutputScan& output) {
  Add(m_tally.m_fragments, output.m_activation + " " + output.m_instrument, 1);
  const auto width = IsolationWidth(scan);
  Add(m_tally.m_widths, width ? Fixed(*width, 2) : std::string(kWidthNotDeclared), 1);
  if (output.m_is_activation_assumed)
    Note("MS2 scans without a declared activation, taken for " + output.m_activation);
  if (output.m_has_several_activations)
    Note("MS2 scans with precursors of different activations (the first counts)");
  if (output.m_precursor_scan == 0) Note("MS2 scans without a survey scan before them");
  if (output.m_ions.front().m_charge == 0) Note("MS2 scans without a declared charge");
  if (output.m_ions.size() > 1) Note("MS2 scans with several selected ions");
  if (scan.m_precursors.size() > 1) Note("MS2 scans with several isolation windows");
}

void RunReport::PrintStart() {
  m_is_started = true;
  *m_out << "Extracts " << Shown(m_name) << " (" << m_format << ", " << Megabytes(m_state.m_bytes);
  if (m_tally.m_declared_count) *m_out << ", " << *m_tally.m_declared_count << " spectra declared";
  *m_out << ")" << std::endl;
}

void RunReport::Progress(const ReadingState& state) {
  m_state = state;
  if (!m_is_started && m_tally.m_spectra > 0) PrintStart();
  constexpr std::int64_t kStepPercent = 5;
  constexpr std::int64_t kStepMs = 10'000;
  constexpr std::int64_t kShortestMs = 1'000;
  const std::int64_t percent =
      state.m_bytes > 0 ? 100 * (state.m_bytes_read / 1024) / (state.m_bytes / 1024 + 1) : 0;
  const std::int64_t now = MonotonicMilliseconds();
  const bool is_time =
      now - m_last_line_ms >= kStepMs ||
      (percent >= m_last_percent + kStepPercent && now - m_last_line_ms >= kShortestMs);
  if (!is_time) return;
  m_last_line_ms = now;
  m_last_percent = percent;
  *m_out << "  " << percent << " %, " << m_tally.m_spectra << " spectra" << std::endl;
}

void RunReport::PrintCounts(const std::string& title, const Counts& counts) {
  if (counts.empty()) return;
  *m_out << "  " << title << ": ";
  const char* separator = "";
  for (const auto& [key, count] : counts) {
    *m_out << separator << count << " " << key;
    separator = "; ";
  }
  *m_out << "\n";
}

std::string RunReport::Voltages() const {
  std::string text;
  for (const auto& [voltage, count] : m_tally.m_voltages)
    text += (text.empty() ? "" : ", ") + voltage;
  return text;
}

void RunReport::PrintVoltages() {
  if (m_tally.m_voltages.empty()) return;
  *m_out << "  FAIMS compensation voltages: " << Voltages() << "\n";
  if (m_tally.m_voltages.size() < 2) return;
  *m_out << "  Warning: surveys of several compensation voltages stand side by side in the\n"
            "  output; take one voltage at a time with --faims CV.\n";
}

void RunReport::PrintAnalysers() {
  const std::string ms1 = Joined(m_tally.m_ms1.m_analysers);
  const std::string ms2 = Joined(m_tally.m_ms2.m_analysers);
  if (ms1.empty() && ms2.empty()) return;
  *m_out << "  Analyser: ";
  if (ms1 == ms2)
    *m_out << ms1;
  else
    *m_out << (ms1.empty() ? "" : "MS1 " + ms1) << (ms1.empty() || ms2.empty() ? "" : "; ")
           << (ms2.empty() ? "" : "MS2 " + ms2);
  *m_out << "\n";
  PrintIfAssumed("1", m_tally.m_ms1);
  PrintIfAssumed("2", m_tally.m_ms2);
}

void RunReport::PrintIfAssumed(const std::string& level, const LevelCounts& counts) {
  if (counts.m_assumed == 0) return;
  *m_out << "  Warning: neither the file nor its peaks give the analyser of " << counts.m_assumed
         << " of " << counts.m_written << " MS" << level
         << " scans; FTMS is assumed.\n"
            "  If that is wrong, say it with --analyser ms"
         << level << "=ITMS or the variable TARVEK_ANALYSER.\n";
}

void RunReport::PrintIfNothing(const std::string& scans, const LevelCounts& counts) {
  const std::int64_t left_out = SumOf(counts.m_left_out);
  if (counts.m_written > 0 || left_out == 0) return;
  *m_out << "  Warning: none of the " << left_out << " " << scans
         << " was extracted, most of them for this reason: " << LargestOf(counts.m_left_out)
         << ".\n";
}

RunRecord RunReport::Counted() const {
  RunRecord record;
  record.m_counts[std::string(kCountSurveys)] = m_tally.m_ms1.m_written;
  record.m_counts[std::string(kCountMs2Read)] =
      m_tally.m_ms2.m_written + SumOf(m_tally.m_ms2.m_left_out);
  record.m_widths = m_tally.m_widths;
  record.m_left_out = m_tally.m_ms2.m_left_out;
  return record;
}

void RunReport::PrintSummary() {
  if (!m_is_started) PrintStart();
  if (m_tally.m_declared_count && *m_tally.m_declared_count != m_tally.m_spectra)
    Note("spectra are in the file where " + std::to_string(*m_tally.m_declared_count) +
             " are declared",
         m_tally.m_spectra);
  PrintCounts("Survey scans", m_tally.m_surveys);
  PrintCounts("MS2 scans", m_tally.m_fragments);
  PrintAnalysers();
  if (!m_tally.m_widths.empty()) {
    *m_out << "  Isolation widths (Th):";
    const char* separator = " ";
    for (const auto& [width, count] : m_tally.m_widths) {
      *m_out << separator << width << " (" << count << " scans)";
      separator = "; ";
    }
    *m_out << "\n";
  }
  PrintVoltages();
  PrintCounts("Left out", m_tally.m_left_out);
  PrintCounts("Notes", m_tally.m_notes);
  PrintIfNothing("survey scans", m_tally.m_ms1);
  PrintIfNothing("MS2 scans", m_tally.m_ms2);
  const double seconds = static_cast<double>(MonotonicMilliseconds() - m_start_ms) / 1000.0;
  const double speed = static_cast<double>(m_state.m_bytes) / static_cast<double>(kBytesPerMb) /
                       std::fmax(seconds, 1e-3);
  *m_out << "  " << m_tally.m_spectra << " spectra in " << Fixed(seconds, 2) << " s, "
         << Fixed(speed, 1) << " MB/s" << std::endl;
}

}  // namespace tarvek::extractor
