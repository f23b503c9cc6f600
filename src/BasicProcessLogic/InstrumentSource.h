// BasicProcessLogic/InstrumentSource.h: the scans of an mzML or mzXML file, read in this process.
// Does:     runs the extraction in its own thread. Delivers the scans as if they were read from the
//           text files, while the extraction writes these; logs its lines.
// Owns:     the thread, the queue between it and the determination.
// Throws:   "Cannot use morvex ..." of Extractor.h, after logging the reason, when the file cannot
//           be read; OrderNeedsFiles (ScanQueue.h) when its scans must be read from the text files.
// Not here: reading the file (extractor/); which files are read this way (RunDriver.cpp).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <thread>

#include "Extraction.h"
#include "ExtractorOptions.h"
#include "RunRecord.h"
#include "ScanQueue.h"
#include "SpectrumSource.h"
#include "UserParameters.h"

namespace tarvek {

/// The extractor's options for a file, equal to those on its command line.
extractor::ExtractorOptions OptionsOfExtraction(const UserParameters& parameters);

class InstrumentSource final : public TextRuledSource {
 public:
  /// Starts to read the current file. Writes the text pair and the marker unless the end of the run
  /// would delete them.
  explicit InstrumentSource(const UserParameters& parameters);
  ~InstrumentSource() override;

  bool NextMs1(MS1Spectrum& scan) override;
  bool NextMs2(MS2Spectrum& scan) override;
  [[nodiscard]] std::int32_t ReportedMs1Count() const override { return m_ms1.RecordCount(); }
  [[nodiscard]] double FractionRead() const override { return m_queue.FractionRead(); }
  [[nodiscard]] std::optional<std::int64_t> InputBytes() const override {
    return SizeOfFiles({m_input});
  }
  void FinishMs1() override { m_ms1.Finish(); }
  void FinishMs2() override { m_ms2.Finish(); }

  /// The counts of the extraction. Call it when both kinds of scans are at their end.
  RunRecord Extraction();

 private:
  /// Gives the notices of a text reader for scans that do not come from text.
  class Announcer final : public SpectrumFile {
   public:
    explicit Announcer(const std::string& path)
        : SpectrumFile(path, "r", logMessage, Announce::kYes) {
      MarkOpen();
    }
    using SpectrumFile::CountRecord;

   private:
    void CloseStream() override {}
  };

  template <class Scan>
  bool Next(Scan& scan, Announcer& announcer);
  void Read(const extractor::ExtractorOptions& options);
  void LogLines();

  std::string m_input;
  std::string m_name;  // of the extractor program that would do this
  mutable ScanQueue m_queue;
  Announcer m_ms1;
  Announcer m_ms2;
  bool m_wants_peak_lines;
  bool m_writes_spectra;
  RunRecord m_extraction;  // the thread's until the queue is at its end
  std::thread m_thread;
};

}  // namespace tarvek
