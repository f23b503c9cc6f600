// BasicProcessLogic/InstrumentSource.h: the scans of an mzML or mzXML file, read in this process.
// Does:     runs the extraction on a thread of its own and delivers its scans as the text files that it
//           writes would be read, while it writes them; its lines go to the log.
// Owns:     the thread, the queue between it and the determination.
// Throws:   "Cannot use morvex ..." of Extractor.h after the reason was logged, when the file cannot be
//           read; OrderNeedsFiles (ScanQueue.h) when it has to be read from its text files.
// Not here: reading the file (extractor/), which files come this way (RunDriver.cpp).
#pragma once

#include <cstdint>
#include <string>
#include <thread>

#include "Extraction.h"
#include "ExtractorOptions.h"
#include "RunRecord.h"
#include "ScanQueue.h"
#include "SpectrumSource.h"
#include "UserParameters.h"

namespace tarvek {

/// What the extractor is to be told of a file, as its command line tells it.
extractor::ExtractorOptions OptionsOfExtraction(const UserParameters& parameters);

class InstrumentSource final : public TextRuledSource {
 public:
  /// Begins to read the current file. The text pair and the marker are written except when they would
  /// be deleted at the end.
  explicit InstrumentSource(const UserParameters& parameters);
  ~InstrumentSource() override;

  bool NextMs1(MS1Spectrum& scan) override;
  bool NextMs2(MS2Spectrum& scan) override;
  [[nodiscard]] std::int32_t ReportedMs1Count() const override { return m_ms1.RecordCount(); }
  [[nodiscard]] double FractionRead() const override { return m_queue.FractionRead(); }
  void FinishMs1() override { m_ms1.Finish(); }
  void FinishMs2() override { m_ms2.Finish(); }

  /// What the extraction counted. To be called when both kinds of scans are at their end.
  RunRecord Extraction();

 private:
  /// Gives the notices of a text reader for scans that come without it.
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
  std::string m_name;  // of the program whose work this is
  mutable ScanQueue m_queue;
  Announcer m_ms1;
  Announcer m_ms2;
  bool m_wants_peak_lines;
  bool m_writes_spectra;
  RunRecord m_extraction;  // of the thread until the queue is at its end
  std::thread m_thread;
};

}  // namespace tarvek
