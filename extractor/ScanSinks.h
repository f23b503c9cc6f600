// extractor/ScanSinks.h: the output formats.
// Does:     writes scans as .ms1/.ms2 text, as .msb with .mscsv, or as .mgf.
// Owns:     its output files; nothing has its final name before Commit.
// Throws:   what TemporaryOutput throws.
// Not here: which scans there are (ScanRules.h); the marker (Extraction.cpp).
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "ScanRules.h"
#include "SpectrumRecords.h"

namespace tarvek::extractor {

class ScanSink {
 public:
  virtual ~ScanSink() = default;

  /// One scan. peaks: ascending in m/z, none of which the digits turn to 0.
  virtual void Write(const OutputScan& scan, std::vector<Peak>& peaks) = 0;

  /// Flushes and closes every file; a failed write throws here at the latest.
  virtual void Close() = 0;

  /// Gives the closed files their final names.
  virtual void Commit() = 0;

  /// The final names.
  [[nodiscard]] virtual std::vector<std::string> Paths() const = 0;
};

struct DigitCounts {
  int m_mz = 5;
  int m_intensity = 1;
};

/// base_path.ms1 and base_path.ms2. Installs the format of peak lines for the process.
std::unique_ptr<ScanSink> MakeTextSink(const std::string& base_path, DigitCounts digits);

/// base_path.msb and base_path.mscsv; base_path already names the format, as "out/run.mzml".
std::unique_ptr<ScanSink> MakeBinarySink(const std::string& base_path, DigitCounts digits);

/// base_path.mgf. Installs the format of peak lines for the process. title: the run's name; its
/// dots become underscores, because dots separate the fields of a title.
std::unique_ptr<ScanSink> MakeMgfSink(const std::string& base_path, const std::string& title,
                                      DigitCounts digits);

/// Decimals of times (seconds, milliseconds) in every output.
inline constexpr int kTimeDigits = 4;

/// value as it reads back from text with this number of decimals.
double Rounded(double value, int decimals);

/// Keeps the max_count most intense peaks, in their order; of equal ones the first.
void KeepMostIntense(std::vector<Peak>& peaks, std::size_t max_count);

/// The singly protonated mass in Da of a "Z" line, from which the reader gets mz again.
double SinglyProtonatedMass(double mz, std::int32_t charge);

}  // namespace tarvek::extractor
