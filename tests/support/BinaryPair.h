// tests/support/BinaryPair.h: binary spectrum files and their scan tables, made byte by byte.
#pragma once

#include <bit>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "NumberText.h"

namespace tarvek::test {

inline void PutLittleEndian(std::string& bytes, std::uint64_t value, int count) {
  for (int i = 0; i < count; ++i) bytes.push_back(static_cast<char>(value >> (8 * i) & 0xFFu));
}
inline void PutInt32(std::string& bytes, std::int32_t value) {
  PutLittleEndian(bytes, static_cast<std::uint32_t>(value), 4);
}
inline void PutReal(std::string& bytes, double value) {
  PutLittleEndian(bytes, std::bit_cast<std::uint64_t>(value), 8);
}

/// A record and its row of the scan table.
struct BinaryScan {
  int m_scan_no = 0;
  int m_precursor_scan = -1;  // -1: a survey
  double m_center = 0.0;
  double m_rt = 0.0;
  std::string m_activation;
  std::string m_instrument = "FT";
  int m_charge = 0;
  double m_mono_mz = 0.0;
  std::vector<std::pair<double, double>> m_peaks;  // m/z, intensity
};

inline std::string MsbBytes(const std::vector<BinaryScan>& scans) {
  std::string bytes;
  for (const BinaryScan& scan : scans) {
    PutInt32(bytes, scan.m_scan_no);
    PutInt32(bytes, static_cast<std::int32_t>(scan.m_peaks.size()));
    for (const auto& peak : scan.m_peaks) PutReal(bytes, peak.first);
    for (const auto& peak : scan.m_peaks) PutReal(bytes, peak.second);
  }
  return bytes;
}

/// Reals have nine decimals.
inline std::string ScanTableText(const std::vector<BinaryScan>& scans) {
  std::string text =
      "ScanNo\tPrecursorScan\tactivationCenter\tRetTime\tIonInjectionTime\tactivationType\t"
      "InstrumentType\tNumberofPeaks\tStartPos\tEndPos\tlowerCharge\tmonoIsotopicMz\n";
  const auto put_integer = [&](std::int64_t value) {
    AppendInteger(text, value);
    text += '\t';
  };
  const auto put_real = [&](double value) {
    AppendFixed(text, value, 9);
    text += '\t';
  };
  for (const BinaryScan& scan : scans) {
    put_integer(scan.m_scan_no);
    put_integer(scan.m_precursor_scan);
    put_real(scan.m_center);
    put_real(scan.m_rt);
    put_real(0.0);
    text += scan.m_activation + "\t" + scan.m_instrument + "\t";
    put_integer(static_cast<std::int64_t>(scan.m_peaks.size()));
    put_integer(0);
    put_integer(0);
    put_integer(scan.m_charge);
    AppendFixed(text, scan.m_mono_mz, 9);
    text += '\n';
  }
  return text;
}

}  // namespace tarvek::test
