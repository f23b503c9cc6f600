// extractor/RunReport.h: what the user is told of a run.
// Does:     counts what was written and what was left out; prints start, progress and summary.
// Owns:     the counts; borrows the stream.
// Throws:   nothing but std::bad_alloc; an output that cannot be written is not our concern here.
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

  /// Forgets what was counted: the file is read from its start, perhaps once more.
  void StartReading();

  /// One spectrum of the file, used or not.
  void Count(const ExtractedScan& scan, const OutputScan& output);

  /// Something the user should know, counted by its text.
  void Note(const std::string& what, std::int64_t count = 1);

  /// Prints the start once, then progress when it is time for it.
  void Progress(const ReadingState& state);

  void PrintSummary();

  [[nodiscard]] std::int64_t WrittenScans() const { return m_tally.m_written; }

  /// The counts of the marker: written surveys, MS2 scans of the file with the widths that the
  /// written ones declare, why the others were left out.
  [[nodiscard]] RunRecord Counted() const;

  /// The compensation voltages found, as "-40, -60"; empty when there are none.
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
    std::int64_t m_assumed = 0;  // of these, those whose analyser nothing tells
    Counts m_analysers;          // what was decided and by which step
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
