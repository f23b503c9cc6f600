// extractor/ScanSinks.h: the outputs of an extraction.
// Does:     writes scans as .ms1/.ms2 text, as .msb with .mscsv, or as .mgf.
// Owns:     its output files, which it locks; none has its final name before Commit.
// Throws:   what UnfinishedFile throws.
// Not here: the formats (IO/); which scans there are (ScanRules.h); the marker (Extraction.cpp).
#pragma once

#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "PeakDigits.h"
#include "ScanRules.h"
#include "SpectrumRecords.h"
#include "UnfinishedFile.h"
#include "XmlStream.h"

namespace tarvek::extractor {

class ScanSink {
 public:
  virtual ~ScanSink() = default;

  /// One scan. peaks: ascending in m/z, none that the digits show as 0. Afterwards their contents
  /// are undefined; only their capacity is useful.
  virtual void Write(const OutputScan& scan, std::vector<Peak>& peaks) = 0;

  /// Flushes and closes every file; a failed write throws here at the latest.
  virtual void Close();

  /// Gives the closed files their final names.
  virtual void Commit();

 protected:
  /// Opens a file, which stays open until Close.
  OutputFile& Open(const std::string& path);

 private:
  std::deque<UnfinishedFile> m_files;
};

/// base_path.ms1 and base_path.ms2.
std::unique_ptr<ScanSink> MakeTextSink(const std::string& base_path, PeakDigits digits);

/// base_path.msb and base_path.mscsv; base_path already names the format, as "out/run.mzml".
std::unique_ptr<ScanSink> MakeBinarySink(const std::string& base_path, PeakDigits digits);

/// base_path.mgf. title: the run's name; its dots become underscores, because dots separate the
/// fields of a title.
std::unique_ptr<ScanSink> MakeMgfSink(const std::string& base_path, const std::string& title,
                                      PeakDigits digits);

/// Takes scans in the form that reading their text would give (MsTextEcho.h).
class RecordTaker {
 public:
  virtual ~RecordTaker() = default;
  /// Whether it needs m_peak_lines of MS2 scans.
  [[nodiscard]] virtual bool WantsPeakLines() const = 0;
  /// scan: Take may change it.
  virtual void Take(MS1Spectrum& scan) = 0;
  virtual void Take(MS2Spectrum& scan) = 0;
  /// Reading starts from the beginning, perhaps again: discards all scans taken so far.
  virtual void Start() = 0;
  /// Called after every block of the file.
  virtual void OnBlock(const ReadingState& state) = 0;
};

/// Sends scans to taker, and to base_path.ms1 and base_path.ms2 unless base_path is empty.
std::unique_ptr<ScanSink> MakeTakerSink(RecordTaker& taker, PeakDigits digits,
                                        const std::string& base_path);

/// Keeps the max_count most intense peaks, in their order; of equal ones the first.
void KeepMostIntense(std::vector<Peak>& peaks, std::size_t max_count);

}  // namespace tarvek::extractor
