#include "MsTextReader.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "NumberText.h"
#include "ScanCompletion.h"
#include "StringUtils.h"

namespace tarvek {
namespace {

/// Character number index (from 0) of line, NUL when it is shorter.
char CharAt(std::string_view line, std::size_t index) {
  return index < line.size() ? line[index] : '\0';
}

/// The text after a line start, of which only the length counts; empty when line is shorter.
std::string_view ValueAfter(std::string_view line, std::string_view start) {
  return line.substr(std::min(start.size(), line.size()));
}

// "m/z intensity"; tokens between single blanks, a missing one reads as 0.
void AppendPeak(std::string_view line, std::vector<Peak>& peaks) {
  const std::size_t blank = line.find(' ');
  if (blank == std::string_view::npos) return;
  const std::string_view rest = line.substr(blank + 1);
  const double intensity = ParseReal(rest.substr(0, rest.find(' ')));
  if (intensity > kZeroTolerance) peaks.push_back({ParseReal(line.substr(0, blank)), intensity});
}

// Longer than any such line: two numbers of 18 digits at most.
constexpr std::ptrdiff_t kMaxPlainLine = 64;

// Where a line "m/z intensity" of plain decimals ends, or null when the text at first is no such
// line or is not there to its end.
const char* ReadPlainPeak(const char* first, const char* last, Peak& peak) {
  last = first + std::min(last - first, kMaxPlainLine);
  const char* p = ReadPlainDecimal(first, last, peak.m_mz);
  if (p == nullptr || p == last || *p != ' ') return nullptr;
  p = ReadPlainDecimal(p + 1, last, peak.m_intensity);
  if (p != nullptr && p != last && *p == '\r') ++p;
  return p != nullptr && p != last && *p == '\n' ? p + 1 : nullptr;
}

// Takes the next peak lines as long as they are plain, which nearly all are. The general reader
// takes the others, with the same result.
void TakePlainPeaks(LineReader& lines, std::vector<Peak>& peaks) {
  const std::string_view ahead = lines.Ahead();
  const char* p = ahead.data();
  const char* const last = p + ahead.size();
  Peak peak;
  while (p != last && IsDigit(*p)) {
    const char* const next = ReadPlainPeak(p, last, peak);
    if (next == nullptr) break;
    if (peak.m_intensity > kZeroTolerance) peaks.push_back(peak);
    p = next;
  }
  lines.Skip(static_cast<std::size_t>(p - ahead.data()));
}

template <class Spectrum>
void ReadCommonAttribute(std::string_view line, Spectrum& scan) {
  const char key_start = CharAt(line, 2);
  if (key_start == 'R') {
    scan.m_rt = ParseReal(ValueAfter(line, "I\tRetTime\t"));
  } else if (key_start == 'I' && CharAt(line, 3) == 'o') {
    scan.m_ion_injection_time = ParseReal(ValueAfter(line, "I\tIonInjectionTime\t"));
  } else if (key_start == 'I' && CharAt(line, 3) == 'n') {
    constexpr std::string_view kStart = "I\tInstrumentType\t";
    scan.m_instrument_type = InstrumentTypeOfText(ValueAfter(line, kStart));
  }
}

void ReadPrecursorAttribute(std::string_view, MS1Spectrum&) {}

void ReadPrecursorAttribute(std::string_view line, MS2Spectrum& scan) {
  const char key_start = CharAt(line, 2);
  const char after_activation = CharAt(line, 12);
  if (key_start == 'A' && after_activation == 'T') {
    scan.m_activation_type = Trim(ValueAfter(line, "I\tActivationType\t"));
  } else if (key_start == 'A' && after_activation == 'C') {
    scan.m_activation_center = ParseReal(ValueAfter(line, "I\tActivationCenter\t"));
  } else if (key_start == 'P') {
    scan.m_precursor_scan = ParseInteger(ValueAfter(line, "I\tPrecursorScan\t"));
  }
}

void ReadChargeLine(std::string_view, MS1Spectrum&, const std::string&) {}

// "Z charge M+H", the mass that of the singly protonated ion in Da.
void ReadChargeLine(std::string_view line, MS2Spectrum& scan, const std::string& path) {
  if (scan.m_precursors.size() >= kMaxDeclaredPrecursors)
    throw path + ": scan " + std::to_string(scan.m_scan_no) + " has more than " +
        std::to_string(kMaxDeclaredPrecursors) + " Z lines, which no scan has";
  scan.m_precursors.push_back(PrecursorOfChargeLine(ParseInteger(TokenAt(line, '\t', 1)),
                                                    ParseReal(TokenAt(line, '\t', 2)),
                                                    scan.m_activation_center));
}

}  // namespace

std::string_view InstrumentTypeOfText(std::string_view text) {
  const char first = CharAt(text, 0);
  if (first == 'F' || first == 'Q') return "FT";
  return first == 'I' ? "IT" : "Unknown";
}

Precursor PrecursorOfChargeLine(std::int32_t charge, double mass_da, double center_mz) {
  if (charge < 1) charge = kAssumedCharge;
  return {std::fabs(mass_da) < kZeroTolerance ? center_mz : MzOfMass(mass_da, charge), charge};
}

template <class Spectrum>
bool MsTextReader<Spectrum>::ReadNext(Spectrum& scan) {
  Clear(scan);
  std::optional<WrittenScanNumber> number;
  number.swap(m_pending_number);
  bool is_repeat = false;  // inside a further block of the same scan
  if (number) scan.m_scan_no = number->m_scan_no;

  std::string_view line;
  while (NextLine(line, is_repeat ? nullptr : &scan.m_peaks)) {
    const char kind = CharAt(line, 0);
    if (IsDigit(kind)) {
      if (!is_repeat) AppendPeak(line, scan.m_peaks);
    } else if (kind == 'S') {
      const WrittenScanNumber read = m_numbers.Read(TokenAt(line, '\t', 1), Path(), Notice());
      is_repeat = number && number->IsSameScan(read);
      if (!is_repeat && !scan.m_peaks.empty()) {
        m_pending_number = read;
        return FinishRecord(scan);
      }
      number = read;
      scan.m_scan_no = read.m_scan_no;
    } else if (kind == 'I') {
      ReadCommonAttribute(line, scan);
      if (!is_repeat) ReadPrecursorAttribute(line, scan);
    } else if (kind == 'Z') {
      ReadChargeLine(line, scan, Path());
    }
  }
  return !scan.m_peaks.empty() && FinishRecord(scan);
}

// Appends the plain peaks that come next to peaks, then reads the line after them.
template <class Spectrum>
bool MsTextReader<Spectrum>::NextLine(std::string_view& line, std::vector<Peak>* peaks) {
  if (peaks != nullptr) TakePlainPeaks(Lines(), *peaks);
  return ReadLine(line);
}

template <class Spectrum>
bool MsTextReader<Spectrum>::FinishRecord(Spectrum& scan) {
  CompleteScan(scan, Notice());
  CountRecord();
  return true;
}

template class MsTextReader<MS1Spectrum>;
template class MsTextReader<MS2Spectrum>;

}  // namespace tarvek
