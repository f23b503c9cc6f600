// bench/BenchRun.h: the simulated run that all benches work on.
// Does:     simulates it once per process, always the same one, in memory and as files.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "SpectrumRecords.h"

namespace tarvek::bench {

struct BenchRun {
  std::vector<MS1Spectrum> m_surveys;
  std::vector<MS2Spectrum> m_fragments;  // declared precursors in both lists

  [[nodiscard]] std::int64_t SurveyPeaks() const;
  [[nodiscard]] std::int64_t FragmentPeaks() const;
};

/// 20,000 MS2 scans of seed 1.
const BenchRun& SharedRun();

/// The directory of the same run as run.ms1, run.ms2, run.msb and run.mscsv; removed at exit.
const std::string& SharedFiles();

/// Loads the project's isotope table.
void LoadTable();

/// Keeps log messages off the console while it lives.
class QuietLog {
 public:
  QuietLog();
  ~QuietLog();
  QuietLog(const QuietLog&) = delete;
  QuietLog& operator=(const QuietLog&) = delete;
};

}  // namespace tarvek::bench
