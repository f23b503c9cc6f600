// BasicProcessLogic/RunSummary.h: reports on a processed file and on one that is already finished.
// Does:     collects the settings that shape the outputs, joins the counts of an extraction and of
//           the MS2 loop, words the line that ends a file, and compares the settings of a finished
//           run with the present ones.
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

/// Why MS2 scans are left out, in the words of records and of the line that ends a file.
inline constexpr std::string_view kActivationNotKnown = "activation type not known";
inline constexpr std::string_view kAnalyserNotKnown = "analyser not known";
inline constexpr std::string_view kNotSelected = "not selected by clustering";
inline constexpr std::string_view kNoUsablePrecursor = "no usable precursor declared or determined";
inline constexpr std::string_view kPfIsOff = "output_pf is 0";
inline constexpr std::string_view kLostAfterExtraction = "extracted and not in the spectra read";

/// Key of a setting that is not a parameter.
inline constexpr std::string_view kSettingIsotopeTable = "isotope_table";

/// The origin of a run's spectra.
enum class InputKind { kInstrumentFile, kSpectra };

/// The lowest probability that the joint determination reports; std::nullopt when the environment
/// does not ask for that determination. Throws a std::string when the value is not a number from 0
/// to 1.
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

/// The settings that differ between two runs, by ascending key: "isolation_width 2.000000, now
/// 3.000000; charge_range ...", with "not set" for a missing one, and "; and 3 more" after very many. Empty when they are equal or no
/// settings were recorded.
std::string SettingsDifference(const RunRecord& recorded, const RunRecord& now);

/// The same for the finished run of the current file, from its record; empty without a record. For
/// spectra, ignores settings that only concern the extraction. more: present settings that are not
/// tarvek's own.
std::string RecordedDifference(const UserParameters& parameters, std::string_view isotope_table,
                               InputKind kind, const RunRecord& more = {});

/// Warns when a finished run with other settings (RecordedDifference) is skipped, and when its
/// record cannot be read.
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

/// The settings in which an earlier extraction differs from this run, in the form of
/// SettingsDifference. Settings that the marker does not record count as equal (an older program
/// records fewer).
std::string ExtractionDifference(const RunRecord& extraction, const RunRecord& now);

/// record with those settings of an earlier extraction instead of its own. Decimals, which shape
/// both the spectra and the outputs, get both values: "5 (extracted with 3)".
RunRecord WithSettingsOfExtraction(RunRecord record, const RunRecord& extraction);

/// The record of a whole run. begun: its settings and, for an instrument file, the counts of the
/// extraction; loop: the counts of the MS2 loop. MS2 scans that were extracted but never read count
/// as left out for kLostAfterExtraction, so that the sums add up.
RunRecord WholeRecord(RunRecord begun, const RunRecord& loop);

/// The number of MS2 scans that were left out for any reason.
std::int64_t CountLeftOut(const RunRecord& record);

/// The reasons that occurred, the commonest first, equal ones in alphabetical order.
using LeftOutReason = std::pair<std::string, std::int64_t>;
std::vector<LeftOutReason> ReasonsByFrequency(const RunRecord& record);

/// Whether a run exported no MS2 scan, because it had none or all were left out.
bool ExportedNothing(const RunRecord& record);

/// "FILE: 321 MS2 scans read, 318 exported with 701 precursors, 3 left out (3 REASON), in 1.2 s",
/// the commonest reason first. When nothing was exported a sentence follows that says why.
std::string SummaryText(const std::string& input, const RunRecord& record, std::int64_t elapsed_ms);

/// Logs SummaryText for a file begun at start_ms of MonotonicMilliseconds: as INFO, or as WARN when
/// no scan was exported.
void LogSummary(const std::string& input, const RunRecord& record, std::int64_t start_ms);

}  // namespace tarvek
