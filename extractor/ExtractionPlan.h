// extractor/ExtractionPlan.h: facts about a whole file that its extraction needs from the start.
// Does:     holds the plan of a reading; reads a file under the simplest plan that works, again
//           from the start when a spectrum shows that the plan lacks something.
// Throws:   ReadPlanned what ReadInstrumentFile throws.
// Not here: the rules that a plan serves (ScanRules.h, AnalyserDecision.h).
//
// The simplest plan works for most files, which are then read once. Scan numbers that do not ascend
// cost a second reading; scans without evidence of their analyser cost a look at the first of them
// and a second reading.
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

/// The group of scans that usually have one analyser: those of level 1, or those of level 2 with
/// the same activation word.
std::string LookGroupOf(std::int32_t ms_level, std::string_view activation);

struct ExtractionPlan {
  bool m_numbers_by_position = false;  // of every scan, even when its id has one
  bool m_has_looked = false;           // at the peaks of scans without other evidence
  std::map<std::string, Resolution, std::less<>> m_looks;  // by group

  /// The verdict of the look at a group; for a group that the look did not meet, the one on which
  /// all others of its level agree.
  [[nodiscard]] Resolution LookOf(std::string_view group) const;
};

/// A consumer throws this when its plan does not work for the file.
enum class PlanLack { kAscendingNumbers, kAnalyser };

/// Makes a consumer for a reading from the start under a plan; may discard the previous one.
using ReadingStart = std::function<ScanConsumer&(const ExtractionPlan&)>;

/// Reads a file to its end once under a plan that works for it; calls start for each reading.
/// Consumers throw PlanLack, from ScanRules::Decide. on_format, on_block: as for
/// ReadInstrumentFile, in every reading; on_block also during the look.
void ReadPlanned(const std::string& path, const ScanOverrides& overrides, const ReadingStart& start,
                 const std::function<void(const std::string&)>& on_format,
                 const std::function<void(const ReadingState&)>& on_block);

}  // namespace tarvek::extractor
