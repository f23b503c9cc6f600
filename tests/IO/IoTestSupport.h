// tests/IO/IoTestSupport.h: records as text, little-endian bytes by hand.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "SpectrumRecords.h"

namespace tarvek::test {

/// Every bit of the value shows, so equal texts mean equal doubles.
inline std::string ExactText(double value) {
  char text[64];
  std::snprintf(text, sizeof text, "%a ", value);
  return text;
}

inline std::string Describe(const std::vector<Peak>& peaks) {
  std::string text = "peaks ";
  for (const Peak& peak : peaks) text += ExactText(peak.m_mz) + ExactText(peak.m_intensity);
  return text;
}

inline std::string Describe(const std::vector<Precursor>& precursors) {
  std::string text = "precursors ";
  for (const Precursor& precursor : precursors)
    text += ExactText(precursor.m_mz) + std::to_string(precursor.m_charge) + " ";
  return text;
}

inline std::string Describe(const MS1Spectrum& scan) {
  return std::to_string(scan.m_scan_no) + " rt " + ExactText(scan.m_rt) +
         ExactText(scan.m_ion_injection_time) + "[" + scan.m_instrument_type + "] " +
         Describe(scan.m_peaks) + "\n";
}

inline std::string Describe(const MS2Spectrum& scan) {
  return std::to_string(scan.m_scan_no) + " of " + std::to_string(scan.m_precursor_scan) + " at " +
         ExactText(scan.m_activation_center) + "rt " + ExactText(scan.m_rt) +
         ExactText(scan.m_ion_injection_time) + "[" + scan.m_activation_type + "][" +
         scan.m_instrument_type + "] " + Describe(scan.m_orig_precursors) +
         Describe(scan.m_precursors) + Describe(scan.m_peaks) + "\n";
}

/// Bytes of a little-endian 32-bit integer, lowest first.
inline std::string Int32Bytes(std::int64_t value) {
  std::string bytes;
  for (int i = 0; i < 4; ++i) bytes.push_back(static_cast<char>((value >> (8 * i)) & 0xFF));
  return bytes;
}

/// Bytes of a little-endian binary64, from its bit pattern written down by hand.
inline std::string RealBytes(std::uint64_t bit_pattern) {
  std::string bytes;
  for (int i = 0; i < 8; ++i) bytes.push_back(static_cast<char>((bit_pattern >> (8 * i)) & 0xFF));
  return bytes;
}

}  // namespace tarvek::test
