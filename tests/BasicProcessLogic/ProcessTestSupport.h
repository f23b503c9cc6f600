// tests/BasicProcessLogic/ProcessTestSupport.h: parameters and small inputs for the run driver.
#pragma once

#include <string>

#include "SpectrumRecords.h"
#include "TestSupport.h"
#include "UserParameters.h"

namespace tarvek::test {

/// Parameters with outputs in directory and a small isotope table there.
inline UserParameters ParametersFor(const TemporaryDirectory& directory) {
  UserParameters parameters;
  parameters.m_peak_format = "%.5f %.1f\n";
  parameters.m_outputpath = directory.Path();
  parameters.m_ipv_file = directory / "IPV.txt";
  WriteFile(parameters.m_ipv_file, "1 2 3 4 5\n");
  return parameters;
}

inline constexpr const char* kOneSurvey =
    "S\t1\t1\nI\tRetTime\t1.5\nI\tInstrumentType\tFTMS\n500.0 10.0\n";

/// One MS2 scan as text, with a declared precursor of m/z 500.25 and charge 2.
inline std::string FragmentScan(int scan_no, const std::string& activation = "HCD") {
  const std::string number = std::to_string(scan_no);
  return "S\t" + number + "\t" + number + "\t500.25\nI\tInstrumentType\tFTMS\nI\tActivationType\t" +
         activation + "\nI\tActivationCenter\t500.25\nI\tPrecursorScan\t1\nZ\t2\t0\n200.0 5.0\n";
}

/// Writes directory/name.ms1 and .ms2 with one survey and one fragment scan.
inline void WritePair(const std::string& directory, const std::string& name) {
  WriteFile(directory + "/" + name + ".ms1", kOneSurvey);
  WriteFile(directory + "/" + name + ".ms2", FragmentScan(2));
}

inline MS2Spectrum HcdScan(std::int32_t scan_no) {
  MS2Spectrum scan;
  scan.m_scan_no = scan_no;
  scan.m_activation_type = "HCD";
  scan.m_instrument_type = "FT";
  scan.m_precursors = {{500.25, 2}};
  scan.m_orig_precursors = scan.m_precursors;
  scan.m_peaks = {{200.0, 5.0}};
  return scan;
}

}  // namespace tarvek::test
