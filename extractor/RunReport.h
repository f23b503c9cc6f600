// extractor/RunReport.h: the report of a run for the user.
// Does:     counts written and left-out scans; prints start, progress and summary.
// Owns:     the counts; borrows the stream.
// Throws:   nothing but std::bad_alloc; ignores a failed write to the stream.
// Not here: errors, which the programs print.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <ostream>
#include <string>

#include "ExtractedScan.h"
#include "RunRecord.h"
#include "ScanRules.h"
#include "XmlStream.h"

namespace tarvek::extractor {

class RunReport {
 public:
  RunReport(std::ostream& out, std::string name);

  void SetFormat(const std::string& format) { m_format = format; }
  void SetDeclaredCount(std::int64_t count) { m_tally.m_declared_count = count; }

  /// Resets the counts: the file is read from its start, perhaps again.
  void StartReading();

  /// One spectrum of the file, used or not.
  void Count(const ExtractedScan& scan, const OutputScan& output);

  /// Adds a note for the user, counted by its text.
  void Note(const std::string& what, std::int64_t count = 1);

  /// Prints the start once, then progress at intervals.
  void Progress(const ReadingState& state);

  void PrintSummary();

  [[nodiscard]] std::int64_t WrittenScans() const { return m_tally.m_written; }

  /// The counts for the marker: written survey scans, MS2 scans of the file with the widths that
  /// the written ones declare, why the others were left out.
  [[nodiscard]] RunRecord Counted() const;

  /// The compensation voltages found, as "-40, -60"; empty without any.
  [[nodiscard]] std::string Voltages() const;

 private:
  using Counts = std::map<std::string, std::int64_t>;

  void PrintStart();
  void PrintAnalysers();
  void PrintVoltages();
  void CountAnalyser(const ExtractedScan& scan, const OutputScan& output);
  void PrintCounts(const std::string& title, const Counts& counts);
  void CountFragment(const ExtractedScan& scan, const OutputScan& output);
  static void Add(Counts& counts, const std::string& key, std::int64_t count);

  /// The scans of one level, written and left out.
  struct LevelCounts {
    std::int64_t m_written = 0;
    std::int64_t m_assumed = 0;  // of m_written, those without evidence of their analyser
    Counts m_analysers;          // decisions with their evidence
    Counts m_left_out;
  };

  /// What one reading of the file counts.
  struct Tally {
    std::optional<std::int64_t> m_declared_count;
    std::int64_t m_spectra = 0;
    std::int64_t m_written = 0;
    LevelCounts m_ms1;
    LevelCounts m_ms2;
    Counts m_surveys;
    Counts m_fragments;
    Counts m_widths;
    Counts m_voltages;
    Counts m_left_out;
    Counts m_notes;
  };

  void PrintIfAssumed(const std::string& level, const LevelCounts& counts);
  void PrintIfNothing(const std::string& scans, const LevelCounts& counts);

  std::ostream* m_out;
  std::string m_name;
  std::string m_format;
  Tally m_tally;
  ReadingState m_state;
  bool m_is_started = false;
  std::int64_t m_start_ms = 0;
  std::int64_t m_last_line_ms = 0;
  std::int64_t m_last_percent = 0;
};

}  // namespace tarvek::extractor
