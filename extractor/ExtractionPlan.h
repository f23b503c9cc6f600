// extractor/ExtractionPlan.h: what must be known of a whole file before its spectra are written.
// Does:     holds the plan of a reading; reads a file under the plainest plan that it allows, again
//           from the start when a spectrum shows that the plan lacks something.
// Throws:   ReadPlanned what ReadInstrumentFile throws.
// Not here: the rules that a plan serves (ScanRules.h, AnalyserDecision.h).
//
// Most files need no more than the plain plan and are read once. Scan numbers that do not ascend
// cost a second reading; scans whose analyser the file does not tell cost a look at the first of
// them and a second reading.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "DataLookAnalyser.h"
#include "ScanConsumer.h"
#include "ScanOverrides.h"
#include "XmlStream.h"

namespace tarvek::extractor {

/// Scans that have one analyser as a rule: those of level 1, and those of level 2 with the same
/// activation word.
std::string LookGroupOf(std::int32_t ms_level, std::string_view activation);

struct ExtractionPlan {
  bool m_numbers_by_position = false;  // of every scan, whatever its id says
  bool m_has_looked = false;           // at the peaks of scans whose analyser is not told
  std::map<std::string, Resolution, std::less<>> m_looks;  // by group

  /// What the look at a group gave; for a group that it did not meet, what all others of its level
  /// agree on.
  [[nodiscard]] Resolution LookOf(std::string_view group) const;
};

/// Thrown by a consumer when its plan does not do for the file.
enum class PlanLack { kAscendingNumbers, kAnalyser };

/// Makes a consumer for a reading from the start under a plan; it may forget the one before.
using ReadingStart = std::function<ScanConsumer&(const ExtractionPlan&)>;

/// Reads a file to its end once under a plan that does for it; start is called for each reading.
/// Consumers throw PlanLack, out of ScanRules::Decide. on_format, on_block: as for
/// ReadInstrumentFile, in every reading; on_block also during the look.
void ReadPlanned(const std::string& path, const ScanOverrides& overrides, const ReadingStart& start,
                 const std::function<void(const std::string&)>& on_format,
                 const std::function<void(const ReadingState&)>& on_block);

}  // namespace tarvek::extractor
