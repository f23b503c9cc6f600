// BasicProcessLogic/RunSummary.h: what is said of a file that was processed, and of one that is
// finished already.
// Does:     collects the settings that shape the outputs, joins what an extraction and the MS2 loop
//           counted, words the line that ends a file, and compares a finished run with the settings
//           of now.
// Throws:   RecordedDifference what ReadRunRecord throws; the rest nothing.
// Not here: the text of a record (RunRecord.h); when it is written.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "RunRecord.h"
#include "UserParameters.h"

namespace tarvek {

/// Why MS2 scans are left out, as records and the line say it.
inline constexpr std::string_view kActivationNotKnown = "activation type not known";
inline constexpr std::string_view kAnalyserNotKnown = "analyser not known";
inline constexpr std::string_view kNotSelected = "not selected by clustering";
inline constexpr std::string_view kNoUsablePrecursor = "no usable precursor declared or determined";
inline constexpr std::string_view kPfIsOff = "output_pf is 0";
inline constexpr std::string_view kLostAfterExtraction = "extracted and not in the spectra read";

/// Key of a setting that no parameter has.
inline constexpr std::string_view kSettingIsotopeTable = "isotope_table";

/// Where the spectra of a run come from.
enum class InputKind { kInstrumentFile, kSpectra };

/// The probability from which the joint determination reports a precursor, when the environment asks
/// for that determination. Throws a std::string for what is no number from 0 to 1.
std::optional<double> JointThreshold();

/// What a record says of the current file: its name without the folder and its size. Empty when there is no
/// such file.
std::map<std::string, std::string> InputOf(const UserParameters& parameters);

/// A record of the settings and of the input alone. isotope_table: IsotopeTableFingerprint of the table that the run
/// uses. Of an instrument file also what the environment tells the extractor, where it says so.
RunRecord SettingsOf(const UserParameters& parameters, std::string_view isotope_table,
                     InputKind kind);

/// Path of the record of the current file.
std::string RunRecordPath(const UserParameters& parameters);

/// "isolation_width 2.000000, now 3.000000; charge_range ...": the settings in which two runs
/// differ, by ascending key, "not set" for one that a run does not have. Empty when they are equal
/// or nothing was recorded.
std::string SettingsDifference(const RunRecord& recorded, const RunRecord& now);

/// The same of the finished run of the current file, from its record; empty without a record. What
/// only concerns the extraction is not compared for spectra. more: settings of now that are none of
/// tarvek's own.
std::string RecordedDifference(const UserParameters& parameters, std::string_view isotope_table,
                               InputKind kind, const RunRecord& more = {});

/// Warns when RecordedDifference is not empty: a finished run is skipped that has other settings;
/// also of a record that cannot be read.
void WarnOfOtherSettings(const UserParameters& parameters, std::string_view isotope_table,
                         InputKind kind);

/// "run.mzML (120 bytes), now run.mzML (130 bytes)": when the record of the current file is of another
/// input; empty without such a record.
std::string RecordedInputDifference(const UserParameters& parameters);

/// What becomes of results that are there.
enum class OldResults { kStay, kAreReplaced };

/// Warns when RecordedInputDifference is not empty.
void WarnOfOtherInput(const UserParameters& parameters, OldResults results);

/// A record with the counts, reasons and declared widths of an extraction in place of its own.
RunRecord WithExtraction(RunRecord record, const RunRecord& extraction);

/// In which settings that concern it an earlier extraction differs from a run of now, worded as by
/// SettingsDifference. Where its marker does not say, as one of an older program, in none.
std::string ExtractionDifference(const RunRecord& extraction, const RunRecord& now);

/// A record of now with those settings of an earlier extraction in place of its own. Decimals, which
/// shape both the spectra and the outputs, get both values: "5 (extracted with 3)".
RunRecord WithSettingsOfExtraction(RunRecord record, const RunRecord& extraction);

/// The record of a whole run. begun: its settings and, of an instrument file, what the extraction
/// counted; loop: what the MS2 loop counted. MS2 scans that were extracted and never read are left
/// out for kLostAfterExtraction, so that all scans are accounted for.
RunRecord WholeRecord(RunRecord begun, const RunRecord& loop);

/// The MS2 scans that were left out, for all reasons.
std::int64_t CountLeftOut(const RunRecord& record);

/// The reasons that took scans, the commonest first, equal ones by the alphabet.
using LeftOutReason = std::pair<std::string, std::int64_t>;
std::vector<LeftOutReason> ReasonsByFrequency(const RunRecord& record);

/// Whether a run exported no MS2 scan, for want of any or because all were left out.
bool ExportedNothing(const RunRecord& record);

/// "FILE: 321 MS2 scans read, 318 exported with 701 precursors, 3 left out (3 REASON), in 1.2 s",
/// the commonest reason first. When nothing was exported a sentence follows that says why.
std::string SummaryText(const std::string& input, const RunRecord& record, std::int64_t elapsed_ms);

/// Logs SummaryText of a file that was begun at start_ms of MonotonicMilliseconds: INFO, or WARN
/// when nothing was exported.
void LogSummary(const std::string& input, const RunRecord& record, std::int64_t start_ms);

}  // namespace tarvek
