// extractor/ScanSinks.h: the outputs of an extraction.
// Does:     writes scans as .ms1/.ms2 text, as .msb with .mscsv, or as .mgf.
// Owns:     its output files, which others are kept from; nothing has its final name before Commit.
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

  /// One scan. peaks: ascending in m/z, none of which the digits turn to 0; what they hold afterwards
  /// is of no use, except to be filled again.
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

/// Who takes scans as they come back from their text (MsTextEcho.h).
class RecordTaker {
 public:
  virtual ~RecordTaker() = default;
  /// Whether m_peak_lines of MS2 scans are asked for.
  [[nodiscard]] virtual bool WantsPeakLines() const = 0;
  /// scan: may be changed.
  virtual void Take(MS1Spectrum& scan) = 0;
  virtual void Take(MS2Spectrum& scan) = 0;
  /// The file is read from its start, perhaps once more: what was taken counts for nothing.
  virtual void Start() = 0;
  /// Called after every block of the file.
  virtual void OnBlock(const ReadingState& state) = 0;
};

/// Scans go to taker, and to base_path.ms1 and base_path.ms2 unless base_path is empty.
std::unique_ptr<ScanSink> MakeTakerSink(RecordTaker& taker, PeakDigits digits,
                                        const std::string& base_path);

/// Keeps the max_count most intense peaks, in their order; of equal ones the first.
void KeepMostIntense(std::vector<Peak>& peaks, std::size_t max_count);

}  // namespace tarvek::extractor
