// tools/calibrate/RunSpectra.h: the outputs of a finished run, for its calibration.
// Does:     finds them; gives every fragment spectrum with its precursors and time.
// Throws:   a std::string naming the file that is missing, cannot be read or is damaged.
// Not here: the estimate (calibrate/Estimator.h).
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

#include "calibrate/Calibration.h"
#include "calibrate/Evidence.h"

namespace tarvek::tools {

/// A file of one kind of fragment spectra, "run_HCDFT.mgf".
struct KindFile {
  std::string m_path;
  std::string m_activation;
  std::string m_analyser;
};

struct OutputFiles {
  std::string m_base;  // path without ending
  std::string m_table;
  std::string m_record;
  std::string m_pf1;       // empty where there is none
  std::string m_evidence;  // likewise
  std::vector<KindFile> m_mgf;
  std::vector<KindFile> m_pf2;
};

/// base_path: with or without ".csv". Throws when there is no finished table or no record next to
/// it.
OutputFiles FindOutputs(const std::string& base_path);

/// Seconds of scans by number.
using ScanTimes = std::unordered_map<std::int32_t, double>;

/// Times of fragment scans, from MGF; without MGF those of the surveys before them, from PF1; empty
/// without both. With PF1 it also holds the surveys.
ScanTimes TimesOf(const OutputFiles& files);

/// Calls take for every spectrum, from MGF, or without MGF from PF2 with the times of the surveys
/// before. False without both.
bool ForEachSpectrum(const OutputFiles& files,
                     const std::function<void(const FragmentScan&)>& take);

}  // namespace tarvek::tools
