// tests/extractor/ScanRecorder.h: what a reader returns for a file, before any rule.
// Does:     reads an instrument file given as text and keeps its spectra.
// Throws:   what the reader throws.
#pragma once

#include <deque>
#include <filesystem>
#include <string>
#include <vector>

#include "InstrumentFile.h"
#include "TestSupport.h"

namespace tarvek::extractor::test {

struct RecordedScan {
  ExtractedScan m_scan;  // its m_configuration is null, or points to m_configuration
  InstrumentConfiguration m_configuration;
  std::vector<Peak> m_peaks;
};

class ScanRecorder final : public ScanConsumer {
 public:
  void OnDeclaredCount(std::int64_t) override {}
  bool WantsPeaks(const ExtractedScan&) override { return true; }
  void OnScan(const ExtractedScan& scan, std::vector<Peak>& peaks) override {
    RecordedScan& kept = m_scans.emplace_back();
    kept.m_scan = scan;
    kept.m_peaks = peaks;
    if (scan.m_configuration == nullptr) return;
    kept.m_configuration = *scan.m_configuration;
    kept.m_scan.m_configuration = &kept.m_configuration;
  }

  std::deque<RecordedScan> m_scans;
};

/// Reads a file that is written to path first. The previous file is removed, since overwriting it
/// would wait for the disk.
inline std::deque<RecordedScan> ReadScansAt(const std::string& path, const std::string& xml) {
  std::filesystem::remove(path);
  tarvek::test::WriteFile(path, xml);
  ScanRecorder recorder;
  ReadInstrumentFile(
      path, recorder, [](const std::string&) {}, [](const ReadingState&) {});
  return std::move(recorder.m_scans);
}

inline std::deque<RecordedScan> ReadScans(const std::string& xml) {
  const tarvek::test::TemporaryDirectory directory;
  return ReadScansAt(directory / "run.xml", xml);
}

/// The message with which reading xml fails.
inline std::string ReadingError(const std::string& xml) {
  return tarvek::test::MessageOf([&] { ReadScans(xml); });
}

}  // namespace tarvek::extractor::test
