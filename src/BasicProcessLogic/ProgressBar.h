// BasicProcessLogic/ProgressBar.h: the progress of a file, for a person at a terminal.
// Does:     shows one line on standard error, updates it at most ten times a second, and clears it
//           at the end.
// Throws:   nothing but std::bad_alloc.
// Not here: the progress messages of the log, which appear wherever the output goes.
#pragma once

#include <cstdint>
#include <string>

namespace tarvek {

class ProgressBar {
 public:
  /// Shows nothing unless enabled.
  explicit ProgressBar(bool enabled);
  ~ProgressBar();
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  /// fraction: share of the MS2 input read, 0 to 1; scans: MS2 scans read.
  void Update(double fraction, std::int64_t scans);

 private:
  bool m_enabled;
  bool m_shown = false;
  std::int64_t m_start_ms = 0;
  std::int64_t m_next_ms = 0;
};

/// The line: a bar, per cent, scans per second and, once it is known, the time left as minutes and
/// seconds. elapsed_ms: since the start of the file.
std::string ProgressLine(double fraction, std::int64_t scans, std::int64_t elapsed_ms);

/// "2:05".
std::string MinutesAndSeconds(std::int64_t seconds);

}  // namespace tarvek
