#include "RunReport.h"

#include <cmath>
#include <utility>

#include "NumberText.h"
#include "Platform.h"

namespace tarvek::extractor {
namespace {

// A damaged file must not fill the memory with ever new texts.
constexpr std::size_t kMaxKeys = 100;
constexpr std::int64_t kBytesPerMb = 1'000'000;

std::string Fixed(double value, int decimals) {
  std::string text;
  AppendFixed(text, value, decimals);
  return text;
}

std::string Megabytes(std::int64_t bytes) {
  return Fixed(static_cast<double>(bytes) / static_cast<double>(kBytesPerMb), 1) + " MB";
}

// "2.00" from the offsets; empty when the file does not say.
std::string IsolationWidth(const ExtractedScan& scan) {
  const DeclaredPrecursor& precursor = scan.m_precursors.front();
  if (!precursor.m_lower_offset || !precursor.m_upper_offset) return {};
  if (*precursor.m_lower_offset < 0.0 || *precursor.m_upper_offset < 0.0) return {};
  return Fixed(*precursor.m_lower_offset + *precursor.m_upper_offset, 2);
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

void RunReport::Note(const std::string& what, std::int64_t count) { Add(m_notes, what, count); }

void RunReport::Count(const ExtractedScan& scan, const OutputScan& output) {
  ++m_spectra;
  if (scan.m_faims_volts) Add(m_voltages, Fixed(*scan.m_faims_volts, 1), 1);
  if (output.m_kind == ScanKind::kLeftOut) {
    Add(m_left_out, output.m_why_left_out, 1);
    return;
  }
  ++m_written;
  if (!scan.m_rt_seconds) Note("scans without retention time");
  if (output.m_kind == ScanKind::kSurvey)
    Add(m_surveys, output.m_instrument, 1);
  else
    CountFragment(scan, output);
}

void RunReport::CountFragment(const ExtractedScan& scan, const OutputScan& output) {
  Add(m_fragments, output.m_activation + " " + output.m_instrument, 1);
  const std::string width = IsolationWidth(scan);
  Add(m_widths, width.empty() ? "not declared" : width, 1);
  if (output.m_precursor_scan == 0) Note("MS2 scans without a survey scan before them");
  if (output.m_ions.front().m_charge == 0) Note("MS2 scans without a declared charge");
  if (output.m_ions.size() > 1) Note("MS2 scans with several selected ions");
  if (scan.m_precursors.size() > 1) Note("MS2 scans with several isolation windows");
}

void RunReport::PrintStart() {
  m_is_started = true;
  *m_out << "Extracts " << m_name << " (" << m_format << ", " << Megabytes(m_state.m_bytes);
  if (m_declared_count) *m_out << ", " << *m_declared_count << " spectra declared";
  *m_out << ")" << std::endl;
}

void RunReport::Progress(const ReadingState& state) {
  m_state = state;
  if (!m_is_started && m_spectra > 0) PrintStart();
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
  *m_out << "  " << percent << " %, " << m_spectra << " spectra" << std::endl;
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
  for (const auto& [voltage, count] : m_voltages) text += (text.empty() ? "" : ", ") + voltage;
  return text;
}

void RunReport::PrintVoltages() {
  if (m_voltages.empty()) return;
  *m_out << "  FAIMS compensation voltages: " << Voltages() << "\n";
  if (m_voltages.size() < 2) return;
  *m_out << "  Warning: surveys of several compensation voltages stand side by side in the\n"
            "  output; take one voltage at a time with --faims CV.\n";
}

void RunReport::PrintSummary() {
  if (!m_is_started) PrintStart();
  if (m_declared_count && *m_declared_count != m_spectra)
    Note("spectra are in the file where " + std::to_string(*m_declared_count) + " are declared",
         m_spectra);
  PrintCounts("Survey scans", m_surveys);
  PrintCounts("MS2 scans", m_fragments);
  if (!m_widths.empty()) {
    *m_out << "  Isolation widths (Th):";
    const char* separator = " ";
    for (const auto& [width, count] : m_widths) {
      *m_out << separator << width << " (" << count << " scans)";
      separator = "; ";
    }
    *m_out << "\n";
  }
  PrintVoltages();
  PrintCounts("Left out", m_left_out);
  PrintCounts("Notes", m_notes);
  const double seconds = static_cast<double>(MonotonicMilliseconds() - m_start_ms) / 1000.0;
  const double speed = static_cast<double>(m_state.m_bytes) / static_cast<double>(kBytesPerMb) /
                       std::fmax(seconds, 1e-3);
  *m_out << "  " << m_spectra << " spectra in " << Fixed(seconds, 2) << " s, " << Fixed(speed, 1)
         << " MB/s" << std::endl;
}

}  // namespace tarvek::extractor
