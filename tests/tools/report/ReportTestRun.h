// tests/tools/ReportTestRun.h: a small run made by hand, with a report that can be counted on
// paper. Surveys 1 (60 s) and 5 (120 s); MS2 scans 2, 3, 4 after the first, 6, 7, 8 after the
// second.
#pragma once

#include <span>
#include <string>
#include <utility>
#include <vector>

#include "PfWriter.h"
#include "TestSupport.h"

namespace tarvek::tools {

inline constexpr const char* kTableHeader =
    "ActivationType, InstrumentType, MS2Scan, OrigMZ, OrigCharge, TotleNumOfPrecursor, "
    "PrecursorIdentifier, MZ, Charge, PrecursorIdentifier, MZ, Charge, PrecursorIdentifier, MZ, "
    "Charge, PrecursorIdentifier, MZ, Charge, PrecursorIdentifier, MZ, Charge\n";

inline constexpr const char* kRowAtDeclared = "HCD, FT, 2, 500.000000, 2, 1, 1, 500.000500, 2, \n";
inline constexpr const char* kRowOneBelow = "HCD, FT, 3, 500.501675, 2, 1, 1, 500.000000, 2, \n";
inline constexpr const char* kRowOtherCharge = "HCD, FT, 4, 600.000000, 2, 1, 1, 600.000000, 3, \n";
inline constexpr const char* kRowElsewhere =
    "HCD, FT, 6, 700.000000, 2, 2, 1, 710.000000, 2, 2, 720.000000, 3, \n";
inline constexpr const char* kRowKept = "CID, IT, 7, 800.000000, 3, 1, 1, 800.000000, 3, \n";
inline constexpr const char* kRowUndeclared = "HCD, FT, 8, -1.000000, -1, 1, 1, 650.250000, 2, \n";

inline std::string HandTable() {
  return std::string(kTableHeader) + kRowAtDeclared + kRowOneBelow + kRowOtherCharge +
         kRowElsewhere + kRowKept + kRowUndeclared;
}

inline void WriteSurveys(const std::string& path, std::span<const MS1Spectrum> surveys) {
  test::CaptureConsole([&] {
    PfWriter writer(path, "wb+", "hand");
    for (const MS1Spectrum& survey : surveys) writer.WriteMs1(survey);
    writer.Close();
  });
}

inline void WriteHandSurveys(const std::string& path) {
  const std::vector<MS1Spectrum> surveys = {
      {1,
       60.0,
       0.0,
       "FT",
       {{500.0, 62.0}, {500.501675, 20.0}, {500.8, 18.0}, {600.0, 10.0}, {600.2, 30.0}}},
      {5, 120.0, 0.0, "FT", {{650.25, 5.0}, {700.0, 50.0}, {710.0, 50.0}, {800.0, 100.0}}}};
  WriteSurveys(path, surveys);
}

/// One scan of a .ms2 file with one peak; without a Z line when the charge is 0.
inline std::string Ms2Text(int scan_no, int survey, double rt_s, const std::string& activation,
                           const std::string& analyser, int charge) {
  const std::string number = std::to_string(scan_no);
  return "S\t" + number + "\t" + number + "\nI\tRetTime\t" + std::to_string(rt_s) +
         "\nI\tInstrumentType\t" + analyser + "\nI\tActivationType\t" + activation +
         "\nI\tActivationCenter\t500.4\nI\tPrecursorScan\t" + std::to_string(survey) + "\n" +
         (charge == 0 ? "" : "Z\t" + std::to_string(charge) + "\t999.0\n") + "100.5 10.0\n";
}

/// Table and surveys as directory/hand.csv and .pf1.
inline void WriteHandRun(const test::TemporaryDirectory& directory) {
  test::WriteFile(directory / "hand.csv", HandTable());
  WriteHandSurveys(directory / "hand.pf1");
}

}  // namespace tarvek::tools
